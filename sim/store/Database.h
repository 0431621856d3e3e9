// A small owner of an SQLite connection and its prepared statements, for the simulator's store.
//
// Every failure of SQLite becomes a DatabaseError carrying SQLite's own message and its extended
// result code; the store turns it into one that names the file. Handles close themselves; nothing
// here is shared between threads (the simulator has one).
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace sim {

// SQLite's name of a result code ("SQLITE_FULL", "SQLITE_IOERR_WRITE"), or "SQLite code <n>" for
// one this table does not know.
std::string resultCodeName(int code);

// The file at `path` as an SQLite URI (RFC 3986: %, ? and # escaped), followed by `query`
// ("?mode=ro").
std::string sqliteUri(std::string const& path, char const* query);

// Whether anything exists at `path` (a writer's WAL file beside a database, say).
bool fileExists(std::string const& path);

class DatabaseError : public std::runtime_error {
 public:
  // `what` is SQLite's message; the error's text adds the code's name: "disk I/O error
  // (SQLITE_IOERR_FSYNC)".
  DatabaseError(std::string const& what, int extendedCode);
  // SQLite's primary result code (SQLITE_BUSY, SQLITE_NOTADB, ...).
  int code() const { return extendedCode_ & 0xff; }
  int extendedCode() const { return extendedCode_; }

 private:
  int extendedCode_;
};

// One prepared statement. Parameters are numbered from 1, result columns from 0.
class Statement {
 public:
  Statement(sqlite3* db, std::string_view sql);
  Statement(Statement&&) noexcept = default;
  Statement& operator=(Statement&&) noexcept = default;

  Statement& bind(int parameter, std::int64_t value);
  Statement& bind(int parameter, std::string_view text);

  // Advances to the next result row: true when one is ready, false (and the statement reset for
  // another use) when there are no more.
  bool step();
  // Runs the statement to completion, ignoring any rows; returns how many rows it inserted,
  // updated or deleted (an upsert that left its row as it was: none).
  int run();

  // The column's fundamental type (SQLITE_INTEGER, SQLITE_TEXT, ...) in the current row.
  int type(int column) const;
  std::int64_t integer(int column) const;
  // The column as text, whatever its type (NULL gives "NULL"): for values and for messages.
  std::string text(int column) const;

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const;
  };
  sqlite3* db_;
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

class Database {
 public:
  // Opens the database at `path` with sqlite3_open_v2's `flags`.
  Database(std::string const& path, int flags);

  // Runs one or more statements that return nothing of interest.
  void exec(char const* sql);
  // Ends the open transaction, if any, undoing it. Never throws: it runs after a failure, whose
  // error is the one to report (SQLite may already have rolled the transaction back itself).
  void rollback() noexcept;
  Statement prepare(std::string_view sql) const { return Statement(db_.get(), sql); }
  // The same, prepared once and kept for the connection's lifetime (for statements run often).
  Statement& cached(std::string_view sql);
  // The value of the first column of the first row of `sql` (a pragma, a count).
  std::int64_t value(std::string_view sql) const;

 private:
  struct Close {
    void operator()(sqlite3* db) const;
  };
  std::unique_ptr<sqlite3, Close> db_;
  // Declared after the connection, so that statements are finalized before it closes.
  std::map<std::string, Statement, std::less<>> cached_;
};

}  // namespace sim
