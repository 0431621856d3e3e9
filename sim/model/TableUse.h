// How full each hardware table of each engine of each logical FAP is, as the switch's published
// state tells it: what a monitor shows and what any reader of the state (a --read-only simulator,
// a metrics scrape) sees alike, with or without a running agent.
//
// A table's `used` counts the entries the FAP's published status accounts for (see
// OruMacSec/NamedEntries.h: reserved disabled indexes and the records' entries), each once.
// While an agent serves the FAP its tables book exactly these, so the use is then read from
// them, in constant time per table, instead of being counted from the records. `free` is what the
// table can still hand out before it counts as full (a table is full once it holds `max-limit`
// entries, its largest index); the percentage is used x 100 / max-limit, rounded down (100 for a
// table of size 0).
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "OruMacSec/types/EngineTable.h"
#include "sim/model/Switch.h"

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

// The use of every table of every FAP with published status (of one FAP when `fapId` is given),
// ordered by FAP, engine and table: the tables its chip policy gives it.
std::vector<TableUse> tableUse(Switch const& host, std::optional<U16> fapId);

}  // namespace sim
