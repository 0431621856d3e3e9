#include "sim/store/Feed.h"

#include <sqlite3.h>

#include <fmt/format.h>

#include <chrono>
#include <memory>
#include <thread>

#include "sim/model/Clock.h"
#include "sim/store/Database.h"
#include "sim/store/Store.h"

namespace sim {

namespace {

// Runs `work`, turning a DatabaseError into a StoreError that names the file.
template <class Work>
auto guard(std::string const& path, Work const& work) {
  try {
    return work();
  } catch (DatabaseError const& error) {
    throw StoreError(
        fmt::format("state database {}: cannot read the change feed: {}", path, error.what()));
  }
}

// The database read through a writer's WAL, without ever writing it. While no writer has the
// database open (no -wal file), nothing can be committed, and there is nothing to open.
class FeedReader {
 public:
  explicit FeedReader(std::string path) : path_(std::move(path)) {}

  // Whether a writer committed since the last call (true the first time the database is read).
  bool changed() {
    if (!db_) {
      if (!fileExists(path_ + "-wal")) {
        return false;
      }
      open();
      return true;
    }
    std::int64_t const version = guard(path_, [&] { return db_->value("PRAGMA data_version"); });
    bool const moved = version != dataVersion_;
    dataVersion_ = version;
    return moved;
  }

  // Runs `read` in one read transaction of the database (of its file alone when no writer has it
  // open).
  template <class Read>
  void read(Read const& read) {
    std::unique_ptr<Database> once;
    Database* db = db_.get();
    if (db == nullptr) {
      once = guard(path_, [&] {
        return std::make_unique<Database>(sqliteUri(path_, "?mode=ro&immutable=1"),
                                          SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
      });
      db = once.get();
    }
    guard(path_, [&] {
      db->exec("BEGIN");
      try {
        read(*db);
      } catch (...) {
        db->rollback();
        throw;
      }
      db->exec("COMMIT");
    });
  }

 private:
  void open() {
    guard(path_, [&] {
      db_ = std::make_unique<Database>(sqliteUri(path_, "?mode=ro"),
                                       SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
      db_->exec("PRAGMA busy_timeout = 5000");
      dataVersion_ = db_->value("PRAGMA data_version");
    });
  }

  std::string const path_;
  std::unique_ptr<Database> db_;
  std::int64_t dataVersion_ = 0;
};

}  // namespace

void followFeed(std::string const& path, FollowOptions const& options, std::ostream& out) {
  // The database is checked as any reader checks it: a state database of this schema.
  { Store const checked(path, Store::Access::kReadOnly); }
  FeedReader reader(path);
  reader.changed();  // through a writer's WAL when there is one, so that `last` is the latest
  std::int64_t last = 0;
  reader.read([&](Database& db) {
    std::int64_t const newest = db.value("SELECT coalesce(max(seq), 0) FROM change");
    if (options.since && *options.since > newest) {
      throw FeedError(
          fmt::format("state database {}: the change feed has reached seq {} only, "
                      "not {}",
                      path, newest, *options.since));
    }
    last = options.since.value_or(newest);
  });
  bool first = true;
  while (!options.stop()) {
    if (!reader.changed() && !first) {
      std::this_thread::sleep_for(std::chrono::milliseconds(options.pollMilliseconds));
      continue;
    }
    reader.read([&](Database& db) {
      Statement entries = db.prepare(
          "SELECT seq, time, op, fap, kind, record FROM change WHERE seq > ? ORDER BY seq");
      entries.bind(1, last);
      while (entries.step()) {
        std::int64_t const seq = entries.integer(0);
        if (seq != last + 1) {
          throw FeedError(fmt::format(
              "state database {}: the change feed no longer holds the entries after seq {} (it "
              "keeps the last {}; the oldest is {}): start again from an export of the state",
              path, last, Store::kFeedLimit, seq));
        }
        out << fmt::format(R"({{"seq":{},"time":"{}","op":"{}","fap":{},"kind":"{}","record":{}}})",
                           seq, rfc3339(entries.integer(1)), entries.text(2), entries.integer(3),
                           entries.text(4), entries.text(5))
            << '\n';
        last = seq;
      }
    });
    out.flush();
    first = false;
  }
}

}  // namespace sim
