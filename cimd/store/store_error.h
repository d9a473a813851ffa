// Why the file with the stored instances cannot be used.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

namespace cimd {

// what() is one line that names the file and the cause. Trying again helps only after someone has
// removed the cause.
class StoreError : public std::runtime_error {
 public:
  StoreError(const std::filesystem::path& file, const std::string& cause)
      : std::runtime_error(file.string() + ": " + cause) {}
};

}  // namespace cimd
