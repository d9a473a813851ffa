// The file with the stored instances: created if missing, checked if present.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

#include "store/sqlite.h"

namespace cimd {

// The file cannot be used. what() is one line that names the file and the cause. Trying again helps
// only after someone has removed the cause.
class StoreError : public std::runtime_error {
 public:
  StoreError(const std::filesystem::path& file, const std::string& cause)
      : std::runtime_error(file.string() + ": " + cause) {}
};

// Opens the file for this process alone, until the connection is closed. Every committed
// transaction is on the disk, whatever happens to the process or the machine.
//
// A missing file is created, readable by its owner only; its directory must exist. An empty file or
// SQLite database is initialized. Symbolic links are followed; a file with a second name (a hard
// link) is refused, since SQLite finds its log of changes by the name.
//
// Throws StoreError when the file cannot be read and written, is in use by another process, is not
// a database of this program, was written by a newer version, or is damaged. The check reads the
// whole file: about a second for 100,000 instances. A file of another program is left unchanged.
sqlite::Connection openStoreFile(const std::filesystem::path& file);

}  // namespace cimd
