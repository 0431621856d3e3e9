#include "sim/store/Store.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <set>
#include <tuple>

#include <nlohmann/json.hpp>

#include "sim/model/Limits.h"
#include "sim/store/RecordJson.h"

namespace sim {

namespace {

using OruMacSec::IndexFapStatus;
using OruMacSec::SecIntfId;
using OruMacSec::TableIndex;

// Marks the file as this simulator's ("MSIX"), beside the schema version in user_version.
constexpr std::int64_t kApplicationId = 0x4d534958;

// Added by schema version 3: the resource monitor's state, the change feed and its counters.
constexpr char const kMonitorSchema[] = R"sql(
CREATE TABLE threshold (
  fap   INTEGER PRIMARY KEY CHECK (fap BETWEEN -1 AND 65535),
  upper INTEGER NOT NULL CHECK (upper BETWEEN 1 AND 100),
  clear INTEGER NOT NULL CHECK (clear BETWEEN 0 AND 99)
) STRICT;
CREATE TABLE watermark (
  fap            INTEGER NOT NULL CHECK (fap BETWEEN 0 AND 65535),
  engine         INTEGER NOT NULL CHECK (engine BETWEEN 0 AND 65535),
  engine_table   TEXT NOT NULL,
  high_watermark INTEGER NOT NULL CHECK (high_watermark BETWEEN 0 AND 65536),
  time           INTEGER NOT NULL,
  exceeded       INTEGER NOT NULL CHECK (exceeded IN (0, 1)),
  max_limit      INTEGER NOT NULL CHECK (max_limit BETWEEN 0 AND 65535),
  PRIMARY KEY (fap, engine, engine_table)
) STRICT, WITHOUT ROWID;
CREATE TABLE engine_state (
  fap    INTEGER NOT NULL CHECK (fap BETWEEN 0 AND 65535),
  engine INTEGER NOT NULL CHECK (engine BETWEEN 0 AND 65535),
  full   INTEGER NOT NULL CHECK (full IN (0, 1)),
  PRIMARY KEY (fap, engine)
) STRICT, WITHOUT ROWID;
-- The checks of the tables written at every command compare with each value in turn: SQLite
-- codes an IN list of three or more values as a temporary table, built and dropped at each row.
CREATE TABLE change (
  seq    INTEGER PRIMARY KEY AUTOINCREMENT,
  time   INTEGER NOT NULL,
  op     TEXT NOT NULL CHECK (op = 'set' OR op = 'del' OR op = 'event'),
  fap    INTEGER NOT NULL CHECK (fap BETWEEN 0 AND 65535),
  kind   TEXT NOT NULL CHECK (kind = 'egress' OR kind = 'ingress' OR kind = 'disabled' OR
                              kind = 'fap' OR kind = 'threshold'),
  record TEXT NOT NULL
) STRICT;
CREATE TABLE monitor_value (
  name  TEXT PRIMARY KEY CHECK (name = 'changes' OR name = 'threshold-events' OR
                                name = 'agent-running'),
  value INTEGER NOT NULL
) STRICT, WITHOUT ROWID;
)sql";

// Keys and ranges are enforced by the schema, with the chips' limits (Limits.h) in its checks; the
// loader checks them again, since a hand edit can switch the checks off. An interface name is
// stored as text, the way people read and type it.
std::string schema() {
  return fmt::format(R"sql(
CREATE TABLE chip (
  fap               INTEGER PRIMARY KEY CHECK (fap BETWEEN 0 AND 65535),
  engines           INTEGER NOT NULL CHECK (engines BETWEEN {} AND {}),
  isec_disabled     INTEGER NOT NULL CHECK (isec_disabled BETWEEN 0 AND {}),
  esec_disabled     INTEGER NOT NULL CHECK (esec_disabled BETWEEN 0 AND 65535),
  per_port_disabled INTEGER NOT NULL CHECK (per_port_disabled IN (0, 1)),
  static            INTEGER NOT NULL CHECK (static IN (0, 1))
) STRICT;
CREATE TABLE fap (
  fap INTEGER PRIMARY KEY CHECK (fap BETWEEN 0 AND 65535)
) STRICT;
CREATE TABLE member (
  fap       INTEGER NOT NULL REFERENCES fap ON DELETE CASCADE,
  interface TEXT NOT NULL CHECK (interface GLOB 'Ethernet[1-9]*'),
  PRIMARY KEY (fap, interface)
) STRICT, WITHOUT ROWID;
CREATE TABLE macsec (
  interface TEXT PRIMARY KEY CHECK (interface GLOB 'Ethernet[1-9]*')
) STRICT, WITHOUT ROWID;
CREATE TABLE fap_status (
  fap           INTEGER PRIMARY KEY CHECK (fap BETWEEN 0 AND 65535),
  engines       INTEGER NOT NULL CHECK (engines BETWEEN 0 AND 65535),
  esec_disabled INTEGER NOT NULL CHECK (esec_disabled BETWEEN 0 AND 65535),
  isec_disabled INTEGER NOT NULL CHECK (isec_disabled BETWEEN 0 AND 65535)
) STRICT;
CREATE TABLE egress (
  fap       INTEGER NOT NULL REFERENCES fap_status ON DELETE CASCADE,
  interface TEXT NOT NULL CHECK (interface GLOB 'Ethernet[1-9]*'),
  esec_sc   INTEGER NOT NULL CHECK (esec_sc BETWEEN 0 AND 65535),
  engine    INTEGER NOT NULL CHECK (engine BETWEEN 0 AND 65535),
  PRIMARY KEY (fap, interface)
) STRICT, WITHOUT ROWID;
CREATE TABLE ingress (
  fap       INTEGER NOT NULL REFERENCES fap_status ON DELETE CASCADE,
  interface TEXT NOT NULL CHECK (interface GLOB 'Ethernet[1-9]*'),
  isec_sp   INTEGER NOT NULL CHECK (isec_sp BETWEEN 0 AND 65535),
  sub_port  INTEGER NOT NULL CHECK (sub_port BETWEEN 0 AND 65535),
  isec_sc   INTEGER NOT NULL CHECK (isec_sc BETWEEN 0 AND 65535),
  engine    INTEGER NOT NULL CHECK (engine BETWEEN 0 AND 65535),
  PRIMARY KEY (fap, interface)
) STRICT, WITHOUT ROWID;
CREATE TABLE egress_disabled (
  fap     INTEGER NOT NULL REFERENCES fap_status ON DELETE CASCADE,
  port    TEXT NOT NULL CHECK (port GLOB 'Ethernet[1-9]*'),
  esec_sc INTEGER NOT NULL CHECK (esec_sc BETWEEN 0 AND 65535),
  engine  INTEGER NOT NULL CHECK (engine BETWEEN 0 AND 65535),
  PRIMARY KEY (fap, port)
) STRICT, WITHOUT ROWID;
)sql",
                     kMinEngines, kMaxEngines, kMaxIsecDisabled) +
         kMonitorSchema;
}

constexpr char const* kStoreTables[] = {"chip",       "fap",    "member",  "macsec",
                                        "fap_status", "egress", "ingress", "egress_disabled"};

std::string name(Portix::IntfId id) {
  return Portix::valueToStrep(id);
}

// Reads the rows of one table in key order, checking each value; a value the host cannot take
// is refused naming the table and the row by its first `keyColumns` columns.
class RowReader {
 public:
  RowReader(Store const& store, Database& db, char const* table, std::vector<char const*> columns,
            std::size_t keyColumns)
      : store_(store),
        table_(table),
        columns_(std::move(columns)),
        keyColumns_(keyColumns),
        statement_(db.prepare(sql())) {}

  bool next() { return statement_.step(); }

  std::int64_t number(int column, std::int64_t max, std::int64_t min = 0) const {
    if (statement_.type(column) != SQLITE_INTEGER || statement_.integer(column) < min ||
        statement_.integer(column) > max) {
      fail(fmt::format("{} must be a whole number from {} to {}, not {}", columns_[column], min,
                       max, value(column)));
    }
    return statement_.integer(column);
  }
  U16 u16(int column) const { return U16(number(column, 65535)); }
  bool flag(int column) const { return number(column, 1) == 1; }

  // The schema's STRICT tables hold only text in interface columns; the name is what is checked.
  Portix::IntfId interface(int column) const {
    try {
      return Portix::IntfId(statement_.text(column));
    } catch (std::invalid_argument const& error) {
      fail(error.what());
    }
  }

  OruMacSec::EngineTable engineTable(int column) const {
    for (OruMacSec::EngineTable const table : OruMacSec::kEngineTables) {
      if (statement_.text(column) == OruMacSec::tableName(table)) {
        return table;
      }
    }
    fail(
        fmt::format("{} must name a table (EsecScTable, IsecScTcam, IsecSpTcam or "
                    "SubPortPolicyTable), not {}",
                    columns_[column], value(column)));
  }

  [[noreturn]] void fail(std::string const& what) const {
    std::string row;
    for (std::size_t i = 0; i < keyColumns_; ++i) {
      row += fmt::format("{}{}={}", i == 0 ? "" : ", ", columns_[i], value(int(i)));
    }
    throw StoreError(
        fmt::format("state database {}: table {}, row ({}): {}", store_.path(), table_, row, what));
  }

 private:
  std::string sql() const {
    std::string columns;
    std::string keys;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      columns += fmt::format("{}{}", i == 0 ? "" : ", ", columns_[i]);
      if (i < keyColumns_) {
        keys += fmt::format("{}{}", i == 0 ? "" : ", ", columns_[i]);
      }
    }
    return fmt::format("SELECT {} FROM {} ORDER BY {}", columns, table_, keys);
  }

  // A value as SQL would write it: text quoted, numbers bare.
  std::string value(int column) const {
    std::string const text = statement_.text(column);
    return statement_.type(column) == SQLITE_TEXT ? fmt::format("'{}'", text) : text;
  }

  Store const& store_;
  char const* const table_;
  std::vector<char const*> const columns_;
  std::size_t const keyColumns_;
  Statement statement_;
};

}  // namespace

// The keys that changed since the last commit, as the notifications named them.
struct Store::Changes {
  std::set<U16> faps;
  std::set<std::pair<U16, Portix::IntfId>> members;
  std::set<Portix::IntfId> macsec;
  std::set<U16> statuses;
  // Appended as notified and made unique at the commit: a start-up can touch tens of thousands.
  std::vector<std::tuple<U16, Nubis::AttrId, Portix::IntfId>> records;

  bool empty() const {
    return faps.empty() && members.empty() && macsec.empty() && statuses.empty() && records.empty();
  }
};

// One subscription of the store to a shared entity. Its handler only notes the changed key (and
// follows a FAP's new entity), so that it never writes while another reader's handler runs.
class Store::Watch : public Nubis::Node {
 public:
  Watch(Store& store, U16 fapId) : slot(*this), store_(store), fapId_(fapId) {}

  // Adds the slot to `entity`'s publisher with `handler`, leaving any earlier entity.
  void follow(Nubis::Node const* entity, Nubis::Handler handler) {
    Nubis::Publisher* const publisher = entity != nullptr ? entity->publisher() : nullptr;
    if (slot.publisher() == publisher) {
      return;
    }
    if (slot.publisher() != nullptr) {
      slot.publisher()->subscriberRemove(slot);
    }
    if (publisher != nullptr) {
      slot.handlerIs(handler);
      publisher->subscriberAdd(slot, false);
    }
  }

  static Watch& of(Nubis::Notification const& n) {
    return static_cast<Watch&>(n.subscriber.owner());
  }
  Store& store() const { return store_; }
  Changes& changes() const { return *store_.changes_; }
  U16 fapId() const { return fapId_; }

  Nubis::Subscriber slot;

 private:
  Store& store_;
  U16 const fapId_;
};

void Store::fail(std::string const& what) const {
  throw StoreError(fmt::format("state database {}: {}", path_, what));
}

template <class Work>
auto Store::guard(char const* doing, Work const& work) const {
  try {
    return work();
  } catch (DatabaseError const& error) {
    fail(fmt::format("{}: {}", doing, error.what()));
  }
}

namespace {

// What a path that is not a regular file is, for a refusal.
std::string fileKind(mode_t mode) {
  return S_ISDIR(mode)    ? "a directory"
         : S_ISFIFO(mode) ? "a FIFO"
         : S_ISSOCK(mode) ? "a socket"
                          : "a device";
}

bool holdsData(std::string const& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && status.st_size > 0;
}

}  // namespace

Store::Store(std::string path, Access access, Sync sync)
    : path_(std::move(path)), access_(access), changes_(new Changes) {
  bool const write = access == Access::kWrite;
  checkFile();
  if (write) {
    // The lock is taken before SQLite opens the file, and the descriptor stays open until after
    // SQLite has closed it: closing another descriptor of the file would drop SQLite's own locks.
    bool const existed = fileExists(path_);
    lock_.fd = ::open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (lock_.fd < 0) {
      fail(fmt::format("cannot open: {}", std::strerror(errno)));
    }
    created_ = !existed;
    if (::flock(lock_.fd, LOCK_EX | LOCK_NB) != 0) {
      fail(errno == EWOULDBLOCK ? std::string("another simulator is writing it (only one writer "
                                              "at a time; --read-only reads it meanwhile)")
                                : fmt::format("cannot lock: {}", std::strerror(errno)));
    }
  } else if (holdsData(path_ + "-journal")) {
    // A write cut short in rollback-journal mode: only a writer may roll it back.
    fail(
        fmt::format("a write to it was cut short ({}-journal is left) and only a writer can "
                    "recover it: open it once without --read-only",
                    path_));
  }
  open(sync);
}

void Store::open(Sync sync) {
  bool const write = access_ == Access::kWrite;
  guard("cannot open", [&] {
    // A reader writes no file: without a WAL file no writer is at work and the database file is
    // all there is, read as immutable (no locks, no shared-memory file); with one, it reads
    // through the WAL as a writer leaves it, seeing what the writer has committed.
    seesCommits_ = write || fileExists(path_ + "-wal");
    std::string const name = write          ? path_
                             : seesCommits_ ? sqliteUri(path_, "?mode=ro")
                                            : sqliteUri(path_, "?mode=ro&immutable=1");
    db_ = std::make_unique<Database>(
        name, write ? SQLITE_OPEN_READWRITE : SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
    db_->exec("PRAGMA busy_timeout = 5000");
    openSchema();
    if (write) {
      db_->exec("PRAGMA journal_mode = WAL; PRAGMA foreign_keys = ON");
      db_->exec(sync == Sync::kFull ? "PRAGMA synchronous = FULL" : "PRAGMA synchronous = NORMAL");
    }
  });
}

void Store::checkFile() const {
  struct stat status {};
  if (::stat(path_.c_str(), &status) != 0) {
    if (errno != ENOENT || access_ == Access::kReadOnly) {
      fail(fmt::format("cannot read: {}", std::strerror(errno)));
    }
    return;  // a writer creates it
  }
  if (!S_ISREG(status.st_mode)) {
    fail(fileKind(status.st_mode) + ", not a regular file");
  }
  if (status.st_size == 0) {
    return;  // a new database
  }
  // Every SQLite database starts with this header; anything else is refused before SQLite could
  // take it for an empty database and write over it.
  constexpr char kHeader[] = "SQLite format 3";
  char header[sizeof kHeader] = {};
  int const fd = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    fail(fmt::format("cannot read: {}", std::strerror(errno)));
  }
  ssize_t const n = ::read(fd, header, sizeof header);
  ::close(fd);
  if (n != ssize_t(sizeof header) || std::memcmp(header, kHeader, sizeof header) != 0) {
    fail("not an SQLite database (a JSON state file is loaded with --import)");
  }
}

Store::~Store() = default;

Store::LockFile::~LockFile() {
  if (fd >= 0) {
    ::close(fd);
  }
}

void Store::openSchema() {
  std::int64_t const version = db_->value("PRAGMA user_version");
  std::int64_t const application = db_->value("PRAGMA application_id");
  if (version == 0 && application == 0) {
    if (db_->value("SELECT count(*) FROM sqlite_schema") != 0) {
      fail("holds tables of something else (not a macsec-index-sim state database)");
    }
    if (access_ == Access::kReadOnly) {
      return;  // a database that no writer has set up yet: an empty state
    }
    // WAL before the first table, so that even the schema's transaction is one readers can see
    // around (and a crash in the middle of it leaves an empty database).
    db_->exec("PRAGMA journal_mode = WAL");
    db_->exec("BEGIN IMMEDIATE");
    db_->exec(schema().c_str());
    db_->exec(fmt::format("PRAGMA application_id = {}; PRAGMA user_version = {}; COMMIT",
                          kApplicationId, kSchemaVersion)
                  .c_str());
  } else if (application != kApplicationId) {
    fail("not a macsec-index-sim state database");
  } else if (version < kSchemaVersion && version >= 1 && access_ == Access::kWrite) {
    db_->exec("BEGIN IMMEDIATE");
    if (version == 1) {
      // Version 1 named the ingress disabled index of a chip "size".
      db_->exec("ALTER TABLE chip RENAME COLUMN size TO isec_disabled");
    }
    db_->exec(kMonitorSchema);
    db_->exec(fmt::format("PRAGMA user_version = {}; COMMIT", kSchemaVersion).c_str());
  } else if (version < kSchemaVersion && version >= 1) {
    fail(
        fmt::format("schema version {}, written by an earlier simulator: open it once without "
                    "--read-only to upgrade it",
                    version));
  } else if (version != kSchemaVersion) {
    fail(
        fmt::format("schema version {}; this simulator reads version {}", version, kSchemaVersion));
  }
  hasSchema_ = true;
}

bool Store::empty() const {
  if (!hasSchema_) {
    return true;
  }
  return guard("cannot read", [&] {
    for (char const* table : kStoreTables) {
      if (db_->value(fmt::format("SELECT EXISTS (SELECT 1 FROM {})", table)) != 0) {
        return false;
      }
    }
    return true;
  });
}

std::vector<StateWarning> Store::load(Switch& host, ResourceMonitor& monitor) {
  if (!hasSchema_) {
    return {};
  }
  // Read before the snapshot: a commit in between makes the next changedSinceLoad() true.
  std::int64_t const version =
      guard("cannot read", [&] { return db_->value("PRAGMA data_version"); });
  // One read transaction: every table from the same snapshot, whatever a writer does meanwhile.
  guard("cannot read", [&] { db_->exec("BEGIN"); });
  try {
    // Each row goes through the switch's own checks; a refusal names the row.
    auto const eachRow = [&](char const* table, std::vector<char const*> columns,
                             std::size_t keyColumns, auto const& apply) {
      RowReader row(*this, *db_, table, std::move(columns), keyColumns);
      while (row.next()) {
        try {
          apply(row);
        } catch (RefusedError const& error) {
          row.fail(error.what());
        }
      }
    };
    eachRow("chip",
            {"fap", "engines", "isec_disabled", "esec_disabled", "per_port_disabled", "static"}, 1,
            [&](RowReader const& r) {
              host.chipIs(r.u16(0), {r.u16(1), r.u16(2), r.u16(3), r.flag(4), r.flag(5)});
            });
    eachRow("fap", {"fap"}, 1, [&](RowReader const& r) { host.fapAdd(r.u16(0), {}); });
    eachRow("member", {"fap", "interface"}, 2,
            [&](RowReader const& r) { host.intfAdd(r.u16(0), {r.interface(1)}); });
    eachRow("macsec", {"interface"}, 1,
            [&](RowReader const& r) { host.macsecIs({r.interface(0)}, true); });
    eachRow(
        "fap_status", {"fap", "engines", "esec_disabled", "isec_disabled"}, 1,
        [&](RowReader const& r) { host.publishedFapAdd(r.u16(0), r.u16(1), r.u16(2), r.u16(3)); });
    // Records of a FAP with published status, named by the interface in column 1.
    auto const index = [](RowReader const& r, int column) { return TableIndex(r.u16(column)); };
    auto const key = [](RowReader const& r) { return SecIntfId(r.interface(1)); };
    eachRow("egress", {"fap", "interface", "esec_sc", "engine"}, 2, [&](RowReader const& r) {
      host.egressRecordAdd(r.u16(0), OruMacSec::EsecIndexInfo(key(r), index(r, 2), r.u16(3)));
    });
    eachRow("ingress", {"fap", "interface", "isec_sp", "sub_port", "isec_sc", "engine"}, 2,
            [&](RowReader const& r) {
              host.ingressRecordAdd(
                  r.u16(0), OruMacSec::IsecIndexInfo(key(r), index(r, 2), index(r, 3), index(r, 4),
                                                     r.u16(5)));
            });
    eachRow("egress_disabled", {"fap", "port", "esec_sc", "engine"}, 2, [&](RowReader const& r) {
      host.disabledRecordAdd(r.u16(0), OruMacSec::EsecIndexInfo(key(r), index(r, 2), r.u16(3)));
    });
    MonitorState state;
    eachRow("threshold", {"fap", "upper", "clear"}, 1, [&](RowReader const& r) {
      Thresholds const limits{unsigned(r.number(1, 100)), unsigned(r.number(2, 100))};
      if (r.number(0, 65535, -1) == -1) {
        state.defaults = limits;
      } else {
        state.perFap[r.u16(0)] = limits;
      }
    });
    eachRow("watermark",
            {"fap", "engine", "engine_table", "high_watermark", "time", "exceeded", "max_limit"}, 3,
            [&](RowReader const& r) {
              TableKey const key(r.u16(0), r.u16(1), r.engineTable(2));
              state.tables[key] = {std::size_t(r.number(3, 65536)),
                                   r.number(4, INT64_MAX, INT64_MIN), r.flag(5), r.u16(6)};
            });
    eachRow("engine_state", {"fap", "engine", "full"}, 2, [&](RowReader const& r) {
      state.engineFull[{r.u16(0), r.u16(1)}] = r.flag(2);
    });
    state.agentRunning =
        db_->value(
            "SELECT EXISTS (SELECT 1 FROM monitor_value WHERE name = 'agent-running' AND "
            "value = 1)") != 0;
    try {
      monitor.stateIs(std::move(state));
    } catch (RefusedError const& error) {
      fail(fmt::format("table threshold: {}", error.what()));
    }
  } catch (DatabaseError const& error) {
    db_->rollback();
    fail(fmt::format("cannot read: {}", error.what()));
  } catch (...) {
    db_->rollback();
    throw;
  }
  guard("cannot read", [&] { db_->exec("COMMIT"); });
  loadedVersion_ = version;
  return checkPublished(host);
}

void Store::follow(Switch const& host, ResourceMonitor const& monitor) {
  host_ = &host;
  storedMonitor_ = monitor.state();
  storedChips_ = host.chips();
  auto const root = [&](Nubis::Node const* entity, Nubis::Handler handler) {
    rootWatches_.push_back(Nubis::Ptr<Watch>(new Watch(*this, 0)));
    rootWatches_.back()->follow(entity, handler);
  };
  root(&host.faps(), [](Nubis::Notification const& n) {
    Watch const& watch = Watch::of(n);
    U16 const fapId = n.key.as<LogicalFap::LogicalFapId>().value();
    watch.changes().faps.insert(fapId);
    watch.store().refollowFap(fapId);
  });
  root(&host.macsec(), [](Nubis::Notification const& n) {
    Watch::of(n).changes().macsec.insert(n.key.as<Portix::IntfId>());
  });
  root(&host.status(), [](Nubis::Notification const& n) {
    Watch const& watch = Watch::of(n);
    U16 const fapId = n.key.as<LogicalFap::LogicalFapId>().value();
    watch.changes().statuses.insert(fapId);
    watch.store().refollowStatus(fapId);
  });
  for (auto fap = host.faps().logicalFapIter(); fap; ++fap) {
    refollowFap(fap.key().value());
  }
  for (auto fap = host.status().indexFapStatusIter(); fap; ++fap) {
    refollowStatus(fap.key().value());
  }
}

void Store::refollowFap(U16 fapId) {
  auto& watch = fapWatches_[fapId];
  if (!watch) {
    watch = Nubis::Ptr<Watch>(new Watch(*this, fapId));
  }
  watch->follow(host_->faps().logicalFap(LogicalFap::LogicalFapId(fapId)).get(),
                [](Nubis::Notification const& n) {
                  Watch const& w = Watch::of(n);
                  w.changes().members.emplace(w.fapId(), n.key.as<Portix::IntfId>());
                });
}

void Store::refollowStatus(U16 fapId) {
  auto& watch = statusWatches_[fapId];
  if (!watch) {
    watch = Nubis::Ptr<Watch>(new Watch(*this, fapId));
  }
  watch->follow(host_->status().indexFapStatus(LogicalFap::LogicalFapId(fapId)).get(),
                [](Nubis::Notification const& n) {
                  Watch const& w = Watch::of(n);
                  w.changes().records.emplace_back(w.fapId(), n.attrId,
                                                   n.key.as<SecIntfId>().intfId());
                });
}

void Store::commit(ResourceMonitor const& monitor, std::vector<FeedEvent> const& events,
                   TimeNs now) {
  bool const monitorChanged = monitor.state() != storedMonitor_;
  if (host_ == nullptr ||
      (changes_->empty() && storedChips_ == host_->chips() && !monitorChanged && events.empty())) {
    return;
  }
  commitTime_ = now;
  guard("cannot write", [&] {
    db_->exec("BEGIN IMMEDIATE");
    try {
      std::int64_t const changesBefore = feedRows_;
      writeChanges();
      std::int64_t const changed = feedRows_ - changesBefore;
      if (monitorChanged) {
        writeMonitor(monitor.state());
      }
      for (FeedEvent const& event : events) {
        appendFeed("event", "threshold", event.fapId, event.record);
      }
      writeCounters(changed, std::int64_t(events.size()));
      db_->exec("COMMIT");
    } catch (...) {
      db_->rollback();  // the first failure is the one to report
      throw;
    }
  });
  *changes_ = Changes();
  storedChips_ = host_->chips();
  storedMonitor_ = monitor.state();
}

void Store::appendFeed(char const* op, char const* kind, U16 fapId, std::string const& record) {
  db_->cached("INSERT INTO change (time, op, fap, kind, record) VALUES (?, ?, ?, ?, ?)")
      .bind(1, commitTime_)
      .bind(2, op)
      .bind(3, fapId)
      .bind(4, kind)
      .bind(5, record)
      .run();
  ++feedRows_;
}

void Store::writeCounters(std::int64_t changes, std::int64_t events) {
  auto const add = [&](char const* name, std::int64_t value) {
    if (value == 0) {
      return;
    }
    db_->cached(
           "INSERT INTO monitor_value VALUES (?, ?) ON CONFLICT DO UPDATE SET value = value + "
           "excluded.value")
        .bind(1, name)
        .bind(2, value)
        .run();
  };
  add("changes", changes);
  add("threshold-events", events);
  // The feed keeps its last kFeedLimit entries, so that it never grows without bound.
  db_->cached("DELETE FROM change WHERE seq <= (SELECT max(seq) FROM change) - ?")
      .bind(1, kFeedLimit)
      .run();
}

// The monitor's state is a few rows per engine: written afresh whenever any of it changed.
void Store::writeMonitor(MonitorState const& state) {
  db_->exec("DELETE FROM threshold; DELETE FROM watermark; DELETE FROM engine_state");
  auto const threshold = [&](std::int64_t fap, Thresholds const& limits) {
    db_->cached("INSERT INTO threshold VALUES (?, ?, ?)")
        .bind(1, fap)
        .bind(2, limits.upper)
        .bind(3, limits.clear)
        .run();
  };
  threshold(-1, state.defaults);
  for (auto const& [fapId, limits] : state.perFap) {
    threshold(fapId, limits);
  }
  for (auto const& [key, record] : state.tables) {
    auto const& [fapId, engine, table] = key;
    db_->cached("INSERT INTO watermark VALUES (?, ?, ?, ?, ?, ?, ?)")
        .bind(1, fapId)
        .bind(2, engine)
        .bind(3, OruMacSec::tableName(table))
        .bind(4, std::int64_t(record.highWatermark))
        .bind(5, record.highWatermarkTime)
        .bind(6, record.exceeded)
        .bind(7, record.maxLimit)
        .run();
  }
  db_->cached("INSERT OR REPLACE INTO monitor_value VALUES ('agent-running', ?)")
      .bind(1, state.agentRunning)
      .run();
  for (auto const& [key, full] : state.engineFull) {
    db_->cached("INSERT INTO engine_state VALUES (?, ?, ?)")
        .bind(1, key.first)
        .bind(2, key.second)
        .bind(3, full)
        .run();
  }
}

Store::Counts Store::counts() const {
  if (!hasSchema_) {
    return {};
  }
  return guard("cannot read", [&] {
    Counts out;
    Statement read = db_->prepare(
        "SELECT name, value FROM monitor_value WHERE name IN ('changes', 'threshold-events')");
    while (read.step()) {
      (read.text(0) == "changes" ? out.changes : out.thresholdEvents) =
          std::uint64_t(read.integer(1));
    }
    return out;
  });
}

bool Store::changedSinceLoad() {
  if (!seesCommits_ && fileExists(path_ + "-wal")) {
    db_.reset();
    open(Sync::kNormal);  // a reader's connection: the setting is a writer's
    loadedVersion_.reset();
  }
  std::int64_t const version =
      guard("cannot read", [&] { return db_->value("PRAGMA data_version"); });
  return loadedVersion_ != version;
}

void Store::writeChanges() {
  // The host configures chips and never removes one.
  for (auto const& [fapId, settings] : host_->chips()) {
    auto const stored = storedChips_.find(fapId);
    if (stored != storedChips_.end() && stored->second == settings) {
      continue;
    }
    db_->cached("INSERT OR REPLACE INTO chip VALUES (?, ?, ?, ?, ?, ?)")
        .bind(1, fapId)
        .bind(2, settings.engines)
        .bind(3, settings.isecDisabled)
        .bind(4, settings.esecDisabled)
        .bind(5, settings.perPortDisabled)
        .bind(6, settings.staticAllocation)
        .run();
  }
  Changes& changes = *changes_;
  std::sort(changes.records.begin(), changes.records.end());
  changes.records.erase(std::unique(changes.records.begin(), changes.records.end()),
                        changes.records.end());
  for (U16 const fapId : changes.faps) {
    writeFap(fapId);
  }
  for (auto const& [fapId, id] : changes.members) {
    if (changes.faps.count(fapId) == 0) {
      auto const set = host_->faps().logicalFap(LogicalFap::LogicalFapId(fapId));
      writeMember(fapId, id, set && set->intfIdHas(id));
    }
  }
  for (Portix::IntfId const id : changes.macsec) {
    if (host_->macsec().cpStatusHas(id)) {
      db_->cached("INSERT OR IGNORE INTO macsec VALUES (?)").bind(1, name(id)).run();
    } else {
      db_->cached("DELETE FROM macsec WHERE interface = ?").bind(1, name(id)).run();
    }
  }
  for (U16 const fapId : changes.statuses) {
    writeStatus(fapId);
  }
  for (auto const& [fapId, table, id] : changes.records) {
    if (changes.statuses.count(fapId) == 0) {
      writeRecord(host_->status().indexFapStatus(LogicalFap::LogicalFapId(fapId)).get(), fapId,
                  table, id);
    }
  }
}

// A FAP that came or went: its row and all its members are written afresh (the deletion takes
// the old members with it).
void Store::writeFap(U16 fapId) {
  db_->cached("DELETE FROM fap WHERE fap = ?").bind(1, fapId).run();
  auto const set = host_->faps().logicalFap(LogicalFap::LogicalFapId(fapId));
  if (!set) {
    return;
  }
  db_->cached("INSERT INTO fap VALUES (?)").bind(1, fapId).run();
  for (auto member = set->intfIdIter(); member; ++member) {
    writeMember(fapId, *member, true);
  }
}

void Store::writeMember(U16 fapId, Portix::IntfId id, bool present) {
  db_->cached(present ? "INSERT OR IGNORE INTO member VALUES (?, ?)"
                      : "DELETE FROM member WHERE fap = ? AND interface = ?")
      .bind(1, fapId)
      .bind(2, name(id))
      .run();
}

// A FAP's status that came, went or was replaced: its row, and every record that differs from
// the database's, each a change of the feed.
void Store::writeStatus(U16 fapId) {
  auto const status = host_->status().indexFapStatus(LogicalFap::LogicalFapId(fapId));
  // Rows the status no longer holds go first (all of them when the status went).
  constexpr std::pair<char const*, Nubis::AttrId> kRecordTables[] = {
      {"SELECT interface FROM egress WHERE fap = ?", IndexFapStatus::kEsecIndexInfoAttr},
      {"SELECT interface FROM ingress WHERE fap = ?", IndexFapStatus::kIsecIndexInfoAttr},
      {"SELECT port FROM egress_disabled WHERE fap = ?",
       IndexFapStatus::kEsecLoopbackDisabledIndexInfoAttr}};
  for (auto const& [select, table] : kRecordTables) {
    std::vector<Portix::IntfId> stored;
    Statement read = db_->prepare(select);
    read.bind(1, fapId);
    while (read.step()) {
      stored.emplace_back(read.text(0));
    }
    for (Portix::IntfId const id : stored) {
      writeRecord(status.get(), fapId, table, id);
    }
  }
  if (!status) {
    if (db_->cached("DELETE FROM fap_status WHERE fap = ?").bind(1, fapId).run() > 0) {
      appendFeed("del", "fap", fapId, fmt::format(R"({{"fap":{}}})", fapId));
    }
    return;
  }
  int const changed =
      db_->cached(
             "INSERT INTO fap_status VALUES (?, ?, ?, ?) ON CONFLICT DO UPDATE SET engines = "
             "excluded.engines, esec_disabled = excluded.esec_disabled, isec_disabled = "
             "excluded.isec_disabled WHERE (engines, esec_disabled, isec_disabled) IS NOT "
             "(excluded.engines, excluded.esec_disabled, excluded.isec_disabled)")
          .bind(1, fapId)
          .bind(2, status->numEngineInstances())
          .bind(3, status->esecDisabledIndex())
          .bind(4, status->isecDisabledIndex())
          .run();
  if (changed > 0) {
    appendFeed("set", "fap", fapId, fapStatusJson(*status).dump());
  }
  for (auto r = status->esecIndexInfoIter(); r; ++r) {
    writeRecord(status.get(), fapId, IndexFapStatus::kEsecIndexInfoAttr, r.key().intfId());
  }
  for (auto r = status->isecIndexInfoIter(); r; ++r) {
    writeRecord(status.get(), fapId, IndexFapStatus::kIsecIndexInfoAttr, r.key().intfId());
  }
  for (auto r = status->esecLoopbackDisabledIndexInfoIter(); r; ++r) {
    writeRecord(status.get(), fapId, IndexFapStatus::kEsecLoopbackDisabledIndexInfoAttr,
                r.key().intfId());
  }
}

// Writes the record of `id` in `table` (an attribute of IndexFapStatus) as `status` holds it, or
// deletes its row when it holds none; a row that changed is a change of the feed.
void Store::writeRecord(IndexFapStatus const* status, U16 fapId, Nubis::AttrId table,
                        Portix::IntfId id) {
  SecIntfId const key(id);
  // The deleted record's key, as the feed gives it.
  auto const deleted = [&](char const* kind, char const* keyName) {
    appendFeed("del", kind, fapId, nlohmann::json{{keyName, name(id)}}.dump());
  };
  if (table == IndexFapStatus::kIsecIndexInfoAttr) {
    if (status == nullptr || !status->isecIndexInfoHas(key)) {
      if (db_->cached("DELETE FROM ingress WHERE fap = ? AND interface = ?")
              .bind(1, fapId)
              .bind(2, name(id))
              .run() > 0) {
        deleted("ingress", "interface");
      }
      return;
    }
    auto const info = status->isecIndexInfo(key);
    if (db_->cached(
               "INSERT INTO ingress VALUES (?, ?, ?, ?, ?, ?) ON CONFLICT DO UPDATE SET isec_sp = "
               "excluded.isec_sp, sub_port = excluded.sub_port, isec_sc = excluded.isec_sc, "
               "engine = excluded.engine WHERE (isec_sp, sub_port, isec_sc, engine) IS NOT "
               "(excluded.isec_sp, excluded.sub_port, excluded.isec_sc, excluded.engine)")
            .bind(1, fapId)
            .bind(2, name(id))
            .bind(3, info.isecSpIndex().value())
            .bind(4, info.msSubportNum().value())
            .bind(5, info.isecScIndex().value())
            .bind(6, info.engineInstance())
            .run() > 0) {
      appendFeed("set", "ingress", fapId, ingressJson(info).dump());
    }
    return;
  }
  // Egress records and egress disabled entries have the same shape.
  bool const disabled = table == IndexFapStatus::kEsecLoopbackDisabledIndexInfoAttr;
  char const* const kind = disabled ? "disabled" : "egress";
  bool const present =
      status != nullptr &&
      (disabled ? status->esecLoopbackDisabledIndexInfoHas(key) : status->esecIndexInfoHas(key));
  if (!present) {
    if (db_->cached(disabled ? "DELETE FROM egress_disabled WHERE fap = ? AND port = ?"
                             : "DELETE FROM egress WHERE fap = ? AND interface = ?")
            .bind(1, fapId)
            .bind(2, name(id))
            .run() > 0) {
      deleted(kind, disabled ? "port" : "interface");
    }
    return;
  }
  auto const info =
      disabled ? status->esecLoopbackDisabledIndexInfo(key) : status->esecIndexInfo(key);
  // An upsert that leaves a row holding these values as it is: a record taken back and given the
  // same indexes again (a restart does that to subinterfaces served through their port) writes no
  // page and is no change.
  if (db_->cached(disabled
                      ? "INSERT INTO egress_disabled VALUES (?, ?, ?, ?) ON CONFLICT DO UPDATE SET "
                        "esec_sc = excluded.esec_sc, engine = excluded.engine WHERE (esec_sc, "
                        "engine) IS NOT (excluded.esec_sc, excluded.engine)"
                      : "INSERT INTO egress VALUES (?, ?, ?, ?) ON CONFLICT DO UPDATE SET esec_sc "
                        "= excluded.esec_sc, engine = excluded.engine WHERE (esec_sc, engine) IS "
                        "NOT (excluded.esec_sc, excluded.engine)")
          .bind(1, fapId)
          .bind(2, name(id))
          .bind(3, info.esecScIndex().value())
          .bind(4, info.engineInstance())
          .run() > 0) {
    appendFeed("set", kind, fapId, (disabled ? disabledJson(info) : egressJson(info)).dump());
  }
}

}  // namespace sim
