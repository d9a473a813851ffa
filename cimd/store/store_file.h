// The file with the stored instances, and the journal beside it: created if missing, checked if
// present.
//
// A change is made in the file itself. Until it is complete, the journal, SQLite's rollback
// journal, has the pages as they were before. So whatever was acknowledged is in the file alone,
// and a crash leaves at most the one change in the journal that was being made. The journal is
// never removed, and keeps a minimum size: on a full disk there is still room in it for the pages
// that a deletion changes.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

#include "file.h"
#include "store/sqlite.h"

namespace cimd {

// The file cannot be used. what() is one line that names the file and the cause. Trying again helps
// only after someone has removed the cause.
class StoreError : public std::runtime_error {
 public:
  // Names the way out if the cause is damage.
  StoreError(const std::filesystem::path& file, const std::string& cause);
  // For a file that cannot be read.
  explicit StoreError(const FileError& error) : std::runtime_error(error.what()) {}
};

// In the rows of a store, FNV-1a over the texts in this order: a change of any one byte changes the
// result. SQLite's own check covers the structure of the file, not the bytes of a text. The byte
// after each text does not occur in UTF-8, so that moving a letter from one text to the next is a
// change, too.
std::int64_t rowChecksum(std::string_view nameSpace, std::string_view key,
                         std::string_view className, std::string_view instanceXml);

// The file with the suffix after its name, such as the journal of a store.
std::filesystem::path besides(const std::filesystem::path& file, const char* suffix);

class StoreFile {
 public:
  // Opens the file for this process alone, until this object is destroyed. Every committed
  // transaction is on the disk, whatever happens to the process or the machine.
  //
  // A missing file is created, readable by its owner only; its directory must exist. An empty file
  // or SQLite database is initialized. A file that an earlier version wrote, with a write-ahead
  // log, is converted. Symbolic links are followed; a file with a second name (a hard link) is
  // refused, since SQLite finds the journal by the name.
  //
  // Throws StoreError when the file cannot be read and written, is in use by another process, is
  // not a database of this program, was written by a newer version, is damaged, or is missing
  // although its journal is there. The check reads the whole file: about a second for 100,000
  // instances. A file of another program is left unchanged.
  static StoreFile open(const std::filesystem::path& file);

  sqlite::Connection& database() { return database_; }

  // A line about a damaged journal; empty when there is nothing to report.
  const std::string& warning() const { return warning_; }

  // Throws sqlite::Error when the file or its journal was moved or removed: a change would then not
  // be found again, or could not be undone after a crash.
  void checkPlace() const;

  // Gives some space of deleted instances back to the file system. True when there may be more.
  // Does nothing when that fails, for example on a full disk.
  bool returnSpace();

 private:
  StoreFile(const std::filesystem::path& journal, std::string warning, sqlite::Connection database);

  std::filesystem::path journal_;
  std::string warning_;
  sqlite::Connection database_;
  // The journal itself, so that another file of its name is noticed.
  dev_t journalDevice_ = 0;
  ino_t journalNumber_ = 0;
};

}  // namespace cimd
