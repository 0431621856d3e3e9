// How full the agent's hardware tables are, as an operator watches it: the use of each table of
// each engine of each logical FAP, the highest use seen, and thresholds that warn before a table
// runs full.
//
// A table's `used` counts its booked entries, reserved disabled indexes included; `free` is what
// it can still hand out before it counts as full (a table is full once it holds `max-limit`
// entries, its largest index); the percentage is used x 100 / max-limit, rounded down (100 for a
// table of size 0). Everything here is read from the running agent's tables: while no agent runs
// there is nothing to measure and nothing changes.
#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <string_view>
#include <tuple>
#include <vector>

#include "OruMacSec/OruMacSecIndexSm.h"
#include "OruMacSec/types/EngineTable.h"
#include "sim/views/View.h"

namespace sim {

struct TableUse {
  U16 fapId;
  U16 engine;
  OruMacSec::EngineTable table;
  std::size_t used;
  std::size_t free;
  U16 maxLimit;
  unsigned percent;
};

// The use of the tables of one engine of `fapId`, in table order.
std::vector<TableUse> engineUse(U16 fapId, OruMacSec::EngineResources const& engine);

// The use of every table of the agent's engines (of one FAP when `fapId` is given), ordered by
// FAP, engine and table.
std::vector<TableUse> tableUse(OruMacSec::IndexSm const& agent, std::optional<U16> fapId);

struct Thresholds {
  unsigned upper = 85;
  unsigned clear = 70;
};

// A table's use crossing a threshold: up to the upper one (exceeded) or down to the clear one.
struct ThresholdEvent {
  bool exceeded;
  TableUse use;
  Thresholds limits;
};

// The event as the transcript shows it: "THRESHOLD_EXCEEDED" or "THRESHOLD_CLEAR" with its
// fields, and its text.
View eventView(ThresholdEvent const& event);

// Watches the tables after every command: keeps each table's high-watermark, and gives one
// THRESHOLD_EXCEEDED event when a table's use reaches its upper threshold and one
// THRESHOLD_CLEAR when it falls to its clear threshold or below, nothing in between.
//
// A table's high-watermark is kept for as long as its FAP is served: it starts afresh when the
// FAP is added again (a new chip) and is not kept across runs of the simulator.
class ResourceMonitor {
 public:
  struct TableRecord {
    std::size_t highWatermark = 0;
    std::size_t atCommand = 0;  // the command that first reached the high-watermark
    bool exceeded = false;
    U16 maxLimit = 0;
  };

  // The thresholds of `fapId`'s tables.
  Thresholds thresholds(U16 fapId) const;
  // Sets the thresholds of one FAP, or of every FAP (dropping settings made per FAP); a value
  // not given keeps the current one. Throws RefusedError unless clear < upper.
  void thresholdsIs(std::optional<U16> fapId, std::optional<unsigned> upper,
                    std::optional<unsigned> clear);

  // Reads the agent's tables after command number `command` (a null agent: nothing), updates
  // the watermarks and returns the threshold events, in table order. A table whose FAP is no
  // longer served is forgotten, cleared first if it was over its threshold.
  std::vector<ThresholdEvent> check(OruMacSec::IndexSm const* agent, std::size_t command);

  // What the monitor knows of one table; null before its first check.
  TableRecord const* record(TableUse const& use) const;

 private:
  using Key = std::tuple<U16, U16, OruMacSec::EngineTable>;

  Thresholds defaults_;
  std::map<U16, Thresholds> perFap_;
  std::map<Key, TableRecord> tables_;
};

}  // namespace sim
