#include "sim/StateJson.h"

#include <fmt/format.h>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

namespace sim {

namespace {

using nlohmann::json;

constexpr char const kFormat[] = "macsec-index-sim state";
constexpr int kVersion = 2;

// --- Writing -------------------------------------------------------------------------------

std::string name(Portix::IntfId id) {
  return Portix::valueToStrep(id);
}

json publishedJson(OruMacSec::IndexFapStatus const& status) {
  // Records sorted by interface, so that equal states give equal files.
  std::map<Portix::IntfId, json> egress;
  std::map<Portix::IntfId, json> ingress;
  std::map<Portix::IntfId, json> disabled;
  for (auto r = status.esecIndexInfoIter(); r; ++r) {
    egress[r.key().intfId()] = {{"interface", name(r.key().intfId())},
                                {"esec-sc", r->esecScIndex().value()},
                                {"engine", r->engineInstance()}};
  }
  for (auto r = status.isecIndexInfoIter(); r; ++r) {
    ingress[r.key().intfId()] = {{"interface", name(r.key().intfId())},
                                 {"isec-sp", r->isecSpIndex().value()},
                                 {"sub-port", r->msSubportNum().value()},
                                 {"isec-sc", r->isecScIndex().value()},
                                 {"engine", r->engineInstance()}};
  }
  for (auto r = status.esecLoopbackDisabledIndexInfoIter(); r; ++r) {
    disabled[r.key().intfId()] = {{"port", name(r.key().intfId())},
                                  {"esec-sc", r->esecScIndex().value()},
                                  {"engine", r->engineInstance()}};
  }
  auto const values = [](std::map<Portix::IntfId, json>& sorted) {
    json out = json::array();
    for (auto& entry : sorted) {
      out.push_back(std::move(entry.second));
    }
    return out;
  };
  return {{"fap", status.logicalFapId().value()},
          {"engines", status.numEngineInstances()},
          {"esec-disabled", status.esecDisabledIndex()},
          {"isec-disabled", status.isecDisabledIndex()},
          {"egress", values(egress)},
          {"ingress", values(ingress)},
          {"disabled", values(disabled)}};
}

json stateJson(SimHost const& host) {
  json chips = json::array();
  for (auto const& [fapId, settings] : host.chips()) {
    chips.push_back({{"fap", fapId},
                     {"engines", settings.engines},
                     {"isec-disabled", settings.isecDisabled},
                     {"esec-disabled", settings.esecDisabled},
                     {"per-port-disabled", settings.perPortDisabled},
                     {"static", settings.staticAllocation}});
  }
  std::map<U16, json> faps;
  for (auto fap = host.faps()->logicalFapIter(); fap; ++fap) {
    json interfaces = json::array();
    for (auto member = fap.value()->intfIdIter(); member; ++member) {
      interfaces.push_back(name(*member));
    }
    faps[fap.key().value()] = {{"fap", fap.key().value()}, {"interfaces", interfaces}};
  }
  json macsec = json::array();
  for (auto entry = host.macsec()->cpStatusIter(); entry; ++entry) {
    macsec.push_back(name(entry.key()));
  }
  std::map<U16, json> published;
  for (auto fap = host.status()->indexFapStatusIter(); fap; ++fap) {
    published[fap.key().value()] = publishedJson(*fap.value());
  }
  json out = {{"format", kFormat}, {"version", kVersion}, {"chips", chips}};
  out["faps"] = json::array();
  for (auto& entry : faps) {
    out["faps"].push_back(std::move(entry.second));
  }
  out["macsec"] = macsec;
  out["published"] = json::array();
  for (auto& entry : published) {
    out["published"].push_back(std::move(entry.second));
  }
  return out;
}

// --- Reading -------------------------------------------------------------------------------

// Reads values out of the parsed file, naming the place of anything wrong ("faps[2].fap").
class Reader {
 public:
  Reader(std::string path) : path_(std::move(path)) {}

  [[noreturn]] void fail(std::string const& where, std::string const& what) const {
    throw StateFileError(fmt::format("state file {}: at {}: {}", path_, where, what));
  }

  json const& member(json const& object, std::string const& where, char const* key) const {
    if (!object.is_object()) {
      fail(where, "expected an object");
    }
    auto const found = object.find(key);
    if (found == object.end()) {
      fail(where, fmt::format("missing \"{}\"", key));
    }
    return *found;
  }

  json const& array(json const& object, std::string const& where, char const* key) const {
    json const& value = member(object, where, key);
    if (!value.is_array()) {
      fail(where + "." + key, "expected an array");
    }
    return value;
  }

  std::uint64_t number(json const& object, std::string const& where, char const* key,
                       std::uint64_t max) const {
    json const& value = member(object, where, key);
    if (!value.is_number_unsigned() || value.get<std::uint64_t>() > max) {
      fail(where + "." + key, fmt::format("expected a whole number from 0 to {}", max));
    }
    return value.get<std::uint64_t>();
  }

  U16 u16(json const& object, std::string const& where, char const* key) const {
    return U16(number(object, where, key, 65535));
  }

  bool flag(json const& object, std::string const& where, char const* key) const {
    json const& value = member(object, where, key);
    if (!value.is_boolean()) {
      fail(where + "." + key, "expected true or false");
    }
    return value.get<bool>();
  }

  Portix::IntfId interface(json const& value, std::string const& where) const {
    if (!value.is_string()) {
      fail(where, "expected an interface name");
    }
    try {
      return Portix::IntfId(value.get<std::string>());
    } catch (std::invalid_argument const& error) {
      fail(where, error.what());
    }
  }

 private:
  std::string path_;
};

std::string at(std::string const& where, std::size_t index) {
  return fmt::format("{}[{}]", where, index);
}

void readPublished(Reader const& reader, json const& entry, std::string const& where,
                   OruMacSec::IndexStatus& status) {
  LogicalFap::LogicalFapId const fapId(reader.u16(entry, where, "fap"));
  if (status.indexFapStatusHas(fapId)) {
    reader.fail(where + ".fap", "logical FAP listed twice");
  }
  auto const fap = status.indexFapStatusIs(fapId, reader.u16(entry, where, "engines"),
                                           reader.u16(entry, where, "esec-disabled"),
                                           reader.u16(entry, where, "isec-disabled"));
  auto const index = [&](json const& record, std::string const& place, char const* key) {
    return OruMacSec::TableIndex(reader.u16(record, place, key));
  };
  // Each list holds records named by an interface under `interfaceKey`; `store` publishes one.
  auto const eachRecord = [&](char const* list, char const* interfaceKey, auto const& store) {
    json const& records = reader.array(entry, where, list);
    for (std::size_t i = 0; i < records.size(); ++i) {
      std::string const place = at(where + "." + list, i);
      OruMacSec::SecIntfId const id(reader.interface(reader.member(records[i], place, interfaceKey),
                                                     place + "." + interfaceKey));
      store(records[i], place, id);
    }
  };
  eachRecord("egress", "interface", [&](json const& record, std::string const& place, auto id) {
    fap->esecIndexInfoIs(OruMacSec::EsecIndexInfo(id, index(record, place, "esec-sc"),
                                                  reader.u16(record, place, "engine")));
  });
  eachRecord("ingress", "interface", [&](json const& record, std::string const& place, auto id) {
    fap->isecIndexInfoIs(OruMacSec::IsecIndexInfo(
        id, index(record, place, "isec-sp"), index(record, place, "sub-port"),
        index(record, place, "isec-sc"), reader.u16(record, place, "engine")));
  });
  eachRecord("disabled", "port", [&](json const& record, std::string const& place, auto id) {
    fap->esecLoopbackDisabledIndexInfoIs(OruMacSec::EsecIndexInfo(
        id, index(record, place, "esec-sc"), reader.u16(record, place, "engine")));
  });
}

// Reads the whole state into a scratch host first, so that a malformed file changes nothing.
void readState(Reader const& reader, json const& root, SimHost& host) {
  auto const format = root.is_object() ? root.find("format") : root.end();
  if (!root.is_object() || format == root.end() || *format != kFormat) {
    reader.fail("the top",
                fmt::format("not a {} file (\"format\" must be \"{}\")", kFormat, kFormat));
  }
  auto const version = reader.number(root, "the top", "version", 1000);
  if (version != 1 && version != kVersion) {
    reader.fail("version", fmt::format("this simulator reads versions 1 to {}", kVersion));
  }
  // Version 1 named a chip's ingress disabled index "size".
  char const* const isecDisabledKey = version == 1 ? "size" : "isec-disabled";
  json const& chips = reader.array(root, "the top", "chips");
  for (std::size_t i = 0; i < chips.size(); ++i) {
    std::string const where = at("chips", i);
    ChipSettings settings;
    settings.engines = U16(reader.number(chips[i], where, "engines", 1024));
    if (settings.engines == 0) {
      reader.fail(where + ".engines", "a chip has at least one engine");
    }
    settings.isecDisabled = U16(reader.number(chips[i], where, isecDisabledKey, 65533));
    settings.esecDisabled = reader.u16(chips[i], where, "esec-disabled");
    settings.perPortDisabled = reader.flag(chips[i], where, "per-port-disabled");
    settings.staticAllocation = reader.flag(chips[i], where, "static");
    host.chipIs(reader.u16(chips[i], where, "fap"), settings);
  }
  json const& faps = reader.array(root, "the top", "faps");
  for (std::size_t i = 0; i < faps.size(); ++i) {
    std::string const where = at("faps", i);
    LogicalFap::LogicalFapId const fapId(reader.u16(faps[i], where, "fap"));
    if (host.faps()->logicalFapHas(fapId)) {
      reader.fail(where + ".fap", "logical FAP listed twice");
    }
    auto const set = host.faps()->logicalFapIs(fapId);
    json const& interfaces = reader.array(faps[i], where, "interfaces");
    for (std::size_t j = 0; j < interfaces.size(); ++j) {
      set->intfIdIs(reader.interface(interfaces[j], at(where + ".interfaces", j)));
    }
  }
  json const& macsec = reader.array(root, "the top", "macsec");
  for (std::size_t i = 0; i < macsec.size(); ++i) {
    host.macsec()->cpStatusIs(reader.interface(macsec[i], at("macsec", i)));
  }
  json const& published = reader.array(root, "the top", "published");
  for (std::size_t i = 0; i < published.size(); ++i) {
    readPublished(reader, published[i], at("published", i), *host.status());
  }
}

[[noreturn]] void systemError(std::string const& what, std::string const& path) {
  throw StateFileError(fmt::format("state file {}: {}: {}", path, what, std::strerror(errno)));
}

}  // namespace

std::string stateText(SimHost const& host) {
  return stateJson(host).dump(2) + "\n";
}

void stateFromText(SimHost& host, std::string const& text, std::string const& path) {
  json root;
  try {
    root = json::parse(text);
  } catch (json::parse_error const& error) {
    // Turn the byte offset into a line and column a person can find.
    std::size_t const offset = std::min(error.byte == 0 ? 0 : error.byte - 1, text.size());
    std::size_t const line =
        1 + std::size_t(std::count(text.begin(), text.begin() + long(offset), '\n'));
    std::size_t const lineStart = text.rfind('\n', offset == 0 ? 0 : offset - 1);
    std::size_t const column = offset - (lineStart == std::string::npos ? 0 : lineStart + 1) + 1;
    std::string what = error.what();
    what = what.substr(what.find(": ") == std::string::npos ? 0 : what.find(": ") + 2);
    throw StateFileError(fmt::format("state file {}: line {}, column {}: not valid JSON ({})", path,
                                     line, column, what));
  }
  SimHost scratch(std::cout);
  readState(Reader(path), root, scratch);
  readState(Reader(path), root, host);
}

void importState(SimHost& host, std::string const& path) {
  std::ifstream file;
  if (path != "-") {
    file.open(path, std::ios::binary);
    if (!file) {
      systemError("cannot open", path);
    }
  }
  std::ostringstream text;
  text << (path == "-" ? std::cin.rdbuf() : file.rdbuf());
  stateFromText(host, text.str(), path);
}

void exportState(SimHost const& host, std::string const& path) {
  std::string const text = stateText(host);
  if (path == "-") {
    std::cout << text << std::flush;
    return;
  }
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  if (!file || !(file << text) || !file.flush()) {
    systemError("cannot write", path);
  }
}

}  // namespace sim
