#include "sim/views/Views.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <map>
#include <set>

#include "sim/views/Standing.h"

namespace sim {

namespace {

using json = nlohmann::json;
using OruMacSec::EngineTable;
using OruMacSec::kEngineTables;
using Row = std::vector<std::string>;

// A table's name as a JSON key and a column heading.
std::string column(EngineTable table) {
  return std::string(OruMacSec::tableName(table));
}

// Writes rows under a header, each column as wide as its widest cell, aligned as `align` says
// per column ('l' or 'r').
std::string table(std::string_view align, Row const& header, std::vector<Row> const& rows) {
  std::vector<std::size_t> widths(header.size());
  for (std::size_t c = 0; c < header.size(); ++c) {
    widths[c] = header[c].size();
    for (Row const& row : rows) {
      widths[c] = std::max(widths[c], row[c].size());
    }
  }
  std::string out;
  auto const line = [&](Row const& row) {
    std::string text;
    for (std::size_t c = 0; c < row.size(); ++c) {
      bool const last = c + 1 == row.size();
      text += align[c] == 'l' ? fmt::format("  {:<{}}", row[c], last ? 0 : widths[c])
                              : fmt::format("  {:>{}}", row[c], widths[c]);
    }
    out += text + '\n';
  };
  line(header);
  for (Row const& row : rows) {
    line(row);
  }
  return out;
}

// A number of the object, or "-" for null.
std::string cell(json const& value) {
  return value.is_null() ? "-" : value.is_string() ? value.get<std::string>() : value.dump();
}

std::string name(Portix::IntfId id) {
  return Portix::valueToStrep(id);
}

// The four index fields of an interface's records, null for a missing record (or status).
void indexFields(json& object, OruMacSec::IndexFapStatus const* status, Portix::IntfId intf) {
  OruMacSec::SecIntfId const id(intf);
  object["engine"] = nullptr;
  for (EngineTable const table : kEngineTables) {
    object[column(table)] = nullptr;
  }
  if (status == nullptr) {
    return;
  }
  bool const egress = status->esecIndexInfoHas(id);
  bool const ingress = status->isecIndexInfoHas(id);
  if (egress) {
    object["engine"] = status->esecIndexInfo(id).engineInstance();
  }
  if (ingress) {
    object["engine"] = status->isecIndexInfo(id).engineInstance();
  }
  for (EngineTable const table : kEngineTables) {
    if (OruMacSec::isEgressTable(table) ? egress : ingress) {
      object[column(table)] = OruMacSec::isEgressTable(table)
                                  ? status->esecIndexInfo(id).esecScIndex().value()
                                  : ingressIndex(status->isecIndexInfo(id), table).value();
    }
  }
}

json tableJson(TableUse const& use) {
  return {{"fap", use.fapId},
          {"engine", use.engine},
          {"table", OruMacSec::tableName(use.table)},
          {"hardware-id", OruMacSec::tableHardwareId(use.table)},
          {"used", use.used},
          {"free", use.free},
          {"max-limit", use.maxLimit},
          {"percent", use.percent}};
}

json fapJson(Snapshot const& snapshot, U16 fapId) {
  Switch const& host = snapshot.host;
  json out = {{"fap", fapId}};
  auto const status = host.status().indexFapStatus(LogicalFap::LogicalFapId(fapId));
  json engines = json::array();
  for (TableUse const& use : tableUse(host, fapId)) {
    if (engines.empty() || engines.back()["engine"] != use.engine) {
      bool const full = snapshot.monitor.engineFull(fapId, use.engine);
      engines.push_back(
          {{"engine", use.engine}, {"state", full ? "full" : "normal"}, {"tables", json::array()}});
    }
    engines.back()["tables"].push_back(tableJson(use));
  }
  json interfaces = json::array();
  json disabled = json::array();
  if (status) {
    out["engine-count"] = status->numEngineInstances();
    out["esec-disabled-index"] = status->esecDisabledIndex();
    out["isec-disabled-index"] = status->isecDisabledIndex();
    std::set<Portix::IntfId> held;
    for (auto record = status->esecIndexInfoIter(); record; ++record) {
      held.insert(record.key().intfId());
    }
    for (auto record = status->isecIndexInfoIter(); record; ++record) {
      held.insert(record.key().intfId());
    }
    for (Portix::IntfId const intf : held) {
      json row = {{"name", name(intf)}};
      indexFields(row, status.get(), intf);
      interfaces.push_back(std::move(row));
    }
    std::map<Portix::IntfId, json> ports;
    for (auto record = status->esecLoopbackDisabledIndexInfoIter(); record; ++record) {
      ports[record.key().intfId()] = {
          {"port", name(record.key().intfId())},
          {"engine", record->engineInstance()},
          {column(EngineTable::kEsecSc), record->esecScIndex().value()}};
    }
    for (auto& [port, row] : ports) {
      disabled.push_back(std::move(row));
    }
  }
  json refused = json::array();
  for (Standing const& found : refusedInterfaces(snapshot, fapId)) {
    refused.push_back({{"name", name(found.intf)}, {"reason", found.reason}});
  }
  out["engines"] = std::move(engines);
  out["interfaces"] = std::move(interfaces);
  out["egress-disabled"] = std::move(disabled);
  out["refused"] = std::move(refused);
  return out;
}

std::string refusedText(json const& refused) {
  if (refused.empty()) {
    return "";
  }
  std::vector<Row> rows;
  for (json const& r : refused) {
    rows.push_back({r["name"], r["reason"]});
  }
  return table("ll", {"refused interface", "reason"}, rows);
}

std::string fapText(json const& fap) {
  if (!fap.contains("engine-count")) {
    std::string text = fmt::format("FAP {}: nothing published\n", fap["fap"].get<int>());
    return text + refusedText(fap["refused"]);
  }
  int const engineCount = fap["engine-count"];
  std::string text =
      fmt::format("FAP {}: {} engine{}, egress disabled index {}, ingress disabled index {}\n",
                  fap["fap"].get<int>(), engineCount, engineCount == 1 ? "" : "s",
                  fap["esec-disabled-index"].get<int>(), fap["isec-disabled-index"].get<int>());
  for (json const& engine : fap["engines"]) {
    std::vector<std::string> uses;
    for (json const& t : engine["tables"]) {
      uses.push_back(fmt::format("{} {}/{}", t["table"].get<std::string>(), t["used"].get<int>(),
                                 t["max-limit"].get<int>()));
    }
    text += fmt::format("  engine {}: {}; used/max-limit {}\n", engine["engine"].get<int>(),
                        engine["state"].get<std::string>(), fmt::join(uses, ", "));
  }
  if (fap["interfaces"].empty()) {
    text += "  no interface holds indexes\n";
  } else {
    std::vector<Row> rows;
    for (json const& i : fap["interfaces"]) {
      Row row = {i["name"], cell(i["engine"])};
      for (EngineTable const table : kEngineTables) {
        row.push_back(cell(i[column(table)]));
      }
      rows.push_back(std::move(row));
    }
    Row header = {"interface", "engine"};
    for (EngineTable const table : kEngineTables) {
      header.push_back(column(table));
    }
    text += table("lrrrrr", header, rows);
  }
  if (!fap["egress-disabled"].empty()) {
    std::vector<Row> rows;
    for (json const& d : fap["egress-disabled"]) {
      rows.push_back({d["port"], cell(d["engine"]), cell(d[column(EngineTable::kEsecSc)])});
    }
    text +=
        table("lrr", {"disabled egress entry of", "engine", column(EngineTable::kEsecSc)}, rows);
  }
  return text + refusedText(fap["refused"]);
}

}  // namespace

View statusView(Snapshot const& snapshot, std::optional<U16> fapId) {
  Switch const& host = snapshot.host;
  std::set<U16> ids;
  for (auto entry = host.status().indexFapStatusIter(); entry; ++entry) {
    ids.insert(entry.key().value());
  }
  for (auto entry = host.faps().logicalFapIter(); entry; ++entry) {
    ids.insert(entry.key().value());
  }
  if (fapId) {
    ids = {*fapId};
  }
  View view{{{"status", json::array()}, {"agent-running", snapshot.monitor.state().agentRunning}},
            ""};
  for (U16 const id : ids) {
    view.object["status"].push_back(fapJson(snapshot, id));
    view.text += fapText(view.object["status"].back());
  }
  if (ids.empty()) {
    view.text = "nothing published\n";
  }
  return view;
}

View utilizationView(Snapshot const& snapshot, std::optional<U16> fapId, std::size_t columns) {
  Switch const& host = snapshot.host;
  View view{
      {{"utilization", json::array()}, {"agent-running", snapshot.monitor.state().agentRunning}},
      ""};
  std::vector<Row> wide;
  std::vector<Row> compact;
  for (TableUse const& use : tableUse(host, fapId)) {
    json t = tableJson(use);
    Thresholds const limits = snapshot.monitor.thresholds(use.fapId);
    auto const* const record = snapshot.monitor.record(use);
    t["high-watermark"] = record != nullptr ? record->highWatermark : use.used;
    t["last-high-watermark"] = record != nullptr ? json(record->highWatermarkTime) : json(nullptr);
    t["used-threshold-upper"] = limits.upper;
    t["used-threshold-upper-clear"] = limits.clear;
    t["used-threshold-upper-exceeded"] = record != nullptr && record->exceeded;
    std::string const reached = record != nullptr ? rfc3339(record->highWatermarkTime) : "-";
    std::string const exceeded = t["used-threshold-upper-exceeded"] ? "yes" : "no";
    wide.push_back({cell(t["fap"]), cell(t["engine"]), t["table"], t["hardware-id"],
                    cell(t["used"]), cell(t["free"]), cell(t["max-limit"]),
                    cell(t["percent"]) + "%", cell(t["high-watermark"]), reached,
                    cell(t["used-threshold-upper"]) + "%",
                    cell(t["used-threshold-upper-clear"]) + "%", exceeded});
    compact.push_back({cell(t["fap"]), cell(t["engine"]), t["table"], cell(t["used"]),
                       cell(t["free"]), cell(t["max-limit"]), cell(t["percent"]) + "%",
                       cell(t["high-watermark"]), fmt::format("{}/{}%", limits.upper, limits.clear),
                       exceeded});
    view.object["utilization"].push_back(std::move(t));
  }
  if (wide.empty()) {
    view.text = "no tables\n";
    return view;
  }
  view.text = table("rrllrrrrrlrrl",
                    {"FAP", "engine", "table", "hardware id", "used", "free", "max-limit", "use",
                     "high-watermark", "reached (UTC)", "upper", "clear", "exceeded"},
                    wide);
  if (view.text.find('\n') > columns) {
    view.text = table(
        "rrlrrrrrrl",
        {"FAP", "eng", "table", "used", "free", "max", "use", "high", "limits", "over"}, compact);
  }
  return view;
}

View summaryView(Snapshot const& snapshot) {
  Switch const& host = snapshot.host;
  View view{{{"summary", json::array()}}, ""};
  std::map<U16, json> faps;
  for (auto entry = host.status().indexFapStatusIter(); entry; ++entry) {
    faps[entry.key().value()] = nullptr;
  }
  for (auto entry = host.faps().logicalFapIter(); entry; ++entry) {
    faps[entry.key().value()] = nullptr;
  }
  for (auto& [id, fap] : faps) {
    fap = {{"fap", id},
           {"highest", nullptr},
           {"exceeded", json::array()},
           {"refused", refusedInterfaces(snapshot, id).size()}};
  }
  for (TableUse const& use : tableUse(host, std::nullopt)) {
    json const table = {{"engine", use.engine},
                        {"table", OruMacSec::tableName(use.table)},
                        {"percent", use.percent}};
    json& fap = faps[use.fapId];
    if (fap["highest"].is_null() || fap["highest"]["percent"] < use.percent) {
      fap["highest"] = table;
    }
    TableRecord const* const record = snapshot.monitor.record(use);
    if (record != nullptr && record->exceeded) {
      fap["exceeded"].push_back(table);
    }
  }
  auto const name = [](json const& t) {
    return fmt::format("engine {} {} {}%", t["engine"].get<int>(), t["table"].get<std::string>(),
                       t["percent"].get<int>());
  };
  for (auto& [id, fap] : faps) {
    std::vector<std::string> over;
    for (json const& t : fap["exceeded"]) {
      over.push_back(name(t));
    }
    std::size_t const refused = fap["refused"];
    view.text += fmt::format(
        "FAP {}: highest use {}; over the upper threshold: {}; {} refused interface{}\n", id,
        fap["highest"].is_null() ? "- (no tables)" : name(fap["highest"]),
        over.empty() ? "none" : fmt::format("{}", fmt::join(over, ", ")), refused,
        refused == 1 ? "" : "s");
    view.object["summary"].push_back(std::move(fap));
  }
  if (faps.empty()) {
    view.text = "nothing published\n";
  }
  return view;
}

View eventView(ThresholdEvent const& event) {
  TableUse const& use = event.use;
  std::string_view const table = OruMacSec::tableName(use.table);
  std::string_view const hardwareId = OruMacSec::tableHardwareId(use.table);
  json const object = {{"event", event.exceeded ? "THRESHOLD_EXCEEDED" : "THRESHOLD_CLEAR"},
                       {"time", rfc3339(event.time)},
                       {"fap", use.fapId},
                       {"engine", use.engine},
                       {"table", table},
                       {"hardware-id", hardwareId},
                       {"percent", use.percent},
                       {"used", use.used},
                       {"free", use.free},
                       {"used-threshold-upper", event.limits.upper},
                       {"used-threshold-upper-clear", event.limits.clear}};
  return {object,
          fmt::format("{} {}: FAP {}, engine {}, table {} ({}): {}% used ({} used, {} free; "
                      "{} threshold {}%)\n",
                      object["time"].get<std::string>(), object["event"].get<std::string>(),
                      use.fapId, use.engine, table, hardwareId, use.percent, use.used, use.free,
                      event.exceeded ? "upper" : "clear",
                      event.exceeded ? event.limits.upper : event.limits.clear)};
}

View interfaceView(Snapshot const& snapshot, std::vector<Portix::IntfId> const& interfaces) {
  Switch const& host = snapshot.host;
  View view{{{"interfaces", json::array()}}, ""};
  std::vector<Row> rows;
  for (Portix::IntfId const intf : interfaces) {
    Standing const found = standing(snapshot, intf);
    json i = {{"name", name(intf)},
              {"fap", found.fapId ? json(*found.fapId) : json(nullptr)},
              {"macsec", found.macsec}};
    auto const status = found.fapId
                            ? host.status().indexFapStatus(LogicalFap::LogicalFapId(*found.fapId))
                            : nullptr;
    indexFields(i, status.get(), intf);
    i["egress-disabled"] = nullptr;
    OruMacSec::SecIntfId const id(intf);
    if (status && status->esecLoopbackDisabledIndexInfoHas(id)) {
      auto const record = status->esecLoopbackDisabledIndexInfo(id);
      i["egress-disabled"] = {{"engine", record.engineInstance()},
                              {column(EngineTable::kEsecSc), record.esecScIndex().value()}};
    }
    std::string state = found.holds ? "holds indexes" : found.shouldHold ? "refused" : "not served";
    std::string reason = found.reason;
    if (!found.holds && !found.shouldHold) {
      reason = !found.fapId ? "its port is in no logical FAP's interface set" : "MACsec is off";
    }
    i["state"] = state;
    i["reason"] = reason.empty() ? json(nullptr) : json(reason);
    Row row = {i["name"], cell(i["fap"]), found.macsec ? "on" : "off", cell(i["engine"])};
    for (EngineTable const table : kEngineTables) {
      row.push_back(cell(i[column(table)]));
    }
    if (!i["egress-disabled"].is_null()) {
      state += fmt::format(", egress disabled entry {}",
                           i["egress-disabled"][column(EngineTable::kEsecSc)].get<int>());
    }
    if (!reason.empty()) {
      state += ": " + reason;
    }
    row.push_back(std::move(state));
    rows.push_back(std::move(row));
    view.object["interfaces"].push_back(std::move(i));
  }
  Row header = {"interface", "FAP", "MACsec", "engine"};
  for (EngineTable const table : kEngineTables) {
    header.push_back(column(table));
  }
  header.emplace_back("state");
  view.text = table("lrlrrrrrl", header, rows);
  return view;
}

}  // namespace sim
