#include "sim/views/Standing.h"

#include <fmt/format.h>

#include <set>

#include "OruMacSec/NamedEntries.h"
#include "sim/model/TableUse.h"

namespace sim {

namespace {

bool holdsRecords(Switch const& host, U16 fapId, Portix::IntfId intf) {
  auto const status = host.status().indexFapStatus(LogicalFap::LogicalFapId(fapId));
  OruMacSec::SecIntfId const id(intf);
  return status && (status->esecIndexInfoHas(id) || status->isecIndexInfoHas(id));
}

// The FAP whose published status holds records of `intf`: the serving one when it does, else
// the lowest.
std::optional<U16> holdingFap(Switch const& host, Portix::IntfId intf, std::optional<U16> serving) {
  if (serving && holdsRecords(host, *serving, intf)) {
    return serving;
  }
  std::optional<U16> lowest;
  for (auto fap = host.status().indexFapStatusIter(); fap; ++fap) {
    U16 const id = fap.key().value();
    if ((!lowest || id < *lowest) && holdsRecords(host, id, intf)) {
      lowest = id;
    }
  }
  return lowest;
}

bool shouldHold(Switch const& host, U16 servingFap, Portix::IntfId intf) {
  return host.macsec().cpStatusHas(intf) ||
         (host.chip(servingFap).staticAllocation &&
          host.faps().logicalFap(LogicalFap::LogicalFapId(servingFap))->intfIdHas(intf));
}

// Why `intf`, which should hold indexes on `fapId`, holds none: read from the FAP's published
// status, its chip policy and the use of the interface's engine's tables (`uses`, the FAP's).
std::string refusal(Snapshot const& snapshot, U16 fapId, Portix::IntfId intf,
                    std::vector<TableUse> const& uses) {
  Switch const& host = snapshot.host;
  if (!snapshot.monitor.state().agentRunning) {
    return "the agent is not running";
  }
  auto const status = host.status().indexFapStatus(LogicalFap::LogicalFapId(fapId));
  if (!status) {
    return "nothing published for the logical FAP: no agent has served it yet";
  }
  ChipPolicy const policy(LogicalFap::LogicalFapId(fapId), host.chip(fapId));
  U16 const engine = policy.intfIdToEngineInstance(intf);
  if (engine >= policy.numEngineInstances()) {
    return fmt::format("the chip policy names engine {}, which does not exist", engine);
  }
  if (policy.useStaticIndexAllocation()) {
    U16 const index = policy.staticIndex(intf);
    U16 const largest = policy.isecDisabledIndex();
    if (index > largest) {
      return fmt::format("static index {} is beyond the tables' largest index {}", index, largest);
    }
    return fmt::format("static index {} not booked yet; \"macsec retry\" reconciles it", index);
  }
  bool const twoEgress = OruMacSec::needsEsecDisabledEntry(*status, policy, intf);
  for (TableUse const& use : uses) {
    std::size_t const needed = OruMacSec::isEgressTable(use.table) && twoEgress ? 2 : 1;
    if (use.engine != engine || use.free >= needed) {
      continue;
    }
    if (use.free == 0) {
      return fmt::format("engine {}: table {} ({}) full", engine, OruMacSec::tableName(use.table),
                         OruMacSec::tableHardwareId(use.table));
    }
    return fmt::format(
        "engine {}: table {} ({}) has 1 free entry; the subinterface needs a second one for its "
        "port's egress disabled entry",
        engine, OruMacSec::tableName(use.table), OruMacSec::tableHardwareId(use.table));
  }
  return fmt::format(
      "engine {} had no room when it was last reconciled; it has room now: \"macsec retry\" "
      "reconciles it",
      engine);
}

}  // namespace

Standing standing(Snapshot const& snapshot, Portix::IntfId intf) {
  Switch const& host = snapshot.host;
  Standing out;
  out.intf = intf;
  out.macsec = host.macsec().cpStatusHas(intf);
  std::optional<U16> const serving = host.servingFap(intf);
  std::optional<U16> const holding = holdingFap(host, intf, serving);
  out.holds = holding.has_value();
  out.fapId = holding ? holding : serving;
  if (!serving) {
    return out;
  }
  out.shouldHold = shouldHold(host, *serving, intf);
  if (out.shouldHold && !out.holds) {
    out.reason = refusal(snapshot, *serving, intf, tableUse(host, *serving));
  }
  return out;
}

std::vector<Standing> refusedInterfaces(Snapshot const& snapshot, std::optional<U16> fapId) {
  Switch const& host = snapshot.host;
  std::set<U16> faps;
  for (auto fap = host.faps().logicalFapIter(); fap; ++fap) {
    if (!fapId || fap.key().value() == *fapId) {
      faps.insert(fap.key().value());
    }
  }
  std::vector<Standing> out;
  for (U16 const id : faps) {
    std::vector<TableUse> const uses = tableUse(host, id);
    auto const set = host.faps().logicalFap(LogicalFap::LogicalFapId(id));
    std::set<Portix::IntfId> candidates;
    for (auto member = set->intfIdIter(); member; ++member) {
      if (host.chip(id).staticAllocation) {
        candidates.insert(*member);
      }
      if (Portix::SubIntfId::isSubIntfId(*member)) {
        continue;
      }
      // The port and its subinterfaces that run MACsec come in a row.
      for (auto entry = host.macsec().cpStatusIterFrom(*member);
           entry && portOf(entry.key()) == *member; ++entry) {
        candidates.insert(entry.key());
      }
    }
    for (Portix::IntfId const intf : candidates) {
      // A member whose port is in another FAP's set is that FAP's to list.
      if (host.servingFap(intf) != id || !shouldHold(host, id, intf) ||
          holdsRecords(host, id, intf)) {
        continue;
      }
      Standing found;
      found.intf = intf;
      found.fapId = id;
      found.macsec = host.macsec().cpStatusHas(intf);
      found.shouldHold = true;
      found.reason = refusal(snapshot, id, intf, uses);
      out.push_back(std::move(found));
    }
  }
  return out;
}

}  // namespace sim
