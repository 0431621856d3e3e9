// Published state that a correct index manager never writes, but that a crash or a hand edit of
// the store can leave: found when a state is loaded, reported, and then left for the agent's
// start-up to deal with (it removes lone records and books the rest as published).
#pragma once

#include <string>
#include <vector>

#include "sim/model/Switch.h"

namespace sim {

// One finding, named by the store's table and the row's key columns ("fap=1, interface='...'").
struct StateWarning {
  std::string table;
  std::string row;
  std::string text;
};

// Checks every FAP's published status against the chip policy the host would give it: its engine
// count and disabled indexes, and for every record its pair (egress with ingress), its engine
// field and its indexes (within the table's largest index). FAP by FAP in ascending order; within
// a FAP its status row, then its tables' rows in interface order.
std::vector<StateWarning> checkPublished(Switch const& host);

}  // namespace sim
