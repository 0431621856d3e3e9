#include "sim/model/Monitor.h"

#include <fmt/format.h>

namespace sim {

namespace {

void checkThresholds(Thresholds const& limits) {
  if (limits.upper > 100) {
    throw RefusedError(fmt::format("the upper threshold ({}%) is over 100%", limits.upper));
  }
  if (limits.clear >= limits.upper) {
    throw RefusedError(
        fmt::format("the clear threshold ({}%) must be below the upper threshold ({}%)",
                    limits.clear, limits.upper));
  }
}

}  // namespace

void ResourceMonitor::stateIs(MonitorState state) {
  checkThresholds(state.defaults);
  for (auto const& [fapId, limits] : state.perFap) {
    checkThresholds(limits);
  }
  state_ = std::move(state);
}

Thresholds ResourceMonitor::thresholds(U16 fapId) const {
  auto const found = state_.perFap.find(fapId);
  return found == state_.perFap.end() ? state_.defaults : found->second;
}

void ResourceMonitor::thresholdsIs(std::optional<U16> fapId, std::optional<unsigned> upper,
                                   std::optional<unsigned> clear) {
  Thresholds next = fapId ? thresholds(*fapId) : state_.defaults;
  next.upper = upper.value_or(next.upper);
  next.clear = clear.value_or(next.clear);
  checkThresholds(next);
  if (fapId) {
    state_.perFap[*fapId] = next;
    return;
  }
  state_.defaults = next;
  state_.perFap.clear();
}

TableRecord const* ResourceMonitor::record(TableUse const& use) const {
  auto const found = state_.tables.find(TableKey(use.fapId, use.engine, use.table));
  return found == state_.tables.end() ? nullptr : &found->second;
}

bool ResourceMonitor::engineFull(U16 fapId, U16 engine) const {
  auto const found = state_.engineFull.find({fapId, engine});
  return found != state_.engineFull.end() && found->second;
}

std::vector<ThresholdEvent> ResourceMonitor::check(Switch const& host, TimeNs now) {
  std::vector<ThresholdEvent> events;
  std::map<TableKey, TableRecord> seen;
  for (TableUse const& use : tableUse(host, std::nullopt)) {
    TableKey const key(use.fapId, use.engine, use.table);
    auto const found = state_.tables.find(key);
    TableRecord record = found == state_.tables.end() ? TableRecord() : found->second;
    if (found == state_.tables.end() || use.used > record.highWatermark) {
      record.highWatermark = use.used;
      record.highWatermarkTime = now;
    }
    record.maxLimit = use.maxLimit;
    Thresholds const limits = thresholds(use.fapId);
    if (!record.exceeded && use.percent >= limits.upper) {
      record.exceeded = true;
      events.push_back({true, use, limits, now});
    } else if (record.exceeded && use.percent <= limits.clear) {
      record.exceeded = false;
      events.push_back({false, use, limits, now});
    }
    seen.emplace(key, record);
  }
  // Tables of FAPs whose status went: their use is gone.
  for (auto const& [key, record] : state_.tables) {
    if (record.exceeded && seen.count(key) == 0) {
      auto const [fapId, engine, kind] = key;
      events.push_back({false,
                        {fapId, engine, kind, 0, record.maxLimit, record.maxLimit, 0},
                        thresholds(fapId),
                        now});
    }
  }
  state_.tables = std::move(seen);
  // Only an agent knows whether an engine ran out of entries; without one the last answer stands.
  state_.agentRunning = host.agent() != nullptr;
  if (OruMacSec::IndexSm const* const agent = host.agent()) {
    state_.engineFull.clear();
    for (auto fap = agent->indexFapSmIter(); fap; ++fap) {
      for (auto engine = fap.value()->oruMacSecEngineResourcesIter(); engine; ++engine) {
        state_.engineFull[{fap.key().value(), engine.key()}] = engine.value()->hwResourcesFull();
      }
    }
  }
  return events;
}

}  // namespace sim
