// What the views read: the switch as it stands and what the resource monitor has seen of it, both
// as a writer keeps them or as a reader loads them from the store, so that both show the same.
#pragma once

#include "sim/model/Monitor.h"
#include "sim/model/Switch.h"

namespace sim {

struct Snapshot {
  Switch const& host;
  ResourceMonitor const& monitor;
};

}  // namespace sim
