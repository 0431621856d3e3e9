// The simulator's shared state kept in an SQLite database, written as it changes.
//
// The store plays the part of the switch's state database: it holds the chip policies, the
// logical FAPs with their interface sets, the MACsec status and the published index status, one
// table each (see kSchema in Store.cpp and docs/store.md). A writer follows the host's shared
// entities through their change notifications, as any other reader of the shared state would,
// keeps the keys that changed and writes only those rows, one transaction per commit(): after a
// crash the database holds the state as of some commit, never part of one.
//
// The database is in WAL mode, so other processes (the sqlite3 shell, a read-only simulator)
// read a consistent snapshot while the writer works. One writer at a time: a writer holds an
// exclusive advisory lock (flock) on the database file for as long as the Store lives.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "sim/model/Clock.h"
#include "sim/model/Monitor.h"
#include "sim/model/StateCheck.h"
#include "sim/model/Switch.h"
#include "sim/store/Database.h"

namespace sim {

// A database that cannot be opened, read or written; the message names the file, and for a row
// that cannot be loaded its table and key.
class StoreError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A threshold event for the change feed: its FAP and the event as a JSON object's text.
struct FeedEvent {
  U16 fapId;
  std::string record;
};

class Store {
 public:
  enum class Access { kWrite, kReadOnly };
  // What a commit waits for (SQLite's `synchronous`): kNormal survives a crash of the process;
  // kFull also survives a power loss, at the cost of a flush to disk per commit.
  enum class Sync { kNormal, kFull };

  static constexpr int kSchemaVersion = 3;
  // The change feed keeps this many of its latest entries.
  static constexpr std::int64_t kFeedLimit = 100'000;

  // Opens the database at `path`; a writer creates it (and its schema) when missing. Throws
  // StoreError when the file is not a database of this simulator, has another schema version,
  // or (for a writer) another writer has it open.
  Store(std::string path, Access access, Sync sync = Sync::kNormal);
  ~Store();
  Store(Store const&) = delete;
  Store& operator=(Store const&) = delete;

  std::string const& path() const { return path_; }
  // Whether this store created the database file (it did not exist before).
  bool created() const { return created_; }

  // Whether the database holds no state at all.
  bool empty() const;

  // Reads the whole state, from one snapshot, into `host`, which must be empty with its agent
  // stopped, through the switch's own checks, and the resource monitor's state into `monitor`. A
  // row the switch refuses or cannot represent is refused: StoreError naming the table, the row and
  // the reason; the database is not changed and `host` is left with part of the state (discard it).
  // Returns what checkPublished finds in the loaded state.
  std::vector<StateWarning> load(Switch& host, ResourceMonitor& monitor);

  // Follows `host` (a writer only): from now on commit() writes whatever changed in it. `host`
  // must outlive the Store or be destroyed after it; the rows already stored must be its state
  // and `monitor`'s.
  void follow(Switch const& host, ResourceMonitor const& monitor);

  // Writes, in one transaction at time `now`: every row of the switch that changed since the last
  // commit (or since follow), each changed published record also as an entry of the change feed;
  // the monitor's state when it changed; the threshold `events` as feed entries. Nothing is
  // written when nothing changed. Throws StoreError when the write fails (nothing is written).
  void commit(ResourceMonitor const& monitor, std::vector<FeedEvent> const& events, TimeNs now);

  // How many published-record changes and threshold events all writers of the database have
  // committed.
  struct Counts {
    std::uint64_t changes = 0;
    std::uint64_t thresholdEvents = 0;
  };
  Counts counts() const;

  // For a reader: whether the database may hold another state than the last load() read: no load
  // succeeded yet, or a writer has committed since (one query when none has). A reader opened
  // while no writer had the database open reads the file alone, as it was; from the first call
  // after a writer has opened it, it reads through the writer's WAL. Throws StoreError when the
  // database cannot be opened again.
  bool changedSinceLoad();

 private:
  class Watch;
  struct Changes;

  [[noreturn]] void fail(std::string const& what) const;
  // Runs `work`, turning a DatabaseError into a StoreError that names the file and what was
  // being done.
  template <class Work>
  auto guard(char const* doing, Work const& work) const;
  // Refuses a path that is not a regular file, or a non-empty file that is not an SQLite
  // database, before SQLite opens it.
  void checkFile() const;
  // Opens the connection (again, for a reader that starts reading through a writer's WAL).
  void open(Sync sync);
  void openSchema();
  void writeChanges();
  void writeFap(U16 fapId);
  void writeMember(U16 fapId, Portix::IntfId id, bool present);
  void writeStatus(U16 fapId);
  void writeMonitor(MonitorState const& state);
  void writeCounters(std::int64_t changes, std::int64_t events);
  // Adds an entry to the change feed, at the time of the commit under way.
  void appendFeed(char const* op, char const* kind, U16 fapId, std::string const& record);
  void writeRecord(OruMacSec::IndexFapStatus const* status, U16 fapId, Nubis::AttrId table,
                   Portix::IntfId id);
  void refollowFap(U16 fapId);
  void refollowStatus(U16 fapId);

  // A descriptor of the database file that holds the writer's lock; closed after the connection.
  struct LockFile {
    int fd = -1;
    ~LockFile();
  };

  std::string const path_;
  Access const access_;
  LockFile lock_;
  std::unique_ptr<Database> db_;
  bool hasSchema_ = false;
  bool created_ = false;
  bool seesCommits_ = true;                    // reads through a writer's WAL (a writer: its own)
  std::optional<std::int64_t> loadedVersion_;  // SQLite's data_version at the last load

  Switch const* host_ = nullptr;
  std::unique_ptr<Changes> changes_;
  std::map<U16, ChipSettings> storedChips_;
  MonitorState storedMonitor_;
  TimeNs commitTime_ = 0;
  std::int64_t feedRows_ = 0;  // feed entries written by this store
  std::vector<Nubis::Ptr<Watch>> rootWatches_;
  std::map<U16, Nubis::Ptr<Watch>> fapWatches_;
  std::map<U16, Nubis::Ptr<Watch>> statusWatches_;
};

}  // namespace sim
