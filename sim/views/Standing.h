// Where an interface stands with the index manager, as the operator is shown it: whether it holds
// indexes (published records in some FAP's status), whether it should (its port is in a logical
// FAP's interface set, and it runs MACsec or is a member of a static chip's set), and if it
// should and does not, why, as the published records, the tables' use and the chip policy tell it
// (so that a reader of the stored state, with no agent, sees the same).
//
// The index manager does not retry a refused interface when entries are freed: it reconciles an
// interface only when one of its inputs changes. These functions let the host show what waits.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "sim/views/Snapshot.h"

namespace sim {

struct Standing {
  Portix::IntfId intf;
  // The FAP whose published status holds the interface's records; when none does, the FAP that
  // serves it (whose set holds its port), if any.
  std::optional<U16> fapId;
  bool macsec = false;
  bool holds = false;       // records in that FAP's published status
  bool shouldHold = false;  // by the serving FAP's inputs
  // Why it holds none although it should (a refused interface); empty otherwise.
  std::string reason;
};

Standing standing(Snapshot const& snapshot, Portix::IntfId intf);

// Every interface that should hold indexes in the FAP that serves it and holds none there, each
// listed under that FAP only: of one FAP or of all, in FAP and then interface order.
std::vector<Standing> refusedInterfaces(Snapshot const& snapshot, std::optional<U16> fapId);

}  // namespace sim
