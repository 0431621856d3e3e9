#include "sim/Standing.h"

#include <fmt/format.h>

#include <map>
#include <set>

#include "sim/Utilization.h"

namespace sim {

namespace {

Portix::IntfId portOf(Portix::IntfId intf) {
  return Portix::SubIntfId::isSubIntfId(intf) ? Portix::SubIntfId::parentIntfId(intf) : intf;
}

bool holdsRecords(OruMacSec::IndexFapStatus const& status, Portix::IntfId intf) {
  OruMacSec::SecIntfId const id(intf);
  return status.esecIndexInfoHas(id) || status.isecIndexInfoHas(id);
}

// Why `intf`, which should hold indexes on `fapId`, holds none.
std::string refusal(SimHost const& host, U16 fapId, Portix::IntfId intf) {
  auto const* const agent = host.agent();
  if (agent == nullptr) {
    return "the agent is not running";
  }
  auto const machine = agent->indexFapSm(LogicalFap::LogicalFapId(fapId));
  if (!machine) {
    return "the logical FAP is not served";
  }
  auto const& policy = *machine->indexHelper();
  if (policy.useStaticIndexAllocation()) {
    U16 const index = policy.staticIndex(intf);
    if (index > policy.isecDisabledIndex()) {
      return fmt::format("static index {} is beyond the tables' largest index {}", index,
                         policy.isecDisabledIndex());
    }
    return fmt::format("static index {} not booked yet; \"macsec retry\" reconciles it", index);
  }
  U16 const engine = policy.intfIdToEngineInstance(intf);
  auto const resources = machine->oruMacSecEngineResources(engine);
  for (TableUse const& use : resources ? engineUse(fapId, *resources) : std::vector<TableUse>()) {
    if (use.free == 0) {
      return fmt::format("engine {}: table {} ({}) full", engine, kTables[use.table].name,
                         kTables[use.table].hardwareId);
    }
    // A subinterface whose port holds nothing needs a second egress entry for the port.
    if (use.table == 0 && use.free == 1 && policy.esecDisabledIndexPerPortRequired() &&
        Portix::SubIntfId::isSubIntfId(intf) &&
        !machine->indexFapStatus()->esecLoopbackDisabledIndexInfoHas(
            OruMacSec::SecIntfId(portOf(intf))) &&
        !holdsRecords(*machine->indexFapStatus(), portOf(intf))) {
      return fmt::format(
          "engine {}: table {} ({}) has 1 free entry; the subinterface needs a second one for its "
          "port's egress disabled entry",
          engine, kTables[0].name, kTables[0].hardwareId);
    }
  }
  return fmt::format(
      "engine {} had no room when it was last reconciled; it has room now: \"macsec retry\" "
      "reconciles it",
      engine);
}

}  // namespace

std::optional<U16> servingFap(SimHost const& host, Portix::IntfId intf) {
  Portix::IntfId const port = portOf(intf);
  for (auto fap = host.faps()->logicalFapIter(); fap; ++fap) {
    if (fap.value()->intfIdHas(port)) {
      return fap.key().value();
    }
  }
  return std::nullopt;
}

Standing standing(SimHost const& host, Portix::IntfId intf) {
  Standing out;
  out.intf = intf;
  out.fapId = servingFap(host, intf);
  out.macsec = host.macsec()->cpStatusHas(intf);
  if (!out.fapId) {
    return out;
  }
  LogicalFap::LogicalFapId const id(*out.fapId);
  bool const isStatic = host.chip(*out.fapId).staticAllocation;
  out.shouldHold = out.macsec || (isStatic && host.faps()->logicalFap(id)->intfIdHas(intf));
  auto const status = host.status()->indexFapStatus(id);
  out.holds = status && holdsRecords(*status, intf);
  if (out.shouldHold && !out.holds) {
    out.reason = refusal(host, *out.fapId, intf);
  }
  return out;
}

std::vector<Standing> refusedInterfaces(SimHost const& host, std::optional<U16> fapId) {
  std::map<U16, std::set<Portix::IntfId>> candidates;
  for (auto fap = host.faps()->logicalFapIter(); fap; ++fap) {
    U16 const id = fap.key().value();
    if (fapId && id != *fapId) {
      continue;
    }
    auto& mine = candidates[id];
    for (auto member = fap.value()->intfIdIter(); member; ++member) {
      if (host.chip(id).staticAllocation) {
        mine.insert(*member);
      }
      if (Portix::SubIntfId::isSubIntfId(*member)) {
        continue;
      }
      // The port and its subinterfaces that run MACsec come in a row.
      for (auto entry = host.macsec()->cpStatusIterFrom(*member);
           entry && portOf(entry.key()) == *member; ++entry) {
        mine.insert(entry.key());
      }
    }
  }
  std::vector<Standing> out;
  for (auto const& [id, interfaces] : candidates) {
    for (Portix::IntfId const intf : interfaces) {
      Standing found = standing(host, intf);
      if (found.shouldHold && !found.holds) {
        out.push_back(std::move(found));
      }
    }
  }
  return out;
}

}  // namespace sim
