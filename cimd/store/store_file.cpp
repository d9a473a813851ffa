#include "store/store_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

namespace cimd {

namespace {

namespace fs = std::filesystem;
using sqlite::Connection;

// Tells this program's files from those of others: the bytes of "mvkd".
constexpr std::int64_t applicationId = 0x6D766B64;
// To be raised with every change of the table or of what stands in it.
constexpr std::int64_t formatVersion = 1;

// Far more than an instance has, for a request is smaller.
constexpr int maxLength = 64 << 20;

// Kept in the file letter for letter, so that it can be compared. Names of namespaces do not differ
// by letter case. The checksum covers the other columns but the id.
constexpr const char* tableText =
    "CREATE TABLE instance ("
    "id INTEGER PRIMARY KEY, "
    "namespace TEXT NOT NULL COLLATE NOCASE, "
    "key TEXT NOT NULL, "
    "class TEXT NOT NULL, "
    "instance TEXT NOT NULL, "
    "checksum INTEGER NOT NULL, "
    "UNIQUE (namespace, key))";
// What could not be read and stood in the way of a new instance of the same name. Nothing reads it
// but people.
constexpr const char* setAsideText =
    "CREATE TABLE set_aside ("
    "id INTEGER PRIMARY KEY, "
    "at TEXT NOT NULL, "
    "namespace, key, class, instance, checksum)";

[[noreturn]] void failWithErrno(const fs::path& file, const std::string& step) {
  throw StoreError(file, step + ": " + std::system_category().message(errno));
}

// SQLite would let everyone read the file. A name that is there already is left for SQLite to open:
// closing a file drops all locks that this process holds on it.
void createIfMissing(const fs::path& file) {
  const int descriptor = open(file.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0600);
  if (descriptor >= 0) {
    close(descriptor);
  } else if (errno != EEXIST) {
    failWithErrno(file, "cannot create");
  }
}

// The real path of the file, after a look at what kind of file it is.
fs::path locate(const fs::path& file) {
  std::error_code error;
  fs::path real = fs::canonical(file, error);
  if (error) {
    throw StoreError(file, "cannot open: " + error.message());
  }
  if (!fs::is_regular_file(real)) {
    throw StoreError(file, "not a regular file");
  }
  // SQLite takes one byte for nothing and would overwrite it.
  if (fs::file_size(real) == 1) {
    throw StoreError(file, "not an SQLite database");
  }
  if (fs::hard_link_count(real) > 1) {
    throw StoreError(file, "has a second name (a hard link)");
  }
  return real;
}

// SQLite would throw the log away. It holds changes, and the file that they belong to is gone or
// was emptied: the owner has to decide.
void refuseLostLog(const fs::path& file, const fs::path& real) {
  fs::path log = real;
  log += "-wal";
  if (fs::file_size(real) == 0 && fs::exists(log) && fs::file_size(log) > 0) {
    throw StoreError(file, "empty, but " + log.string() +
                               " holds changes to what was in it; restore the file or move that "
                               "one away");
  }
}

bool isEmptyDatabase(Connection& database) {
  return database.integer("PRAGMA application_id") == 0 &&
         database.integer("PRAGMA user_version") == 0 &&
         database.integer("SELECT count(*) FROM sqlite_schema") == 0;
}

void initialize(Connection& database) {
  database.execute(tableText);
  database.execute(setAsideText);
  database.execute(("PRAGMA application_id = " + std::to_string(applicationId)).c_str());
  database.execute(("PRAGMA user_version = " + std::to_string(formatVersion)).c_str());
}

void checkIdentity(const fs::path& file, Connection& database) {
  if (database.integer("PRAGMA application_id") != applicationId) {
    throw StoreError(file, "a database of another program");
  }
  const std::int64_t version = database.integer("PRAGMA user_version");
  if (version > formatVersion) {
    throw StoreError(file, "written by a newer version of this program (format " +
                               std::to_string(version) + ", this one reads up to " +
                               std::to_string(formatVersion) + ")");
  }
  if (version != formatVersion) {
    throw StoreError(file, "damaged: format " + std::to_string(version) + " does not exist");
  }
}

// Also what is in a sound database may have been changed: a table without its constraints, or a
// trigger.
void checkTables(const fs::path& file, Connection& database) {
  constexpr const char* tableQuery = "SELECT sql FROM sqlite_schema WHERE name = 'instance'";
  constexpr const char* setAsideQuery = "SELECT sql FROM sqlite_schema WHERE name = 'set_aside'";
  // The third is the index that stands for the table's UNIQUE.
  if (database.text(tableQuery) != tableText || database.text(setAsideQuery) != setAsideText ||
      database.integer("SELECT count(*) FROM sqlite_schema") != 3) {
    throw StoreError(
        file, "damaged: the tables are not those of format " + std::to_string(formatVersion));
  }
}

void checkContent(const fs::path& file, Connection& database) {
  // The quick check does not look whether the index finds the rows; a change to the wrong row or a
  // second row for one instance would be the result.
  const std::string finding = database.text("PRAGMA integrity_check(1)");
  if (finding != "ok") {
    throw StoreError(file, "damaged: " + finding);
  }
}

void prepare(const fs::path& file, Connection& database) {
  // Exclusive before the first access: two servers on one file would each serve what the other
  // does not know. The log's index stays in memory then, and readers cannot hold the log back.
  database.execute("PRAGMA locking_mode = EXCLUSIVE");
  database.execute("PRAGMA synchronous = FULL");
  database.execute("PRAGMA cell_size_check = ON");
  {
    sqlite::Transaction transaction(database);
    if (isEmptyDatabase(database)) {
      initialize(database);
    }
    checkIdentity(file, database);
    checkTables(file, database);
    checkContent(file, database);
    transaction.commit();
  }
  if (database.text("PRAGMA journal_mode = WAL") != "wal") {
    throw StoreError(file, "cannot switch to write-ahead logging");
  }
}

}  // namespace

Connection openStoreFile(const fs::path& file) {
  createIfMissing(file);
  try {
    const fs::path real = locate(file);
    refuseLostLog(file, real);
    Connection database(real.string(), maxLength);
    if (database.isReadOnly()) {
      throw StoreError(file, "read-only");
    }
    prepare(file, database);
    return database;
  } catch (const sqlite::Error& error) {
    throw StoreError(file, error.what());
  } catch (const fs::filesystem_error& error) {
    throw StoreError(file, error.code().message());
  }
}

}  // namespace cimd
