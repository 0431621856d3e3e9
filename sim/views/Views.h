// What `show` prints: functions of a read-only snapshot of the switch, each built once as a JSON
// object (the documented schema that `show ... json` and --json print) with its text form
// rendered from that object.
//
//   status       {"status": [FAP...], "agent-running": bool}
//                FAP: {"fap", "engine-count", "esec-disabled-index", "isec-disabled-index",
//                      "engines": [{"engine", "state": "normal"|"full", "tables": [TABLE...]}],
//                      "interfaces": [{"name", "engine", "EsecScTable", "IsecScTcam",
//                                      "IsecSpTcam", "SubPortPolicyTable"}],
//                      "egress-disabled": [{"port", "engine", "EsecScTable"}],
//                      "refused": [{"name", "reason"}]}
//   utilization  {"utilization": [TABLE...], "agent-running": bool}
//                TABLE: {"fap", "engine", "table", "hardware-id", "used", "free", "max-limit",
//                        "percent", "high-watermark", "last-high-watermark" (a command number),
//                        "used-threshold-upper", "used-threshold-upper-clear",
//                        "used-threshold-upper-exceeded"}
//   interface    {"interfaces": [{"name", "fap", "macsec", "state", "reason", "engine",
//                                 "EsecScTable", ..., "egress-disabled"}]}
// A record part that is missing (a lone egress or ingress record) is null.
#pragma once

#include <optional>
#include <vector>

#include "sim/model/Switch.h"
#include "sim/views/Utilization.h"
#include "sim/views/View.h"

namespace sim {

// What the views read: the switch as it stands, and what the monitor has seen of its tables.
struct Snapshot {
  Switch const& host;
  ResourceMonitor const& monitor;
};

// The published status per FAP (of one FAP when given), with each engine's use and the refused
// interfaces.
View statusView(Snapshot const& snapshot, std::optional<U16> fapId);
// The use, high-watermark and thresholds of every table (of one FAP when given).
View utilizationView(Snapshot const& snapshot, std::optional<U16> fapId);
// Where each interface stands (see Standing.h).
View interfaceView(Snapshot const& snapshot, std::vector<Portix::IntfId> const& interfaces);

}  // namespace sim
