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
    std::vector<std::size_t> const counts = distinctEntries(*status, policy);
    for (std::size_t slot = 0; slot < counts.size(); ++slot) {
      std::size_t const used = counts[slot];
      unsigned const percent = limit == 0 ? 100 : unsigned(used * 100 / limit);
      out.push_back({id, U16(slot / kTables), OruMacSec::kEngineTables[slot % kTables], used,
                     OruMacSec::freeEntryCount(used, limit), limit, percent});
    }
  }
  return out;
}

}  // namespace sim
