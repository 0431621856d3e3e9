// Where an interface stands with the index manager, as the host sees it: whether it should hold
// indexes (its port is in a logical FAP's interface set, and it runs MACsec or the FAP's chip has
// static indexes), whether it holds them, and if it should and does not, why.
//
// The index manager does not retry a refused interface when entries are freed: it reconciles an
// interface only when one of its inputs changes. These functions let the host show what waits.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "sim/SimHost.h"

namespace sim {

struct Standing {
  Portix::IntfId intf;
  std::optional<U16> fapId;  // the FAP whose interface set holds the interface's port
  bool macsec = false;
  bool shouldHold = false;
  bool holds = false;  // a published record of it in that FAP's status
  // Why it holds none although it should (a refused interface); empty otherwise.
  std::string reason;
};

// The FAP whose interface set holds the port of `intf` (a port is its own port).
std::optional<U16> servingFap(SimHost const& host, Portix::IntfId intf);

Standing standing(SimHost const& host, Portix::IntfId intf);

// Every interface that should hold indexes and holds none, of one FAP or of all, in FAP and then
// interface order.
std::vector<Standing> refusedInterfaces(SimHost const& host, std::optional<U16> fapId);

}  // namespace sim
