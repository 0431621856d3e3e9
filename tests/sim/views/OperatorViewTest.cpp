// The operator's view checked against the state it summarises, over long random runs in the JSON
// format: every output line must parse; the tables' use must match the published records; the
// refused lists and `show interface` must agree with what the exported state says, worked out
// here independently of the views; threshold events must alternate per table and respect the
// thresholds; and log floods must be summed up in the step (start-up or command) that raised them.
#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <tuple>

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "sim/session/Session.h"
#include "sim/store/StateJson.h"

namespace {

using json = nlohmann::json;
using TableKey = std::tuple<int, int, std::string>;

std::string intf(int port, int sub) {
  return "Ethernet" + std::to_string(port) + (sub == 0 ? "" : "." + std::to_string(sub));
}

std::string portOf(std::string const& name) {
  return name.substr(0, name.find('.'));
}

// What the exported state says, and what the views must therefore show.
struct Expected {
  explicit Expected(json const& state) {
    for (json const& chip : state["chips"]) {
      statics[chip["fap"]] = chip["static"];
    }
    for (json const& fap : state["faps"]) {
      for (json const& member : fap["interfaces"]) {
        sets[fap["fap"]].insert(member);
      }
    }
    macsec = state["macsec"].get<std::set<std::string>>();
    for (json const& fap : state["published"]) {
      for (char const* list : {"egress", "ingress"}) {
        for (json const& record : fap[list]) {
          holders[record["interface"]].insert(fap["fap"].get<int>());
        }
      }
    }
  }
  // The FAP whose set holds the interface's port.
  std::optional<int> serving(std::string const& name) const {
    for (auto const& [fap, members] : sets) {
      if (members.count(portOf(name)) != 0) {
        return fap;
      }
    }
    return std::nullopt;
  }
  bool holds(std::string const& name, int fap) const {
    auto const found = holders.find(name);
    return found != holders.end() && found->second.count(fap) != 0;
  }
  // Interfaces that should hold indexes in the FAP that serves them and hold none there.
  std::map<int, std::set<std::string>> refused() const {
    std::map<int, std::set<std::string>> out;
    std::set<std::string> candidates = macsec;
    for (auto const& [fap, members] : sets) {
      candidates.insert(members.begin(), members.end());
    }
    for (std::string const& name : candidates) {
      auto const fap = serving(name);
      bool const should =
          fap && (macsec.count(name) != 0 || (statics.at(*fap) && sets.at(*fap).count(name) != 0));
      if (should && !holds(name, *fap)) {
        out[*fap].insert(name);
      }
    }
    return out;
  }

  std::map<int, bool> statics;
  std::map<int, std::set<std::string>> sets;
  std::set<std::string> macsec;
  std::map<std::string, std::set<int>> holders;  // interface: the FAPs with its records
};

struct ViewedSwitch {
  explicit ViewedSwitch(std::string path) : path_(std::move(path)) { open(); }

  // A session over the database, as a simulator started anew: its start-up is a step of its own.
  void open() {
    session.reset();
    out.str("");
    sim::SessionOptions options;
    options.statePath = path_;
    options.format = sim::Transcript::Format::kJson;
    session = std::make_unique<sim::Session>(options, out, out);
    // Thresholds and their state are kept in the database: the new simulator goes on from them.
    check(out.str(), "the start-up");
  }

  // Runs one line and returns the JSON objects it printed, checked on the way.
  std::vector<json> run(std::string const& line) {
    out.str("");
    try {
      session->runLine(line, false);
    } catch (std::runtime_error const&) {
    }
    return check(out.str(), line);
  }
  json view(std::string const& line) { return run(line).at(0); }

  // Threshold events alternate per table and respect the thresholds; a log flood's summary comes
  // with the step's own first messages of that kind.
  std::vector<json> check(std::string const& text, std::string const& step) {
    std::vector<json> objects;
    std::map<std::string, int> logs;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
      objects.push_back(json::parse(line));  // throws on a line that is not JSON
      json const& o = objects.back();
      if (o.contains("log")) {
        ++logs[o["log"]["name"]];
      }
      if (o.contains("logs-not-shown")) {
        EXPECT_EQ(logs[o["logs-not-shown"]["name"]], 5) << "summary without its messages: " << step;
      }
      if (!o.contains("event")) {
        continue;
      }
      bool const up = o["event"] == "THRESHOLD_EXCEEDED";
      auto const [upper, clear] = limits(o["fap"]);
      EXPECT_TRUE(up ? o["percent"] >= upper : o["percent"] <= clear) << step << ": " << o;
      bool& state = exceeded[{o["fap"], o["engine"], o["table"]}];
      EXPECT_NE(state, up) << "two " << o["event"] << " in a row after " << step;
      state = up;
    }
    return objects;
  }
  std::pair<int, int> limits(int fap) const {
    auto const found = thresholds.find(fap);
    return found == thresholds.end() ? std::make_pair(85, 70) : found->second;
  }

  std::string path_;
  std::ostringstream out;
  std::unique_ptr<sim::Session> session;
  std::map<int, std::pair<int, int>> thresholds;  // per FAP: upper, clear
  std::map<TableKey, bool> exceeded;              // from the events seen
};

// FAP 1: two engines, a shared egress disabled index; FAP 2: an egress disabled entry per port;
// FAP 3: static indexes. FAPs 1 and 2 have tables of 6 and 5 entries, so that they fill and refuse
// often.
TEST(OperatorView, AgreesWithTheStateOverRandomRuns) {
  std::string const path = ::testing::TempDir() + "view-" + std::to_string(::getpid()) + ".db";
  for (unsigned seed = 1; seed <= 8; ++seed) {
    for (char const* suffix : {"", "-wal", "-shm"}) {
      std::remove((path + suffix).c_str());
    }
    std::mt19937 random(seed);
    auto const pick = [&](int low, int high) {
      return std::uniform_int_distribution<int>(low, high)(random);
    };
    ViewedSwitch r(path);
    r.run("chip 1 engines=2 isec-disabled=6 esec-disabled=6");
    r.run("chip 2 isec-disabled=5 esec-disabled=5 per-port-disabled=yes");
    r.run("chip 3 isec-disabled=200 static=yes");
    r.run("fap add 1 Ethernet1-3");
    r.run("fap add 2 Ethernet4-5");
    r.run("fap add 3 Ethernet6 Ethernet6.1-2 Ethernet1.1");
    // More MACsec subinterfaces than the tables hold: a new simulator's start-up refuses more
    // than five, and sums up the rest itself.
    r.run("macsec on Ethernet1-5.1-4");
    r.open();
    std::ostringstream readerOut;
    sim::SessionOptions readOnly;
    readOnly.statePath = path;
    readOnly.readOnly = true;
    readOnly.format = sim::Transcript::Format::kJson;
    sim::Session reader(readOnly, readerOut, readerOut);
    // Static members that keep their records while their port moves to another FAP.
    r.run("intf del 3 Ethernet6");
    r.run("intf add 1 Ethernet6");
    for (int step = -1; step < 250; ++step) {
      int const port = pick(1, 7), sub = pick(0, 1) * pick(1, 5), fap = pick(1, 3);
      std::string const name = intf(port, sub);
      switch (step < 0 ? -1 : pick(0, 23)) {
        case -1:
          break;  // the state set up above
        case 0:
        case 1:
        case 2:
        case 3:
        case 4:
        case 5:
        case 6:
        case 7:
        case 8:
          r.run("macsec on " + name);
          break;
        case 9:
        case 10:
        case 11:
        case 12:
        case 13:
          r.run("macsec off " + name);
          break;
        case 14:
        case 15:
        case 16:
        case 17:
          r.run(fmt::format("intf {} {} {}", pick(0, 1) == 0 ? "add" : "del", fap, name));
          break;
        case 18: {
          int const upper = pick(30, 100), clear = pick(0, upper - 1);
          r.thresholds[fap] = {upper, clear};
          r.run(fmt::format("threshold {} upper={} clear={}", fap, upper, clear));
          break;
        }
        case 19:
          r.run(pick(0, 1) == 0 ? "agent restart" : "fap del " + std::to_string(fap));
          r.run("fap add " + std::to_string(fap));
          break;
        case 20:
          r.open();  // a simulator started anew over the database
          break;
        default:
          r.run("macsec retry");
          json const after = r.view("show json");
          for (json const& f : after["status"]) {
            for (json const& refused : f["refused"]) {
              EXPECT_THAT(refused["reason"].get<std::string>(),
                          ::testing::Not(::testing::HasSubstr("room now")))
                  << "waits after a retry: " << refused;
            }
          }
      }
      Expected const expected(json::parse(sim::stateText(r.session->host())));
      json const status = r.view("show json");
      std::map<TableKey, int> records;  // entries the records and reserved indexes name
      std::map<int, std::set<std::string>> refused;
      std::set<std::string> named;
      for (json const& f : status["status"]) {
        int const id = f["fap"];
        for (json const& engine : f["engines"]) {
          // Reserved: the ingress disabled index, and on FAPs 1 and 3 the shared egress one.
          records[{id, engine["engine"], "IsecSpTcam"}] += 1;
          records[{id, engine["engine"], "SubPortPolicyTable"}] += 1;
          records[{id, engine["engine"], "EsecScTable"}] += id == 2 ? 0 : 1;
        }
        for (json const& i : f["interfaces"]) {
          for (char const* t : {"EsecScTable", "IsecScTcam", "IsecSpTcam", "SubPortPolicyTable"}) {
            records[{id, i["engine"], t}] += i[t].is_null() ? 0 : 1;
          }
        }
        for (json const& d : f["egress-disabled"]) {
          records[{id, d["engine"], "EsecScTable"}] += 1;
        }
        for (json const& i : f["refused"]) {
          EXPECT_TRUE(named.insert(i["name"]).second) << i["name"] << " refused under two FAPs";
          refused[id].insert(i["name"]);
        }
      }
      EXPECT_EQ(refused, expected.refused()) << "seed " << seed << ", step " << step;
      // Where an interface holds records, show interface says so.
      for (auto const& [holder, faps] : expected.holders) {
        json const where = r.view("show interface " + holder + " json")["interfaces"][0];
        EXPECT_EQ(where["state"], "holds indexes") << where;
        EXPECT_EQ(faps.count(where["fap"].get<int>()), 1u) << where;
      }
      json const use = r.view("show utilization json");
      // A reader of the database, with no agent, shows what the writer shows: it loads the state
      // again whenever the writer has committed.
      for (char const* line : {"show utilization json", "show json", "show summary json"}) {
        readerOut.str("");
        reader.runLine(line, false);
        // Log lines reach every transcript in the process: the view is the reader's first line.
        std::string const view = readerOut.str().substr(0, readerOut.str().find('\n'));
        EXPECT_EQ(json::parse(view), r.view(line)) << line << ", step " << step;
      }
      // The writer's use is its agent's bookings while one runs, the reader's is counted from the
      // records: equal above, and both what the records say.
      for (json const& t : use["utilization"]) {
        TableKey const key{t["fap"], t["engine"], t["table"]};
        ASSERT_EQ(t["used"], records[key]) << t;
        EXPECT_EQ(t["free"], std::max(0, int(t["max-limit"]) - int(t["used"]))) << t;
        EXPECT_GE(t["high-watermark"], t["used"]) << t;
        EXPECT_EQ(t["used-threshold-upper-exceeded"], r.exceeded[key]) << t;
        // Hysteresis: over the upper threshold the table is exceeded, at the clear one or below
        // it is not, and in between it keeps what it was.
        auto const [upper, clear] = r.limits(t["fap"]);
        if (t["percent"] >= upper || t["percent"] <= clear) {
          EXPECT_EQ(r.exceeded[key], t["percent"] >= upper) << t;
        }
      }
      if (::testing::Test::HasFailure()) {
        return;
      }
    }
  }
  for (char const* suffix : {"", "-wal", "-shm"}) {
    std::remove((path + suffix).c_str());
  }
}

}  // namespace
