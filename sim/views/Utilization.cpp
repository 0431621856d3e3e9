#include "sim/views/Utilization.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "sim/model/Switch.h"

namespace sim {

std::vector<TableUse> engineUse(U16 fapId, OruMacSec::EngineResources const& engine) {
  std::vector<TableUse> out;
  for (OruMacSec::EngineTable const kind : OruMacSec::kEngineTables) {
    auto const& table = engine.table(kind);
    if (!table) {
      continue;
    }
    std::size_t const used = table->allocatedIndexSize();
    U16 const limit = table->maxIndex();
    unsigned const percent = limit == 0 ? 100 : unsigned(used * 100 / limit);
    out.push_back(
        {fapId, engine.engineInstance(), kind, used, table->freeIndexCount(), limit, percent});
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
    throw RefusedError(
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

View eventView(ThresholdEvent const& event) {
  TableUse const& use = event.use;
  std::string_view const table = OruMacSec::tableName(use.table);
  std::string_view const hardwareId = OruMacSec::tableHardwareId(use.table);
  nlohmann::json const object = {
      {"event", event.exceeded ? "THRESHOLD_EXCEEDED" : "THRESHOLD_CLEAR"},
      {"fap", use.fapId},
      {"engine", use.engine},
      {"table", table},
      {"hardware-id", hardwareId},
      {"percent", use.percent},
      {"used", use.used},
      {"free", use.free},
      {"used-threshold-upper", event.limits.upper},
      {"used-threshold-upper-clear", event.limits.clear}};
  return {object,
          fmt::format("{}: FAP {}, engine {}, table {} ({}): {}% used ({} used, {} free; "
                      "{} threshold {}%)\n",
                      object["event"].get<std::string>(), use.fapId, use.engine, table, hardwareId,
                      use.percent, use.used, use.free, event.exceeded ? "upper" : "clear",
                      event.exceeded ? event.limits.upper : event.limits.clear)};
}

std::vector<ThresholdEvent> ResourceMonitor::check(OruMacSec::IndexSm const* agent,
                                                   std::size_t command) {
  if (agent == nullptr) {
    return {};
  }
  std::vector<ThresholdEvent> events;
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
      events.push_back({true, use, limits});
    } else if (record.exceeded && use.percent <= limits.clear) {
      record.exceeded = false;
      events.push_back({false, use, limits});
    }
    seen.emplace(key, record);
  }
  // Tables of FAPs no longer served: their use is gone.
  for (auto const& [key, record] : tables_) {
    if (record.exceeded && seen.count(key) == 0) {
      auto const [fapId, engine, kind] = key;
      events.push_back({false,
                        {fapId, engine, kind, 0, record.maxLimit, record.maxLimit, 0},
                        thresholds(fapId)});
    }
  }
  tables_ = std::move(seen);
  return events;
}

}  // namespace sim
