// The operator's view checked against the records it summarises, over long random runs in the
// JSON format: every output line must parse, the tables' use must match the published records,
// the refused list must hold exactly the interfaces that wait, a retry must leave none waiting
// that has room, and threshold events must alternate per table and respect the thresholds.
#include <gmock/gmock.h>

#include <map>
#include <random>
#include <set>
#include <sstream>
#include <tuple>

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "sim/SimHost.h"

namespace {

using json = nlohmann::json;
using TableKey = std::tuple<int, int, std::string>;

struct ViewedSwitch {
  std::ostringstream out;
  sim::SimHost host{out, sim::Transcript::Format::kJson};
  sim::TranscriptSinks sinks{host.transcript()};
  std::map<int, std::pair<int, int>> thresholds;  // per FAP: upper, clear
  std::map<TableKey, bool> exceeded;              // from the events seen

  // Runs one line and returns the JSON objects it printed; the events are checked on the way.
  std::vector<json> run(std::string const& line) {
    out.str("");
    try {
      host.run(*sim::parseLine(line));
    } catch (sim::ScenarioError const&) {
    }
    std::vector<json> objects;
    std::istringstream lines(out.str());
    for (std::string text; std::getline(lines, text);) {
      objects.push_back(json::parse(text));  // throws on a line that is not JSON
      json const& o = objects.back();
      if (!o.contains("event")) {
        continue;
      }
      bool const up = o["event"] == "THRESHOLD_EXCEEDED";
      auto const [upper, clear] = thresholds.at(o["fap"]);
      EXPECT_TRUE(up ? o["percent"] >= upper : o["percent"] <= clear) << line << ": " << o;
      bool& state = exceeded[{o["fap"], o["engine"], o["table"]}];
      EXPECT_NE(state, up) << "two " << o["event"] << " in a row after " << line;
      state = up;
    }
    return objects;
  }
  json view(std::string const& line) { return run(line).at(0); }
};

std::string intf(int port, int sub) {
  return "Ethernet" + std::to_string(port) + (sub == 0 ? "" : "." + std::to_string(sub));
}

TEST(OperatorView, AgreesWithThePublishedRecordsOverRandomRuns) {
  for (unsigned seed = 1; seed <= 12; ++seed) {
    std::mt19937 random(seed);
    auto const pick = [&](int low, int high) {
      return std::uniform_int_distribution<int>(low, high)(random);
    };
    ViewedSwitch r;
    r.host.agentStart();
    r.run("chip 1 engines=2 isec-disabled=6 esec-disabled=6");
    r.run("chip 2 isec-disabled=5 esec-disabled=5 per-port-disabled=yes");
    r.thresholds = {{1, {85, 70}}, {2, {85, 70}}};
    r.run("fap add 1 Ethernet1-4");
    r.run("fap add 2 Ethernet5-6");
    std::set<std::string> macsec;
    for (int step = 0; step < 300; ++step) {
      int const port = pick(1, 6), sub = pick(0, 3), what = pick(0, 19);
      std::string const name = intf(port, sub);
      if (what < 8) {
        r.run("macsec on " + name);
        macsec.insert(name);
      } else if (what < 14) {
        r.run("macsec off " + name);
        macsec.erase(name);
      } else if (what < 16) {
        r.run("intf " + std::string(what == 14 ? "add " : "del ") + (port <= 4 ? "1 " : "2 ") +
              intf(port, 0));
      } else if (what == 16) {
        int const fap = pick(1, 2), upper = pick(30, 100), clear = pick(0, upper - 1);
        r.thresholds[fap] = {upper, clear};
        r.run(fmt::format("threshold {} upper={} clear={}", fap, upper, clear));
      } else if (what == 17) {
        r.run("agent restart");
      } else {
        r.run("macsec retry");
        json const after = r.view("show json");
        for (json const& fap : after["status"]) {
          for (json const& refused : fap["refused"]) {
            EXPECT_THAT(refused["reason"].get<std::string>(),
                        ::testing::Not(::testing::HasSubstr("room now")))
                << "waits after a retry: " << refused;
          }
        }
      }
      json const status = r.view("show json");
      json const use = r.view("show utilization json");
      std::map<TableKey, int> records;  // entries the records and reserved indexes name
      for (json const& fap : status["status"]) {
        int const id = fap["fap"];
        for (json const& engine : fap["engines"]) {
          // Reserved: the ingress disabled index, and on FAP 1 the shared egress one.
          records[{id, engine["engine"], "IsecSpTcam"}] += 1;
          records[{id, engine["engine"], "SubPortPolicyTable"}] += 1;
          records[{id, engine["engine"], "EsecScTable"}] += id == 1 ? 1 : 0;
          records[{id, engine["engine"], "IsecScTcam"}] += 0;
        }
        for (json const& i : fap["interfaces"]) {
          for (char const* t : {"EsecScTable", "IsecScTcam", "IsecSpTcam", "SubPortPolicyTable"}) {
            records[{id, i["engine"], t}] += i[t].is_null() ? 0 : 1;
          }
        }
        for (json const& d : fap["egress-disabled"]) {
          records[{id, d["engine"], "EsecScTable"}] += 1;
        }
        std::set<std::string> refused;
        for (json const& i : fap["refused"]) {
          refused.insert(i["name"]);
        }
        std::set<std::string> waiting;  // MACsec on, port in this FAP's set, no records
        std::set<std::string> held;
        for (json const& i : fap["interfaces"]) {
          held.insert(i["name"]);
        }
        for (std::string const& name : macsec) {
          int const port = std::stoi(name.substr(8));
          json const where = r.view("show interface " + intf(port, 0) + " json");
          if (where["interfaces"][0]["fap"] == id && held.count(name) == 0) {
            waiting.insert(name);
          }
        }
        EXPECT_EQ(refused, waiting) << "seed " << seed << ", step " << step;
      }
      for (json const& t : use["utilization"]) {
        TableKey const key{t["fap"], t["engine"], t["table"]};
        ASSERT_EQ(t["used"], records[key]) << t;
        EXPECT_EQ(t["free"], std::max(0, int(t["max-limit"]) - int(t["used"]))) << t;
        EXPECT_GE(t["high-watermark"], t["used"]) << t;
        EXPECT_EQ(t["used-threshold-upper-exceeded"], r.exceeded[key]) << t;
        // Hysteresis: over the upper threshold the table is exceeded, at the clear one or below
        // it is not, and in between it keeps what it was.
        auto const [upper, clear] = r.thresholds.at(t["fap"]);
        if (t["percent"] >= upper || t["percent"] <= clear) {
          EXPECT_EQ(r.exceeded[key], t["percent"] >= upper) << t;
        }
      }
      if (::testing::Test::HasFailure()) {
        return;
      }
    }
  }
}

}  // namespace
