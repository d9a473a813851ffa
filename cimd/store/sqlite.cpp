#include "store/sqlite.h"

#include <sqlite3.h>

#include <cerrno>
#include <new>
#include <system_error>

namespace cimd::sqlite {

namespace {

// SQLite's own words for these leave the reader guessing.
const char* plainCause(int result) {
  switch (result & 0xFF) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return "in use by another process";
    case SQLITE_NOTADB:
      return "not an SQLite database";
    case SQLITE_FULL:
      return "no space left on the disk";
    case SQLITE_READONLY:
      return "read-only";
    case SQLITE_TOOBIG:
      return "too large";
    default:
      return nullptr;
  }
}

[[noreturn]] void fail(sqlite3* database, int result) {
  const int systemError = errno;
  const int kind = result & 0xFF;
  if (kind == SQLITE_NOMEM) {
    throw std::bad_alloc();
  }
  const char* plain = plainCause(result);
  std::string cause = plain != nullptr ? plain : sqlite3_errmsg(database);
  if (kind == SQLITE_CORRUPT) {
    cause = "damaged: " + cause;
  }
  if ((kind == SQLITE_IOERR || kind == SQLITE_CANTOPEN) && systemError != 0) {
    cause += ": " + std::system_category().message(systemError);
  }
  throw Error(cause);
}

void check(sqlite3* database, int result) {
  if (result != SQLITE_OK) {
    fail(database, result);
  }
}

// SQLite's own record of the system's error misses those of a commit. Calls that succeed leave
// errno as it is, so that after a failure it has the cause.
void execute(sqlite3* database, const char* sql) {
  errno = 0;
  check(database, sqlite3_exec(database, sql, nullptr, nullptr, nullptr));
}

}  // namespace

void Connection::Close::operator()(sqlite3* database) const {
  sqlite3_close_v2(database);
}

Connection::Connection(const std::string& file, int maxLength) {
  sqlite3* database = nullptr;
  errno = 0;
  const int result = sqlite3_open_v2(file.c_str(), &database,
                                     SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
  database_.reset(database);
  if (database == nullptr) {
    throw std::bad_alloc();
  }
  check(database, result);
  sqlite3_extended_result_codes(database, 1);
  sqlite3_limit(database, SQLITE_LIMIT_LENGTH, maxLength);
  // A malicious file may hold triggers, views and the like, which must not run.
  sqlite3_db_config(database, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_db_config(database, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
}

void Connection::execute(const char* sql) {
  sqlite::execute(database_.get(), sql);
}

std::int64_t Connection::integer(const char* sql) {
  Statement statement(*this, sql);
  return statement.step() ? statement.integer(0) : 0;
}

std::string Connection::text(const char* sql) {
  Statement statement(*this, sql);
  return statement.step() ? std::string(statement.text(0)) : std::string();
}

bool Connection::isReadOnly() const {
  return sqlite3_db_readonly(database_.get(), "main") != 0;
}

bool Connection::isMoved() const {
  int moved = 0;
  sqlite3_file_control(database_.get(), "main", SQLITE_FCNTL_HAS_MOVED, &moved);
  return moved != 0;
}

void Statement::Finalize::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

Statement::Statement(const Connection& connection, const char* sql) {
  sqlite3_stmt* statement = nullptr;
  sqlite3* const database = connection.database_.get();
  sqlite::check(database, sqlite3_prepare_v3(database, sql, -1, SQLITE_PREPARE_PERSISTENT,
                                             &statement, nullptr));
  statement_.reset(statement);
}

void Statement::check(int result) const {
  sqlite::check(sqlite3_db_handle(statement_.get()), result);
}

Statement& Statement::bind(int parameter, std::string_view text) {
  check(sqlite3_bind_text64(statement_.get(), parameter, text.data(), text.size(), SQLITE_STATIC,
                            SQLITE_UTF8));
  return *this;
}

Statement& Statement::bind(int parameter, std::int64_t number) {
  check(sqlite3_bind_int64(statement_.get(), parameter, number));
  return *this;
}

bool Statement::step() {
  errno = 0;
  const int result = sqlite3_step(statement_.get());
  if (result == SQLITE_ROW) {
    return true;
  }
  // Repeats the step's error, if there was one, and keeps its message.
  check(sqlite3_reset(statement_.get()));
  return false;
}

void Statement::run() {
  while (step()) {
  }
}

void Statement::reset() noexcept {
  sqlite3_reset(statement_.get());
}

bool Statement::isText(int column) const {
  return sqlite3_column_type(statement_.get(), column) == SQLITE_TEXT;
}

std::string_view Statement::text(int column) const {
  const auto* const bytes =
      reinterpret_cast<const char*>(sqlite3_column_text(statement_.get(), column));
  const int size = sqlite3_column_bytes(statement_.get(), column);
  return bytes != nullptr ? std::string_view(bytes, static_cast<std::size_t>(size))
                          : std::string_view();
}

std::int64_t Statement::integer(int column) const {
  return sqlite3_column_int64(statement_.get(), column);
}

Transaction::Transaction(const Connection& connection) : connection_(connection) {
  execute(connection.database_.get(), "BEGIN EXCLUSIVE");
}

Transaction::~Transaction() {
  // Some errors end the transaction by themselves.
  sqlite3* const database = connection_.database_.get();
  if (sqlite3_get_autocommit(database) == 0) {
    sqlite3_exec(database, "ROLLBACK", nullptr, nullptr, nullptr);
  }
}

void Transaction::commit() {
  execute(connection_.database_.get(), "COMMIT");
}

}  // namespace cimd::sqlite
