#include "sim/Utilization.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "sim/Scenario.h"

namespace sim {

namespace {

OruMacSec::TableResources const* table(OruMacSec::EngineResources const& engine, std::size_t kind) {
  switch (kind) {
    case 0:
      return engine.esecScIndex().get();
    case 1:
      return engine.isecScIndex().get();
    case 2:
      return engine.isecSpIndex().get();
    default:
      return engine.msSubportNum().get();
  }
}

}  // namespace

std::vector<TableUse> engineUse(U16 fapId, OruMacSec::EngineResources const& engine) {
  std::vector<TableUse> out;
  for (std::size_t kind = 0; kind < kTables.size(); ++kind) {
    auto const* const resources = table(engine, kind);
    if (resources == nullptr) {
      continue;
    }
    std::size_t const used = resources->allocatedIndexSize();
    U16 const limit = resources->maxIndex();
    unsigned const percent = limit == 0 ? 100 : unsigned(used * 100 / limit);
    out.push_back({fapId, engine.engineInstance(), kind, used, used >= limit ? 0 : limit - used,
                   limit, percent});
  }
  return out;
}

std::vector<TableUse> tableUse(OruMacSec::IndexSm const& agent, std::optional<U16> fapId) {
  std::map<U16, Nubis::Ptr<OruMacSec::IndexFapSm>> faps;
  for (auto fap = agent.indexFapSmIter(); fap; ++fap) {
    if (!fapId || fap.key().value() == *fapId) {
      faps[fap.key().value()] = fap.value();
    }
  }
  std::vector<TableUse> out;
  for (auto const& [id, machine] : faps) {
    std::map<U16, Nubis::Ptr<OruMacSec::EngineResources>> engines;
    for (auto engine = machine->oruMacSecEngineResourcesIter(); engine; ++engine) {
      engines[engine.key()] = engine.value();
    }
    for (auto const& [number, engine] : engines) {
      auto const uses = engineUse(id, *engine);
      out.insert(out.end(), uses.begin(), uses.end());
    }
  }
  return out;
}

Thresholds ResourceMonitor::thresholds(U16 fapId) const {
  auto const found = perFap_.find(fapId);
  return found == perFap_.end() ? defaults_ : found->second;
}

void ResourceMonitor::thresholdsIs(std::optional<U16> fapId, std::optional<unsigned> upper,
                                   std::optional<unsigned> clear) {
  Thresholds next = fapId ? thresholds(*fapId) : defaults_;
  next.upper = upper.value_or(next.upper);
  next.clear = clear.value_or(next.clear);
  if (next.clear >= next.upper) {
    throw ScenarioError(
        fmt::format("the clear threshold ({}%) must be below the upper threshold ({}%)", next.clear,
                    next.upper));
  }
  if (fapId) {
    perFap_[*fapId] = next;
    return;
  }
  defaults_ = next;
  perFap_.clear();
}

ResourceMonitor::TableRecord const* ResourceMonitor::record(TableUse const& use) const {
  auto const found = tables_.find(Key(use.fapId, use.engine, use.table));
  return found == tables_.end() ? nullptr : &found->second;
}

void ResourceMonitor::event(bool exceeded, TableUse const& use, Transcript& transcript) const {
  Thresholds const limits = thresholds(use.fapId);
  TableKind const& kind = kTables[use.table];
  nlohmann::json const fields = {{"fap", use.fapId},
                                 {"engine", use.engine},
                                 {"table", kind.name},
                                 {"hardware-id", kind.hardwareId},
                                 {"percent", use.percent},
                                 {"used", use.used},
                                 {"free", use.free},
                                 {"used-threshold-upper", limits.upper},
                                 {"used-threshold-upper-clear", limits.clear}};
  transcript.event(
      exceeded ? "THRESHOLD_EXCEEDED" : "THRESHOLD_CLEAR", fields,
      fmt::format("FAP {}, engine {}, table {} ({}): {}% used ({} used, {} free; {} "
                  "threshold {}%)",
                  use.fapId, use.engine, kind.name, kind.hardwareId, use.percent, use.used,
                  use.free, exceeded ? "upper" : "clear", exceeded ? limits.upper : limits.clear));
}

void ResourceMonitor::check(OruMacSec::IndexSm const* agent, std::size_t command,
                            Transcript& transcript) {
  if (agent == nullptr) {
    return;
  }
  std::map<Key, TableRecord> seen;
  for (TableUse const& use : tableUse(*agent, std::nullopt)) {
    Key const key(use.fapId, use.engine, use.table);
    auto found = tables_.find(key);
    TableRecord record = found == tables_.end() ? TableRecord() : found->second;
    if (found == tables_.end() || use.used > record.highWatermark) {
      record.highWatermark = use.used;
      record.atCommand = command;
    }
    record.maxLimit = use.maxLimit;
    Thresholds const limits = thresholds(use.fapId);
    if (!record.exceeded && use.percent >= limits.upper) {
      record.exceeded = true;
      event(true, use, transcript);
    } else if (record.exceeded && use.percent <= limits.clear) {
      record.exceeded = false;
      event(false, use, transcript);
    }
    seen.emplace(key, record);
  }
  // Tables of FAPs no longer served: their use is gone.
  for (auto const& [key, record] : tables_) {
    if (record.exceeded && seen.count(key) == 0) {
      auto const [fapId, engine, kind] = key;
      event(false, {fapId, engine, kind, 0, record.maxLimit, record.maxLimit, 0}, transcript);
    }
  }
  tables_ = std::move(seen);
}

}  // namespace sim
