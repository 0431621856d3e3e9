#include <gmock/gmock.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <memory>

#include "sim/StateJson.h"
#include "sim/Store.h"

namespace {

using sim::Store;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

struct StoreTest : ::testing::Test {
  void SetUp() override { remove(); }
  void TearDown() override { remove(); }
  void remove() const {
    for (char const* suffix : {"", "-wal", "-shm"}) {
      std::remove((path + suffix).c_str());
    }
  }
  // The state a separate reader finds in the database.
  std::string stored() const {
    sim::SimHost reader(std::cout);
    Store(path, Store::Access::kReadOnly).load(reader);
    return sim::stateText(reader);
  }
  std::string const path = ::testing::TempDir() + "store-" + std::to_string(::getpid()) + ".db";
};

// Every kind of change, each checked through a reader while the writer keeps the database open:
// a key the writer failed to follow would leave a row behind or miss one.
TEST_F(StoreTest, WritesEveryChangeOfTheSharedStateAsItHappens) {
  sim::SimHost host(std::cout);
  auto store = std::make_unique<Store>(path, Store::Access::kWrite);
  store->follow(host);
  host.agentStart();
  for (char const* line :
       {"chip 1 engines=2 isec-disabled=16 esec-disabled=12 per-port-disabled=yes",
        "chip 3 static=yes", "fap add 1 Ethernet1-3 Ethernet1.1",
        "macsec on Ethernet3 Ethernet1.1 Ethernet2", "macsec on Ethernet1", "intf del 1 Ethernet2",
        "fap add 3 Ethernet5 Ethernet5.2", "macsec off Ethernet3", "agent restart",
        "intf add 1 Ethernet2", "fap del 1", "agent stop", "chip 1 engines=3", "fap del 3",
        "agent start", "chip 1", "fap add 1 Ethernet1 Ethernet2.1", "macsec on Ethernet2.1"}) {
    host.run(*sim::parseLine(line));
    store->commit();
    ASSERT_EQ(stored(), sim::stateText(host)) << "after " << line;
  }
  // JSON is the other way the same state travels.
  sim::SimHost imported(std::cout);
  sim::stateFromText(imported, sim::stateText(host), "s.json");
  EXPECT_EQ(sim::stateText(imported), sim::stateText(host));

  EXPECT_THAT([&] { Store(path, Store::Access::kWrite); },
              ThrowsMessage<sim::StoreError>(HasSubstr(path + ": another simulator is writing")));

  // A database of schema version 1 (where the chip's ingress disabled index was "size") is
  // upgraded by the next writer; a reader alone cannot.
  store.reset();
  sim::Database(path, SQLITE_OPEN_READWRITE)
      .exec("ALTER TABLE chip RENAME COLUMN isec_disabled TO size; PRAGMA user_version = 1");
  EXPECT_THAT([&] { Store(path, Store::Access::kReadOnly); },
              ThrowsMessage<sim::StoreError>(HasSubstr("schema version 1, written by an earlier")));
  // A later simulator over the same database follows the state it loaded.
  sim::SimHost next(std::cout);
  store = std::make_unique<Store>(path, Store::Access::kWrite);
  store->load(next);
  store->follow(next);
  next.agentStart();
  next.run(*sim::parseLine("intf del 1 Ethernet2.1"));
  store->commit();
  EXPECT_EQ(stored(), sim::stateText(next));
}

// A database edited by hand: rows the host cannot hold are refused by table and row.
TEST_F(StoreTest, RefusesWhatTheHostCannotRepresentNamingTheTableAndTheRow) {
  std::pair<char const*, std::string> const cases[] = {
      {"INSERT INTO member VALUES (1, 'Ethernet1.x')",
       "table member, row (fap=1, interface='Ethernet1.x'): malformed interface"},
      {"UPDATE chip SET engines = 0",
       "table chip, row (fap=1): engines must be a whole number from 1 to 1024, not 0"},
      {"UPDATE chip SET isec_disabled = 65534",
       "table chip, row (fap=1): isec_disabled must be a whole number from 0 to 65533, not 65534"},
      {"INSERT INTO macsec VALUES ('Ethernet0')",
       "table macsec, row (interface='Ethernet0'): malformed interface"},
      {"INSERT INTO fap VALUES (65536)",
       "table fap, row (fap=65536): fap must be a whole number from 0 to 65535"},
      {"UPDATE fap_status SET engines = -1",
       "table fap_status, row (fap=1): engines must be a whole number from 0 to 65535, not -1"},
      {"INSERT INTO egress VALUES (7, 'Ethernet1', 1, 0)",
       "table egress, row (fap=7, interface='Ethernet1'): the logical FAP has no published status"},
      {"INSERT INTO member VALUES (9, 'Ethernet1')",
       "table member, row (fap=9, interface='Ethernet1'): the logical FAP is not in table fap"},
      {"PRAGMA user_version = 3", "schema version 3; this simulator reads version 2"},
      {"PRAGMA application_id = 7", "not a macsec-index-sim state database"},
  };
  for (auto const& [edit, expected] : cases) {
    remove();
    {
      sim::SimHost host(std::cout);
      Store store(path, Store::Access::kWrite);
      store.follow(host);
      host.agentStart();
      host.run(*sim::parseLine("chip 1 engines=2"));
      host.run(*sim::parseLine("fap add 1 Ethernet1"));
      store.commit();
    }
    sim::Database db(path, SQLITE_OPEN_READWRITE);
    db.exec("PRAGMA ignore_check_constraints = 1");
    db.exec(edit);
    sim::SimHost host(std::cout);
    EXPECT_THAT([&] { Store(path, Store::Access::kWrite).load(host); },
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

}  // namespace
