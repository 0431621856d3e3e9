// What `show` and `help` print: each view is built once as a JSON object (the documented schema
// that `show ... json` and --json print) and its text form is rendered from that object, so the
// two never disagree.
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
//   help         {"help": [{"command", "usage": [...], "summary"}]}
// A record part that is missing (a lone egress or ingress record) is null.
#pragma once

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <vector>

#include "sim/SimHost.h"

namespace sim {

struct View {
  nlohmann::json object;
  std::string text;
};

View statusView(SimHost const& host, std::optional<U16> fapId);
View utilizationView(SimHost const& host, std::optional<U16> fapId);
View interfaceView(SimHost const& host, std::vector<Portix::IntfId> const& interfaces);
View helpView(std::string const& topic);

}  // namespace sim
