#include "sim/store/StateJson.h"

#include "sim/store/RecordJson.h"

#include <fmt/format.h>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <sstream>
#include <vector>

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
    egress[r.key().intfId()] = egressJson(*r);
  }
  for (auto r = status.isecIndexInfoIter(); r; ++r) {
    ingress[r.key().intfId()] = ingressJson(*r);
  }
  for (auto r = status.esecLoopbackDisabledIndexInfoIter(); r; ++r) {
    disabled[r.key().intfId()] = disabledJson(*r);
  }
  auto const values = [](std::map<Portix::IntfId, json>& sorted) {
    json out = json::array();
    for (auto& entry : sorted) {
      out.push_back(std::move(entry.second));
    }
    return out;
  };
  json out = fapStatusJson(status);
  out["egress"] = values(egress);
  out["ingress"] = values(ingress);
  out["disabled"] = values(disabled);
  return out;
}

json stateJson(Switch const& host) {
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
  for (auto fap = host.faps().logicalFapIter(); fap; ++fap) {
    json interfaces = json::array();
    for (auto member = fap.value()->intfIdIter(); member; ++member) {
      interfaces.push_back(name(*member));
    }
    faps[fap.key().value()] = {{"fap", fap.key().value()}, {"interfaces", interfaces}};
  }
  json macsec = json::array();
  for (auto entry = host.macsec().cpStatusIter(); entry; ++entry) {
    macsec.push_back(name(entry.key()));
  }
  std::map<U16, json> published;
  for (auto fap = host.status().indexFapStatusIter(); fap; ++fap) {
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

// The first key written twice in one object, found while the text is read as a stream (a parsed
// object keeps only one of them).
class DuplicateKeys : public nlohmann::json_sax<json> {
 public:
  // The place of the object and the key, once found.
  std::optional<std::pair<std::string, std::string>> found;

  bool null() override { return value(); }
  bool boolean(bool /*value*/) override { return value(); }
  bool number_integer(number_integer_t /*value*/) override { return value(); }
  bool number_unsigned(number_unsigned_t /*value*/) override { return value(); }
  bool number_float(number_float_t /*value*/, string_t const& /*text*/) override { return value(); }
  bool string(string_t& /*value*/) override { return value(); }
  bool binary(binary_t& /*value*/) override { return value(); }
  bool start_object(std::size_t /*size*/) override {
    value();
    frames_.push_back({true, {}, {}, 0});
    return true;
  }
  bool key(string_t& key) override {
    Frame& frame = frames_.back();
    if (!frame.keys.insert(key).second) {
      found.emplace(place(), key);
      return false;
    }
    frame.key = key;
    return true;
  }
  bool end_object() override { return end(); }
  bool start_array(std::size_t /*size*/) override {
    value();
    frames_.push_back({false, {}, {}, 0});
    return true;
  }
  bool end_array() override { return end(); }
  bool parse_error(std::size_t /*position*/, std::string const& /*token*/,
                   nlohmann::detail::exception const& /*error*/) override {
    return false;
  }

 private:
  struct Frame {
    bool object;
    std::set<std::string> keys;
    std::string key;     // the key being read, in an object
    std::size_t values;  // the values begun so far, in an array
  };
  bool value() {
    if (!frames_.empty() && !frames_.back().object) {
      ++frames_.back().values;
    }
    return true;
  }
  bool end() {
    frames_.pop_back();
    return true;
  }
  // The path of the innermost object ("the top", "faps[2]").
  std::string place() const {
    std::string out;
    for (std::size_t i = 0; i + 1 < frames_.size(); ++i) {
      Frame const& frame = frames_[i];
      out += frame.object ? (out.empty() ? "" : ".") + frame.key
                          : fmt::format("[{}]", frame.values - 1);
    }
    return out.empty() ? "the top" : out;
  }

  std::vector<Frame> frames_;
};

// Reads values out of the parsed file into the switch, naming the place of anything wrong
// ("faps[2].fap").
class Reader {
 public:
  Reader(std::string path, Switch& host) : path_(std::move(path)), host_(host) {}

  [[noreturn]] void fail(std::string const& where, std::string const& what) const {
    throw StateFileError(fmt::format("state file {}: at {}: {}", path_, where, what));
  }

  // Makes a change of the switch; a refusal names `where`.
  template <class Change>
  void change(std::string const& where, Change const& change) const {
    try {
      change(host_);
    } catch (RefusedError const& error) {
      fail(where, error.what());
    }
  }

  // Refuses a key listed a second time in one list; `seen` holds the list's keys so far.
  void once(std::map<std::string, std::string>& seen, std::string const& key,
            std::string const& where) const {
    auto const [first, fresh] = seen.emplace(key, where);
    if (!fresh) {
      fail(where, fmt::format("{} is listed twice (also at {})", key, first->second));
    }
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
  Switch& host_;
};

std::string at(std::string const& where, std::size_t index) {
  return fmt::format("{}[{}]", where, index);
}

void readPublished(Reader const& reader, json const& entry, std::string const& where, U16 fapId) {
  reader.change(where, [&](Switch& host) {
    host.publishedFapAdd(fapId, reader.u16(entry, where, "engines"),
                         reader.u16(entry, where, "esec-disabled"),
                         reader.u16(entry, where, "isec-disabled"));
  });
  auto const index = [&](json const& record, std::string const& place, char const* key) {
    return OruMacSec::TableIndex(reader.u16(record, place, key));
  };
  // Each list holds records named by an interface under `interfaceKey`; `add` publishes one.
  auto const eachRecord = [&](char const* list, char const* interfaceKey, auto const& add) {
    json const& records = reader.array(entry, where, list);
    std::map<std::string, std::string> seen;
    for (std::size_t i = 0; i < records.size(); ++i) {
      std::string const place = at(where + "." + list, i);
      std::string const keyPlace = place + "." + interfaceKey;
      Portix::IntfId const intf =
          reader.interface(reader.member(records[i], place, interfaceKey), keyPlace);
      reader.once(seen, Portix::valueToStrep(intf), keyPlace);
      OruMacSec::SecIntfId const id(intf);
      reader.change(place, [&](Switch& host) { add(host, records[i], place, id); });
    }
  };
  eachRecord("egress", "interface",
             [&](Switch& host, json const& r, std::string const& p, auto id) {
               host.egressRecordAdd(fapId, OruMacSec::EsecIndexInfo(id, index(r, p, "esec-sc"),
                                                                    reader.u16(r, p, "engine")));
             });
  eachRecord(
      "ingress", "interface", [&](Switch& host, json const& r, std::string const& p, auto id) {
        host.ingressRecordAdd(
            fapId, OruMacSec::IsecIndexInfo(id, index(r, p, "isec-sp"), index(r, p, "sub-port"),
                                            index(r, p, "isec-sc"), reader.u16(r, p, "engine")));
      });
  eachRecord("disabled", "port", [&](Switch& host, json const& r, std::string const& p, auto id) {
    host.disabledRecordAdd(
        fapId, OruMacSec::EsecIndexInfo(id, index(r, p, "esec-sc"), reader.u16(r, p, "engine")));
  });
}

// Each entry of the list `key` of the top object, with its place, keyed by the FAP it names; a
// FAP named twice is refused.
template <class Read>
void eachFap(Reader const& reader, json const& root, char const* key, Read const& read) {
  json const& list = reader.array(root, "the top", key);
  std::map<std::string, std::string> seen;
  for (std::size_t i = 0; i < list.size(); ++i) {
    std::string const where = at(key, i);
    U16 const fapId = reader.u16(list[i], where, "fap");
    reader.once(seen, fmt::format("logical FAP {}", fapId), where + ".fap");
    read(list[i], where, fapId);
  }
}

void readState(Reader const& reader, json const& root) {
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
  eachFap(reader, root, "chips", [&](json const& chip, std::string const& where, U16 fapId) {
    ChipSettings const settings{
        reader.u16(chip, where, "engines"), reader.u16(chip, where, isecDisabledKey),
        reader.u16(chip, where, "esec-disabled"), reader.flag(chip, where, "per-port-disabled"),
        reader.flag(chip, where, "static")};
    reader.change(where, [&](Switch& host) { host.chipIs(fapId, settings); });
  });
  eachFap(reader, root, "faps", [&](json const& fap, std::string const& where, U16 fapId) {
    reader.change(where, [&](Switch& host) { host.fapAdd(fapId, {}); });
    json const& interfaces = reader.array(fap, where, "interfaces");
    std::map<std::string, std::string> seen;
    for (std::size_t j = 0; j < interfaces.size(); ++j) {
      std::string const place = at(where + ".interfaces", j);
      Portix::IntfId const intf = reader.interface(interfaces[j], place);
      reader.once(seen, Portix::valueToStrep(intf), place);
      reader.change(place, [&](Switch& host) { host.intfAdd(fapId, {intf}); });
    }
  });
  json const& macsec = reader.array(root, "the top", "macsec");
  std::map<std::string, std::string> seen;
  for (std::size_t i = 0; i < macsec.size(); ++i) {
    std::string const place = at("macsec", i);
    Portix::IntfId const intf = reader.interface(macsec[i], place);
    reader.once(seen, Portix::valueToStrep(intf), place);
    reader.change(place, [&](Switch& host) { host.macsecIs({intf}, true); });
  }
  eachFap(reader, root, "published", [&](json const& entry, std::string const& where, U16 fapId) {
    readPublished(reader, entry, where, fapId);
  });
}

[[noreturn]] void systemError(std::string const& what, std::string const& path) {
  throw StateFileError(fmt::format("state file {}: {}: {}", path, what, std::strerror(errno)));
}

}  // namespace

std::string stateText(Switch const& host) {
  return stateJson(host).dump(2) + "\n";
}

void stateFromText(Switch& host, std::string const& text, std::string const& path) {
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
  DuplicateKeys duplicates;
  json::sax_parse(text, &duplicates);
  if (duplicates.found) {
    throw StateFileError(fmt::format("state file {}: at {}: \"{}\" appears twice", path,
                                     duplicates.found->first, duplicates.found->second));
  }
  readState(Reader(path, host), root);
}

void importState(Switch& host, std::string const& path) {
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

void exportState(Switch const& host, std::string const& path) {
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
