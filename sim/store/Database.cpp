#include "sim/store/Database.h"

#include <sys/stat.h>

#include <sqlite3.h>

#include <iterator>
#include <string>

namespace sim {

std::string resultCodeName(int code) {
  // The primary codes, by number, and the extended I/O error codes, by their number above 8.
  static char const* const kPrimary[] = {
      "SQLITE_OK",       "SQLITE_ERROR",     "SQLITE_INTERNAL", "SQLITE_PERM",
      "SQLITE_ABORT",    "SQLITE_BUSY",      "SQLITE_LOCKED",   "SQLITE_NOMEM",
      "SQLITE_READONLY", "SQLITE_INTERRUPT", "SQLITE_IOERR",    "SQLITE_CORRUPT",
      "SQLITE_NOTFOUND", "SQLITE_FULL",      "SQLITE_CANTOPEN", "SQLITE_PROTOCOL",
      "SQLITE_EMPTY",    "SQLITE_SCHEMA",    "SQLITE_TOOBIG",   "SQLITE_CONSTRAINT",
      "SQLITE_MISMATCH", "SQLITE_MISUSE",    "SQLITE_NOLFS",    "SQLITE_AUTH",
      "SQLITE_FORMAT",   "SQLITE_RANGE",     "SQLITE_NOTADB",   "SQLITE_NOTICE",
      "SQLITE_WARNING"};
  static char const* const kIoErrors[] = {"",
                                          "READ",
                                          "SHORT_READ",
                                          "WRITE",
                                          "FSYNC",
                                          "DIR_FSYNC",
                                          "TRUNCATE",
                                          "FSTAT",
                                          "UNLOCK",
                                          "RDLOCK",
                                          "DELETE",
                                          "BLOCKED",
                                          "NOMEM",
                                          "ACCESS",
                                          "CHECKRESERVEDLOCK",
                                          "LOCK",
                                          "CLOSE",
                                          "DIR_CLOSE",
                                          "SHMOPEN",
                                          "SHMSIZE",
                                          "SHMLOCK",
                                          "SHMMAP",
                                          "SEEK",
                                          "DELETE_NOENT",
                                          "MMAP",
                                          "GETTEMPPATH",
                                          "CONVPATH",
                                          "VNODE",
                                          "AUTH",
                                          "BEGIN_ATOMIC",
                                          "COMMIT_ATOMIC",
                                          "ROLLBACK_ATOMIC",
                                          "DATA",
                                          "CORRUPTFS"};
  int const primary = code & 0xff;
  int const extended = code >> 8;
  if (primary == SQLITE_IOERR && extended > 0 && extended < int(std::size(kIoErrors))) {
    return std::string("SQLITE_IOERR_") + kIoErrors[extended];
  }
  if (primary < int(std::size(kPrimary))) {
    return kPrimary[primary];
  }
  return "SQLite code " + std::to_string(code);
}

DatabaseError::DatabaseError(std::string const& what, int extendedCode)
    : std::runtime_error(what + " (" + resultCodeName(extendedCode) + ")"),
      extendedCode_(extendedCode) {}

namespace {

[[noreturn]] void fail(sqlite3* db, int code) {
  // The connection's extended code, when there is one, says more than the call's primary code.
  int const extended = db != nullptr ? sqlite3_extended_errcode(db) : code;
  throw DatabaseError(db != nullptr ? sqlite3_errmsg(db) : sqlite3_errstr(code),
                      (extended & 0xff) == (code & 0xff) ? extended : code);
}

void check(sqlite3* db, int code) {
  if (code != SQLITE_OK) {
    fail(db, code);
  }
}

}  // namespace

void Statement::Finalize::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

Statement::Statement(sqlite3* db, std::string_view sql) : db_(db) {
  sqlite3_stmt* statement = nullptr;
  check(db, sqlite3_prepare_v3(db, sql.data(), int(sql.size()), SQLITE_PREPARE_PERSISTENT,
                               &statement, nullptr));
  statement_.reset(statement);
}

Statement& Statement::bind(int parameter, std::int64_t value) {
  check(db_, sqlite3_bind_int64(statement_.get(), parameter, value));
  return *this;
}

Statement& Statement::bind(int parameter, std::string_view text) {
  check(db_, sqlite3_bind_text(statement_.get(), parameter, text.data(), int(text.size()),
                               SQLITE_TRANSIENT));
  return *this;
}

bool Statement::step() {
  int const code = sqlite3_step(statement_.get());
  if (code == SQLITE_ROW) {
    return true;
  }
  // Reset in both cases, so that a failed statement does not hold its read or write lock.
  sqlite3_reset(statement_.get());
  if (code != SQLITE_DONE) {
    fail(db_, code);
  }
  return false;
}

int Statement::run() {
  while (step()) {
  }
  return sqlite3_changes(db_);
}

int Statement::type(int column) const {
  return sqlite3_column_type(statement_.get(), column);
}

std::int64_t Statement::integer(int column) const {
  return sqlite3_column_int64(statement_.get(), column);
}

std::string Statement::text(int column) const {
  if (type(column) == SQLITE_NULL) {
    return "NULL";
  }
  auto const* const bytes = sqlite3_column_text(statement_.get(), column);
  return std::string(reinterpret_cast<char const*>(bytes),
                     std::size_t(sqlite3_column_bytes(statement_.get(), column)));
}

void Database::Close::operator()(sqlite3* db) const {
  sqlite3_close_v2(db);
}

Database::Database(std::string const& path, int flags) {
  sqlite3* db = nullptr;
  // One thread uses a connection: SQLite's own mutexes would only cost time.
  int const code = sqlite3_open_v2(path.c_str(), &db, flags | SQLITE_OPEN_NOMUTEX, nullptr);
  db_.reset(db);
  check(db, code);
  sqlite3_extended_result_codes(db, 1);
}

void Database::exec(char const* sql) {
  check(db_.get(), sqlite3_exec(db_.get(), sql, nullptr, nullptr, nullptr));
}

void Database::rollback() noexcept {
  if (sqlite3_get_autocommit(db_.get()) == 0) {
    sqlite3_exec(db_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
  }
}

Statement& Database::cached(std::string_view sql) {
  auto found = cached_.find(sql);
  if (found == cached_.end()) {
    found = cached_.emplace(std::string(sql), prepare(sql)).first;
  }
  return found->second;
}

std::int64_t Database::value(std::string_view sql) const {
  Statement statement = prepare(sql);
  if (!statement.step()) {
    return 0;
  }
  std::int64_t const result = statement.integer(0);
  statement.run();
  return result;
}

// The file as an SQLite URI (RFC 3986: a path with %, ? and # escaped).
std::string sqliteUri(std::string const& path, char const* query) {
  std::string out = "file:";
  for (char const c : path) {
    out += c == '%' ? "%25" : c == '?' ? "%3f" : c == '#' ? "%23" : std::string(1, c);
  }
  return out + query;
}

bool fileExists(std::string const& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0;
}

}  // namespace sim
