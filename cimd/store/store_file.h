// The file with the stored instances: made where it is missing, checked where it is there.
#pragma once

#include <filesystem>

#include "store/sqlite.h"

namespace cimd {

// Opens the file for this process alone, until the connection is closed. Every committed
// transaction is on the disk, whatever happens to the process or the machine.
//
// A missing file is made, readable by its owner only; its folder must be there. An empty file or
// SQLite database is taken as new. Symbolic links are followed; a file with a second name (a hard
// link) is refused, since SQLite finds its log of changes by the name.
//
// Throws StoreError when the file cannot be read and written, is in use by another process, is no
// database of this program or one of a newer version, or is damaged. Reading it whole for that
// takes about a second for 100,000 instances. A file of another program is left unchanged.
sqlite::Connection openStoreFile(const std::filesystem::path& file);

}  // namespace cimd
