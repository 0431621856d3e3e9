#include "sim/model/TableUse.h"

#include <algorithm>
#include <cstdint>

#include "OruMacSec/NamedEntries.h"

namespace sim {

namespace {

constexpr std::size_t kTables = OruMacSec::kEngineTables.size();

// The distinct entries named per table of each engine of one FAP: each entry is noted as
// (engine, table, index) in one number, and counted once after sorting.
std::vector<std::size_t> distinctEntries(OruMacSec::IndexFapStatus const& status,
                                         OruMacSec::IndexHelper const& policy) {
  std::size_t const slots = std::size_t(policy.numEngineInstances()) * kTables;
  std::vector<std::uint64_t> entries;
  entries.reserve(slots + 4 * (status.esecIndexInfoSize() + status.isecIndexInfoSize()));
  OruMacSec::forEachNamedEntry(status, policy,
                               [&](U16 engine, OruMacSec::EngineTable table, U16 index) {
                                 std::size_t const slot = engine * kTables + std::size_t(table);
                                 if (slot < slots) {  // an engine the FAP lacks holds no table
                                   entries.push_back(std::uint64_t(slot) << 16 | index);
                                 }
                               });
  std::sort(entries.begin(), entries.end());
  std::vector<std::size_t> counts(slots);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (i == 0 || entries[i] != entries[i - 1]) {
      ++counts[entries[i] >> 16];
    }
  }
  return counts;
}

TableUse use(U16 fapId, std::size_t slot, std::size_t used, U16 limit) {
  unsigned const percent = limit == 0 ? 100 : unsigned(used * 100 / limit);
  return {fapId,
          U16(slot / kTables),
          OruMacSec::kEngineTables[slot % kTables],
          used,
          OruMacSec::freeEntryCount(used, limit),
          limit,
          percent};
}

// What the running agent's tables book for the FAP, when it serves the FAP with every table of
// its chip policy (an agent books them all as it starts serving the FAP); nothing otherwise.
std::optional<std::vector<std::size_t>> agentBookings(Switch const& host, U16 fapId,
                                                      ChipPolicy const& policy) {
  OruMacSec::IndexSm const* const agent = host.agent();
  auto const machine =
      agent != nullptr ? agent->indexFapSm(LogicalFap::LogicalFapId(fapId)) : nullptr;
  if (!machine || machine->oruMacSecEngineResourcesSize() != policy.numEngineInstances()) {
    return std::nullopt;
  }
  std::vector<std::size_t> counts;
  counts.reserve(std::size_t(policy.numEngineInstances()) * kTables);
  for (U16 engine = 0; engine < policy.numEngineInstances(); ++engine) {
    auto const resources = machine->oruMacSecEngineResources(engine);
    for (OruMacSec::EngineTable const table : OruMacSec::kEngineTables) {
      if (!resources || !resources->table(table)) {
        return std::nullopt;
      }
      counts.push_back(resources->table(table)->allocatedIndexSize());
    }
  }
  return counts;
}

}  // namespace

std::vector<TableUse> tableUse(Switch const& host, std::optional<U16> fapId) {
  std::vector<std::pair<U16, OruMacSec::IndexFapStatus const*>> statuses;
  for (auto entry = host.status().indexFapStatusIter(); entry; ++entry) {
    if (!fapId || entry.key().value() == *fapId) {
      statuses.emplace_back(entry.key().value(), entry.value().get());
    }
  }
  std::sort(statuses.begin(), statuses.end());
  std::vector<TableUse> out;
  for (auto const& [id, status] : statuses) {
    // The tables an agent makes for the FAP follow its chip policy, whatever the status says.
    ChipPolicy const policy(LogicalFap::LogicalFapId(id), host.chip(id));
    U16 const limit = policy.isecDisabledIndex();
    std::optional<std::vector<std::size_t>> const booked = agentBookings(host, id, policy);
    std::vector<std::size_t> const counts = booked ? *booked : distinctEntries(*status, policy);
    for (std::size_t slot = 0; slot < counts.size(); ++slot) {
      out.push_back(use(id, slot, counts[slot], limit));
    }
  }
  return out;
}

}  // namespace sim
