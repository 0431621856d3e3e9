// What `show` prints: functions of a read-only snapshot of the switch and its monitor, each built
// once as a JSON object (the documented schema that `show ... json` and --json print) with its text
// form rendered from that object.
//
//   status       {"status": [FAP...], "agent-running": bool (as the monitor last saw it)}
//                FAP: {"fap", "engine-count", "esec-disabled-index", "isec-disabled-index",
//                      "engines": [{"engine", "state": "normal"|"full", "tables": [TABLE...]}],
//                      "interfaces": [{"name", "engine", "EsecScTable", "IsecScTcam",
//                                      "IsecSpTcam", "SubPortPolicyTable"}],
//                      "egress-disabled": [{"port", "engine", "EsecScTable"}],
//                      "refused": [{"name", "reason"}]}
//   utilization  {"utilization": [TABLE...], "agent-running": bool (as the monitor last saw it)}
//                TABLE: {"fap", "engine", "table", "hardware-id", "used", "free", "max-limit",
//                        "percent", "high-watermark", "last-high-watermark" (when the table
//                        reached it: nanoseconds since the Unix epoch), "used-threshold-upper",
//                        "used-threshold-upper-clear", "used-threshold-upper-exceeded"}
//   summary      {"summary": [{"fap", "highest": {"engine", "table", "percent"} or null,
//                              "exceeded": [{"engine", "table", "percent"}], "refused": n}]}
//   event        {"event": "THRESHOLD_EXCEEDED"|"THRESHOLD_CLEAR", "time" (RFC 3339, UTC),
//                 "fap", "engine", "table", "hardware-id", "percent", "used", "free",
//                 "used-threshold-upper", "used-threshold-upper-clear"}
//   interface    {"interfaces": [{"name", "fap", "macsec", "state", "reason", "engine",
//                                 "EsecScTable", ..., "egress-disabled"}]}
// A record part that is missing (a lone egress or ingress record) is null.
#pragma once

#include <optional>
#include <vector>

#include "sim/model/Monitor.h"
#include "sim/model/Switch.h"
#include "sim/views/Snapshot.h"
#include "sim/views/View.h"

namespace sim {

// The published status per FAP (of one FAP when given), with each engine's use and the refused
// interfaces.
View statusView(Snapshot const& snapshot, std::optional<U16> fapId);
// The use, high-watermark and thresholds of every table (of one FAP when given). The text is a
// table of all the columns when it fits in `columns`, else a compact one.
View utilizationView(Snapshot const& snapshot, std::optional<U16> fapId, std::size_t columns = 80);
// One line per FAP: its most used table, the tables over their upper threshold, and how many
// interfaces were refused.
View summaryView(Snapshot const& snapshot);
// A threshold event as the transcript and the change feed show it.
View eventView(ThresholdEvent const& event);
// Where each interface stands (see Standing.h).
View interfaceView(Snapshot const& snapshot, std::vector<Portix::IntfId> const& interfaces);

}  // namespace sim
