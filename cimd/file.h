// Reads files as a whole.
#pragma once

#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace cimd {

// A file that cannot be read. what() names it and the reason, in one line for people.
class FileError : public std::runtime_error {
 public:
  FileError(const std::string& text, bool isMissing)
      : std::runtime_error(text), isMissing_(isMissing) {}

  // True when there is no such file, which need not be a fault.
  bool isMissing() const { return isMissing_; }

 private:
  bool isMissing_;
};

enum class FileKind {
  any,
  // Pipes and devices are refused: they could keep the reader waiting.
  regular,
};

// The bytes of the file. Throws FileError, also for a file of more than `limit` bytes, of which no
// more than that are read.
std::string readFile(const std::filesystem::path& path, std::size_t limit, FileKind kind);

}  // namespace cimd
