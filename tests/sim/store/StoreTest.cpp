#include <gmock/gmock.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>

#include "sim/language/Words.h"
#include "sim/session/Session.h"
#include "sim/store/StateJson.h"

namespace {

using sim::Store;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using ::testing::ThrowsMessage;

struct StoreTest : ::testing::Test {
  void SetUp() override { remove(); }
  void TearDown() override { remove(); }
  void remove() const {
    for (char const* suffix : {"", "-wal", "-shm"}) {
      std::remove((path + suffix).c_str());
    }
  }
  // A session over the database at `path`, its transcript kept quiet.
  std::unique_ptr<sim::Session> open() {
    sim::SessionOptions options;
    options.statePath = path;
    return std::make_unique<sim::Session>(options, quiet, quiet);
  }
  // The state a separate reader finds in the database.
  std::string stored() const {
    sim::Switch reader;
    sim::ResourceMonitor monitor;
    Store(path, Store::Access::kReadOnly).load(reader, monitor);
    return sim::stateText(reader);
  }
  std::ostringstream quiet;
  std::string const path = ::testing::TempDir() + "store-" + std::to_string(::getpid()) + ".db";
};

// Every kind of change, each checked through a reader while the writer keeps the database open:
// a key the writer failed to follow would leave a row behind or miss one.
TEST_F(StoreTest, WritesEveryChangeOfTheSharedStateAsItHappens) {
  auto session = open();
  for (char const* line :
       {"chip 1 engines=2 isec-disabled=16 esec-disabled=12 per-port-disabled=yes",
        "chip 3 static=yes", "fap add 1 Ethernet1-3 Ethernet1.1",
        "macsec on Ethernet3 Ethernet1.1 Ethernet2", "macsec on Ethernet1", "intf del 1 Ethernet2",
        "fap add 3 Ethernet5 Ethernet5.2", "macsec off Ethernet3", "agent restart",
        "intf add 1 Ethernet2", "fap del 1", "agent stop", "chip 1 engines=3", "fap del 3",
        "agent start", "chip 1", "fap add 1 Ethernet1 Ethernet2.1", "macsec on Ethernet2.1"}) {
    session->runLine(line, false);
    ASSERT_EQ(stored(), sim::stateText(session->host())) << "after " << line;
  }
  // JSON is the other way the same state travels.
  sim::Switch imported;
  sim::stateFromText(imported, sim::stateText(session->host()), "s.json");
  EXPECT_EQ(sim::stateText(imported), sim::stateText(session->host()));

  EXPECT_THAT([&] { Store(path, Store::Access::kWrite); },
              ThrowsMessage<sim::StoreError>(HasSubstr(path + ": another simulator is writing")));

  // A database of schema version 1 (where the chip's ingress disabled index was "size", without
  // the monitor's tables and the change feed) is upgraded by the next writer; a reader alone
  // cannot.
  session.reset();
  sim::Database(path, SQLITE_OPEN_READWRITE)
      .exec(
          "DROP TABLE threshold; DROP TABLE watermark; DROP TABLE engine_state; DROP TABLE change; "
          "DROP TABLE monitor_value; ALTER TABLE chip RENAME COLUMN isec_disabled TO size; "
          "PRAGMA user_version = 1");
  EXPECT_THAT([&] { Store(path, Store::Access::kReadOnly); },
              ThrowsMessage<sim::StoreError>(HasSubstr("schema version 1, written by an earlier")));
  // A later simulator over the same database follows the state it loaded.
  session = open();
  session->runLine("intf del 1 Ethernet2.1", false);
  EXPECT_EQ(stored(), sim::stateText(session->host()));
  // A read-only session reads it and refuses what would change it.
  sim::SessionOptions readOnly;
  readOnly.statePath = path;
  readOnly.readOnly = true;
  sim::Session reader(readOnly, quiet, quiet);
  EXPECT_EQ(sim::stateText(reader.host()), stored());
  EXPECT_EQ(reader.host().agent(), nullptr);
  for (char const* line : {"show", "show utilization", "logs all", "trace off", "help"}) {
    EXPECT_NO_THROW(reader.runLine(line, false)) << line;
  }
  for (char const* line : {"chip 1", "fap del 1", "intf add 1 Ethernet3", "macsec on Ethernet1",
                           "macsec retry", "agent start", "threshold all upper=90"}) {
    EXPECT_THAT([&] { reader.runLine(line, false); },
                ThrowsMessage<sim::ScenarioError>(StartsWith("the state is open read-only")))
        << line;
  }
}

// A simulator started over a database that ends up holding what the database holds writes
// nothing: not even a restart's taking back and handing out again of the same indexes (the
// subinterfaces served through their port) rewrites a row.
TEST_F(StoreTest, AStartThatChangesNothingLeavesTheFileAsItWas) {
  auto session = open();
  session->runLine("fap add 1 Ethernet1-2", false);
  session->runLine("macsec on Ethernet1.1-3 Ethernet2.1", false);
  session.reset();
  // The file's bytes and the time it was last written.
  auto const file = [&] {
    std::ifstream in(path, std::ios::binary);
    struct stat status {};
    ::stat(path.c_str(), &status);
    return std::make_pair(std::string(std::istreambuf_iterator<char>(in), {}),
                          std::make_pair(status.st_mtim.tv_sec, status.st_mtim.tv_nsec));
  };
  auto const before = file();
  open().reset();
  EXPECT_EQ(file(), before);
}

// A database edited by hand: rows the switch refuses or cannot hold are refused by table and row.
TEST_F(StoreTest, RefusesWhatTheSwitchRefusesNamingTheTableAndTheRow) {
  std::pair<char const*, std::string> const cases[] = {
      {"INSERT INTO member VALUES (1, 'Ethernet1.x')",
       "table member, row (fap=1, interface='Ethernet1.x'): malformed interface"},
      {"UPDATE chip SET engines = 0",
       "table chip, row (fap=1): engines must be a number from 1 to 1024, not 0"},
      {"UPDATE chip SET isec_disabled = 65534",
       "table chip, row (fap=1): isec-disabled must be a number from 0 to 65533, not 65534"},
      {"INSERT INTO macsec VALUES ('Ethernet0')",
       "table macsec, row (interface='Ethernet0'): malformed interface"},
      {"INSERT INTO fap VALUES (65536)",
       "table fap, row (fap=65536): fap must be a whole number from 0 to 65535"},
      {"UPDATE fap_status SET engines = -1",
       "table fap_status, row (fap=1): engines must be a whole number from 0 to 65535, not -1"},
      {"INSERT INTO egress VALUES (7, 'Ethernet1', 1, 0)",
       "table egress, row (fap=7, interface='Ethernet1'): logical FAP 7 has no published status"},
      {"INSERT INTO member VALUES (9, 'Ethernet1')",
       "table member, row (fap=9, interface='Ethernet1'): logical FAP 9 does not exist"},
      // The command language refuses an interface in two FAPs' sets; so does the loader.
      {"INSERT INTO fap VALUES (2); INSERT INTO member VALUES (2, 'Ethernet1')",
       "table member, row (fap=2, interface='Ethernet1'): Ethernet1 is in the interface set of "
       "logical FAP 1 already"},
      {"PRAGMA user_version = 4", "schema version 4; this simulator reads version 3"},
      {"PRAGMA application_id = 7", "not a macsec-index-sim state database"},
  };
  for (auto const& [edit, expected] : cases) {
    remove();
    auto session = open();
    session->runLine("chip 1 engines=2", false);
    session->runLine("fap add 1 Ethernet1", false);
    session.reset();
    sim::Database db(path, SQLITE_OPEN_READWRITE);
    db.exec("PRAGMA ignore_check_constraints = 1; PRAGMA foreign_keys = OFF");
    db.exec(edit);
    sim::Switch host;
    sim::ResourceMonitor monitor;
    EXPECT_THAT([&] { Store(path, Store::Access::kWrite).load(host, monitor); },
                ThrowsMessage<sim::StoreError>(HasSubstr(path + ": " + expected)));
  }
  remove();
  sim::Database(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE).exec("CREATE TABLE t (x)");
  EXPECT_THAT([&] { Store(path, Store::Access::kWrite); },
              ThrowsMessage<sim::StoreError>(HasSubstr(": holds tables of something else")));
  remove();
  EXPECT_THAT([&] { Store(path, Store::Access::kReadOnly); },
              ThrowsMessage<sim::StoreError>(HasSubstr(": cannot read: No such file")));
  std::FILE* const json = std::fopen(path.c_str(), "w");
  std::fputs("{\"format\": \"macsec-index-sim state\"}\n", json);
  std::fclose(json);
  EXPECT_THAT([&] { Store(path, Store::Access::kWrite); },
              ThrowsMessage<sim::StoreError>(HasSubstr(": not an SQLite database")));
}

// A JSON state goes through the same checks; each refusal names the file and the place.
TEST(StateJson, RefusesAMalformedStateNamingTheFileAndThePlace) {
  std::string const top = "{\"format\": \"macsec-index-sim state\",\n\"version\": 2,\n\"chips\": [";
  std::string const chip =
      R"({"fap": 1, "engines": 1, "isec-disabled": 5, "esec-disabled": 5, "per-port-disabled":
      false, "static": false})";
  std::string const published =
      R"(], "faps": [], "macsec": [], "published": [{"fap": 2, "engines": 1,
      "esec-disabled": 5, "isec-disabled": 5, "disabled": [], "ingress": [], "egress": [)";
  std::pair<std::string, std::string> const cases[] = {
      {top + ",]}", "line 3, column 11: not valid JSON"},
      {"[1, 2]", "at the top: not a macsec-index-sim state file"},
      {R"({"format": "macsec-index-sim state", "version": 3})",
       "at version: this simulator reads versions 1 to 2"},
      {top + R"({"fap": 1, "engines": -1}]})",
       "at chips[0].engines: expected a whole number from 0 to 65535"},
      {top + R"({"fap": 1, "engines": 0, "isec-disabled": 5, "esec-disabled": 5,
          "per-port-disabled": false, "static": false}]})",
       "at chips[0]: engines must be a number from 1 to 1024, not 0"},
      {top + chip + "," + chip + "]}",
       "at chips[1].fap: logical FAP 1 is listed twice (also at "
       "chips[0].fap)"},
      {top + R"(], "faps": [{"fap": 1, "interfaces": ["Ethernet1"]},
          {"fap": 2, "interfaces": ["Ethernet2", "Ethernet1"]}]})",
       "at faps[1].interfaces[1]: Ethernet1 is in the interface set of logical FAP 1 already"},
      {top + R"(], "faps": [], "macsec": ["Ethernet1", "Ethernet1"]})",
       "at macsec[1]: Ethernet1 is listed twice (also at macsec[0])"},
      {top + published + R"({}]}]})", R"(at published[0].egress[0]: missing "interface")"},
      {top + published + R"({"interface": "Ethernet1", "esec-sc": 1, "engine": 0},
          {"interface": "Ethernet1", "esec-sc": 2, "engine": 0}]}]})",
       "at published[0].egress[1].interface: Ethernet1 is listed twice"},
      {top + R"(], "faps": [{"fap": 1, "fap": 2}]})", R"(at faps[0]: "fap" appears twice)"},
      {top + "], \"chips\": []}", R"(at the top: "chips" appears twice)"},
  };
  for (auto const& test : cases) {
    sim::Switch host;
    std::string const& text = test.first;
    EXPECT_THAT(
        [&] { sim::stateFromText(host, text, "s.json"); },
        ThrowsMessage<sim::StateFileError>(StartsWith("state file s.json: " + test.second)));
  }
}

}  // namespace
