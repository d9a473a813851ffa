// Writes the readable part of a damaged store into a new one.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace cimd {

struct Recovery {
  // Written to the new store.
  std::size_t instances = 0;
  // A line for each instance or page that cannot be read.
  std::vector<std::string> unreadable;
};

// Reads the pages of the store, whatever the state of its structure, and writes every instance with
// a right checksum to `target`, in order of creation. The store is not changed. Throws StoreError
// when it is in use or holds nothing of this program, and when `target` exists or cannot be
// written.
Recovery recoverStore(const std::filesystem::path& store, const std::filesystem::path& target);

}  // namespace cimd
