#include "store/store_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>
#include <system_error>

namespace cimd {

namespace {

namespace fs = std::filesystem;
using sqlite::Connection;

// Marks the files of this program: the bytes of "mvkd".
constexpr std::int64_t applicationId = 0x6D766B64;
// To be raised with every change of the table or of its content.
constexpr std::int64_t formatVersion = 1;

// The smallest size of the journal. The deletion of an instance changes a dozen pages of 4 KiB.
constexpr std::size_t journalReserve = 256 << 10;

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
// Rows that could not be read and had the name of a new instance, kept for people to look at.
constexpr const char* setAsideTableText =
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
  const Descriptor created(open(file.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0600));
  if (!created.isOpen() && errno != EEXIST) {
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

std::uint32_t bigEndian(std::string_view bytes, std::size_t position) {
  std::uint32_t number = 0;
  for (const char byte : bytes.substr(position, 4)) {
    number = number << 8U | static_cast<unsigned char>(byte);
  }
  return number;
}

// The sum that SQLite writes after each page in the journal: of some of its bytes only.
std::uint32_t pageSum(std::uint32_t nonce, std::string_view page) {
  constexpr std::size_t distance = 200;
  std::uint32_t sum = nonce;
  for (std::size_t i = page.size() - distance; i > 0 && i < page.size(); i -= distance) {
    sum += static_cast<unsigned char>(page[i]);
  }
  return sum;
}

// "The Rollback Journal" in SQLite's description of its file format.
struct JournalHeader {
  static constexpr std::size_t size = 28;
  static constexpr std::string_view magic = "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7";

  // The journal has at least `size` bytes.
  explicit JournalHeader(std::string_view journal)
      : isValid(journal.starts_with(magic)),
        pages(bigEndian(journal, 8)),
        nonce(bigEndian(journal, 12)),
        pagesBefore(bigEndian(journal, 16)),
        sectorSize(bigEndian(journal, 20)),
        pageSize(bigEndian(journal, 24)) {}

  bool isValid;
  std::size_t pages;
  std::uint32_t nonce;
  // The number of pages of the file before the change.
  std::uint32_t pagesBefore;
  std::size_t sectorSize;
  std::size_t pageSize;
};

// All of it; empty if there is none.
std::string readJournal(const fs::path& journal) {
  try {
    return readFile(journal, std::size_t{1} << 30U, FileKind::regular);
  } catch (const FileError& error) {
    if (error.isMissing()) {
      return "";
    }
    throw StoreError(error);
  }
}

// SQLite would take a journal, or the log of an earlier version, for nothing. The file that it
// belongs to is gone or was emptied: the owner has to decide. The file is rightly empty when its
// very first change was not completed.
void refuseLostFile(const fs::path& file, const fs::path& real) {
  if (fs::file_size(real) != 0) {
    return;
  }
  const fs::path log = besides(real, "-wal");
  const fs::path journal = besides(real, "-journal");
  const std::string bytes = readJournal(journal);
  const bool isJournalOfContent =
      bytes.size() >= JournalHeader::size &&
      (JournalHeader(bytes).sectorSize == 0 || JournalHeader(bytes).pagesBefore != 0);
  const bool isLogThere = fs::exists(log) && fs::file_size(log) > 0;
  if (isJournalOfContent || isLogThere) {
    throw StoreError(file, "missing or empty, but " + (isLogThere ? log : journal).string() +
                               " is there; restore the file, or remove that one to start anew");
  }
}

// Whether a change that was being made cannot be undone as it should: the journal is in use, as its
// first byte shows, and is not as SQLite wrote it. SQLite itself undoes what comes before the first
// wrong page, without a message.
bool isDamaged(std::string_view journal) {
  if (journal.empty() || journal[0] == '\0') {
    return false;
  }
  if (journal.size() < JournalHeader::size || !JournalHeader(journal).isValid) {
    return true;
  }
  const JournalHeader header(journal);
  const std::size_t recordSize = 4 + header.pageSize + 4;
  if (header.pageSize < 512 || header.pageSize > 65536 || header.sectorSize > 65536 ||
      header.sectorSize + header.pages * recordSize > journal.size()) {
    return true;
  }
  for (std::size_t i = 0; i < header.pages; ++i) {
    const std::size_t page = header.sectorSize + i * recordSize + 4;
    if (bigEndian(journal, page + header.pageSize) !=
        pageSum(header.nonce, journal.substr(page, header.pageSize))) {
      return true;
    }
  }
  return false;
}

// Whether a new store with what is readable of this one would help.
bool isForRecovery(std::string_view cause) {
  return cause.starts_with("damaged") || cause.starts_with("not an SQLite database");
}

bool isEmptyDatabase(Connection& database) {
  return database.integer("PRAGMA application_id") == 0 &&
         database.integer("PRAGMA user_version") == 0 &&
         database.integer("SELECT count(*) FROM sqlite_schema") == 0;
}

void initialize(Connection& database) {
  database.execute(tableText);
  database.execute(setAsideTableText);
  database.execute(("PRAGMA application_id = " + std::to_string(applicationId)).c_str());
  database.execute(("PRAGMA user_version = " + std::to_string(formatVersion)).c_str());
}

void checkIdentity(Connection& database) {
  if (database.integer("PRAGMA application_id") != applicationId) {
    throw sqlite::Error("a database of another program");
  }
  const std::int64_t version = database.integer("PRAGMA user_version");
  if (version > formatVersion) {
    throw sqlite::Error("written by a newer version of this program (format " +
                        std::to_string(version) + ", this one reads up to " +
                        std::to_string(formatVersion) + ")");
  }
  if (version != formatVersion) {
    throw sqlite::Error("damaged: format " + std::to_string(version) + " does not exist");
  }
}

// Also what is in a sound database may have been changed: a table without its constraints, or a
// trigger.
void checkTables(Connection& database) {
  constexpr const char* tableQuery = "SELECT sql FROM sqlite_schema WHERE name = 'instance'";
  constexpr const char* setAsideQuery = "SELECT sql FROM sqlite_schema WHERE name = 'set_aside'";
  // The third is the index of the table's UNIQUE.
  if (database.text(tableQuery) != tableText || database.text(setAsideQuery) != setAsideTableText ||
      database.integer("SELECT count(*) FROM sqlite_schema") != 3) {
    throw sqlite::Error("damaged: the tables are not those of format " +
                        std::to_string(formatVersion));
  }
}

void checkContent(Connection& database) {
  // The quick check does not look whether the index finds the rows; a change to the wrong row or a
  // second row for one instance would be the result.
  const std::string finding = database.text("PRAGMA integrity_check(1)");
  if (finding != "ok") {
    throw sqlite::Error("damaged: " + finding);
  }
}

void prepare(Connection& database, bool isNew) {
  // Exclusive before the first access: two servers on one file would each serve what the other does
  // not know.
  database.execute("PRAGMA locking_mode = EXCLUSIVE");
  database.execute("PRAGMA synchronous = FULL");
  database.execute("PRAGMA cell_size_check = ON");
  database.execute("PRAGMA temp_store = MEMORY");
  // Overwriting the pages of a deleted instance would take as much room in the journal.
  database.execute("PRAGMA secure_delete = FAST");
  if (isNew) {  // later it has no effect
    database.execute("PRAGMA auto_vacuum = INCREMENTAL");
  }
  {
    sqlite::Transaction transaction(database);
    if (isEmptyDatabase(database)) {
      initialize(database);
    }
    checkIdentity(database);
    checkTables(database);
    checkContent(database);
    transaction.commit();
  }
  // An earlier version's log is moved into the file.
  if (database.text("PRAGMA journal_mode = PERSIST") != "persist") {
    throw sqlite::Error("cannot switch to a rollback journal");
  }
  database.execute(("PRAGMA journal_size_limit = " + std::to_string(journalReserve)).c_str());
}

// So that space comes back from a file of an earlier version, too.
void convert(Connection& database) {
  constexpr std::int64_t incremental = 2;
  if (database.integer("PRAGMA auto_vacuum") == incremental) {
    return;
  }
  try {
    database.execute("PRAGMA auto_vacuum = INCREMENTAL");
    database.execute("VACUUM");
  } catch (const sqlite::Error&) {
    // Most likely there is no space for a second copy. The next start tries again.
  }
}

void syncDirectory(const fs::path& directory) {
  const Descriptor opened(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (opened.isOpen()) {
    fsync(opened.number());
  }
}

// Makes the journal, or extends it to its minimum size. The new part is zeros, which to SQLite is a
// journal that is not in use. On a full disk it stays shorter: the next start tries again.
void reserveJournal(const fs::path& journal) {
  const Descriptor file(
      open(journal.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!file.isOpen()) {
    failWithErrno(journal, "cannot open");
  }
  static constexpr std::array<char, 4096> zeros{};
  struct stat status = {};
  while (fstat(file.number(), &status) == 0 &&
         static_cast<std::size_t>(status.st_size) < journalReserve &&
         write(file.number(), zeros.data(), zeros.size()) > 0) {
  }
  fsync(file.number());
  syncDirectory(journal.parent_path());
}

}  // namespace

fs::path besides(const fs::path& file, const char* suffix) {
  fs::path name = file;
  name += suffix;
  return name;
}

StoreError::StoreError(const fs::path& file, const std::string& cause)
    : std::runtime_error(file.string() + ": " + cause +
                         (isForRecovery(cause) ? "; 'morvik-cimd --recover " + file.string() +
                                                     "' writes what is readable into a new store"
                                               : "")) {}

std::int64_t rowChecksum(std::string_view nameSpace, std::string_view key,
                         std::string_view className, std::string_view instanceXml) {
  constexpr std::uint64_t prime = 0x100000001B3;
  std::uint64_t sum = 0xCBF29CE484222325;
  for (const std::string_view text : {nameSpace, key, className, instanceXml}) {
    for (const char byte : text) {
      sum = (sum ^ static_cast<unsigned char>(byte)) * prime;
    }
    sum = (sum ^ 0xFF) * prime;
  }
  return static_cast<std::int64_t>(sum);
}

StoreFile StoreFile::open(const fs::path& file) {
  createIfMissing(file);
  std::string warning;
  try {
    const fs::path real = locate(file);
    refuseLostFile(file, real);
    const bool isNew = fs::file_size(real) == 0;
    const fs::path journal = besides(real, "-journal");
    Connection database(real.string(), maxLength);
    if (database.isReadOnly()) {
      throw sqlite::Error("read-only");
    }
    if (isDamaged(readJournal(journal))) {
      warning =
          journal.string() + " is damaged: 1 change, which was not acknowledged, cannot be undone";
    }
    prepare(database, isNew);
    convert(database);
    reserveJournal(journal);
    return {journal, std::move(warning), std::move(database)};
  } catch (const sqlite::Error& error) {
    const std::string cause = error.what();
    throw StoreError(
        file, isForRecovery(cause) && !warning.empty() ? cause + " (" + warning + ")" : cause);
  } catch (const fs::filesystem_error& error) {
    throw StoreError(file, error.code().message());
  }
}

StoreFile::StoreFile(const fs::path& journal, std::string warning, Connection database)
    : journal_(journal), warning_(std::move(warning)), database_(std::move(database)) {
  struct stat status = {};
  if (stat(journal_.c_str(), &status) == 0) {
    journalDevice_ = status.st_dev;
    journalNumber_ = status.st_ino;
  }
}

void StoreFile::checkPlace() const {
  if (database_.isMoved()) {
    throw sqlite::Error("the file was moved or removed");
  }
  struct stat status = {};
  if (stat(journal_.c_str(), &status) != 0 || status.st_dev != journalDevice_ ||
      status.st_ino != journalNumber_) {
    throw sqlite::Error(journal_.string() + " was moved or removed; restart the server");
  }
}

bool StoreFile::returnSpace() {
  try {
    checkPlace();
    if (database_.integer("PRAGMA freelist_count") == 0) {
      return false;
    }
    try {
      database_.execute("PRAGMA incremental_vacuum(256)");
    } catch (const sqlite::Error&) {
      // For so few pages there is room in the journal on a full disk, too.
      database_.execute("PRAGMA incremental_vacuum(16)");
    }
    return database_.integer("PRAGMA freelist_count") != 0;
  } catch (const sqlite::Error&) {
    return false;
  }
}

}  // namespace cimd
