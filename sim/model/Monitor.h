// The resource monitor: watches how full the tables are after every change of the switch, keeps
// each table's high-watermark with the time it was reached, and warns before a table runs full.
//
// Each FAP's tables have an upper and a clear threshold (percent of max-limit; defaults 85 and
// 70). A table whose use reaches the upper threshold gives one THRESHOLD_EXCEEDED event; when it
// falls to the clear threshold or below, one THRESHOLD_CLEAR; nothing in between. A table's
// record lasts as long as the FAP's published status: it starts afresh when the FAP is added
// again (a new chip). The monitor's whole state is plain data (MonitorState), which the store
// keeps with the switch, so that readers see it and a new writer goes on from it.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <tuple>
#include <utility>
#include <vector>

#include "sim/model/Clock.h"
#include "sim/model/Switch.h"
#include "sim/model/TableUse.h"

namespace sim {

struct Thresholds {
  unsigned upper = 85;
  unsigned clear = 70;
  bool operator==(Thresholds const& o) const { return upper == o.upper && clear == o.clear; }
};

// A table's use crossing a threshold: up to the upper one (exceeded) or down to the clear one.
struct ThresholdEvent {
  bool exceeded;
  TableUse use;
  Thresholds limits;
  TimeNs time;
};

// What the monitor knows of one table.
struct TableRecord {
  std::size_t highWatermark = 0;
  TimeNs highWatermarkTime = 0;  // when the table first reached its high-watermark
  bool exceeded = false;         // over the upper threshold, not yet back to the clear one
  U16 maxLimit = 0;
  bool operator==(TableRecord const& o) const {
    return std::tie(highWatermark, highWatermarkTime, exceeded, maxLimit) ==
           std::tie(o.highWatermark, o.highWatermarkTime, o.exceeded, o.maxLimit);
  }
};

// (FAP, engine, table)
using TableKey = std::tuple<U16, U16, OruMacSec::EngineTable>;

struct MonitorState {
  Thresholds defaults;
  std::map<U16, Thresholds> perFap;
  std::map<TableKey, TableRecord> tables;
  // Whether each engine (FAP, engine) was out of entries when an agent last looked.
  std::map<std::pair<U16, U16>, bool> engineFull;
  // Whether an agent ran at the last check.
  bool agentRunning = false;
  bool operator==(MonitorState const& o) const {
    return defaults == o.defaults && perFap == o.perFap && tables == o.tables &&
           engineFull == o.engineFull && agentRunning == o.agentRunning;
  }
  bool operator!=(MonitorState const& o) const { return !(*this == o); }
};

class ResourceMonitor {
 public:
  MonitorState const& state() const { return state_; }
  // Replaces the state (a loader's). Throws RefusedError when a FAP's thresholds are not
  // clear < upper <= 100.
  void stateIs(MonitorState state);

  // The thresholds of `fapId`'s tables.
  Thresholds thresholds(U16 fapId) const;
  // Sets the thresholds of one FAP, or of every FAP (dropping settings made per FAP); a value
  // not given keeps the current one. Throws RefusedError unless clear < upper.
  void thresholdsIs(std::optional<U16> fapId, std::optional<unsigned> upper,
                    std::optional<unsigned> clear);

  // Reads the use of the switch's tables at `now`: updates the watermarks and the engines' full
  // state (while an agent runs) and returns the threshold events, in table order. The record of
  // a table that no longer exists is dropped, with a THRESHOLD_CLEAR first if it was exceeded.
  std::vector<ThresholdEvent> check(Switch const& host, TimeNs now);

  // What the monitor knows of one table; null before its first check.
  TableRecord const* record(TableUse const& use) const;
  // Whether the engine was full when an agent last looked; false when none has.
  bool engineFull(U16 fapId, U16 engine) const;

 private:
  MonitorState state_;
};

}  // namespace sim
