#include "sim/views/Standing.h"

#include <fmt/format.h>

#include <set>

namespace sim {

namespace {

using OruMacSec::EngineTable;

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

// Why `intf`, which should hold indexes on `fapId`, holds none: read from the agent's state
// machine of the FAP, its chip policy and the tables of the interface's engine.
std::string refusal(Switch const& host, U16 fapId, Portix::IntfId intf) {
  auto const* const agent = host.agent();
  if (agent == nullptr) {
    return "the agent is not running";
  }
  auto const machine = agent->indexFapSm(LogicalFap::LogicalFapId(fapId));
  if (!machine) {
    return "the logical FAP is not served";
  }
  auto const& policy = *machine->indexHelper();
  U16 const engineNumber = policy.intfIdToEngineInstance(intf);
  auto const engine = machine->oruMacSecEngineResources(engineNumber);
  if (!engine) {
    return fmt::format("the chip policy names engine {}, which does not exist", engineNumber);
  }
  if (policy.useStaticIndexAllocation()) {
    U16 const index = policy.staticIndex(intf);
    U16 const largest = engine->table(EngineTable::kEsecSc)->maxIndex();
    if (index > largest) {
      return fmt::format("static index {} is beyond the tables' largest index {}", index, largest);
    }
    return fmt::format("static index {} not booked yet; \"macsec retry\" reconciles it", index);
  }
  for (EngineTable const table : OruMacSec::kEngineTables) {
    std::size_t const free = engine->table(table)->freeIndexCount();
    std::size_t const needed =
        OruMacSec::isEgressTable(table) && machine->needsEsecDisabledIndex(intf) ? 2 : 1;
    if (free >= needed) {
      continue;
    }
    if (free == 0) {
      return fmt::format("engine {}: table {} ({}) full", engineNumber, OruMacSec::tableName(table),
                         OruMacSec::tableHardwareId(table));
    }
    return fmt::format(
        "engine {}: table {} ({}) has 1 free entry; the subinterface needs a second one for its "
        "port's egress disabled entry",
        engineNumber, OruMacSec::tableName(table), OruMacSec::tableHardwareId(table));
  }
  return fmt::format(
      "engine {} had no room when it was last reconciled; it has room now: \"macsec retry\" "
      "reconciles it",
      engineNumber);
}

}  // namespace

Standing standing(Switch const& host, Portix::IntfId intf) {
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
    out.reason = refusal(host, *serving, intf);
  }
  return out;
}

std::vector<Standing> refusedInterfaces(Switch const& host, std::optional<U16> fapId) {
  std::set<U16> faps;
  for (auto fap = host.faps().logicalFapIter(); fap; ++fap) {
    if (!fapId || fap.key().value() == *fapId) {
      faps.insert(fap.key().value());
    }
  }
  std::vector<Standing> out;
  for (U16 const id : faps) {
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
      found.reason = refusal(host, id, intf);
      out.push_back(std::move(found));
    }
  }
  return out;
}

}  // namespace sim
