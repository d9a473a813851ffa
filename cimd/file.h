// Files of the system: open ones, and the bytes of whole ones.
#pragma once

#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace cimd {

// An open file or socket, closed at the end.
class Descriptor {
 public:
  // A negative number, as the system returns for an error, is none.
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor();
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  bool isOpen() const { return number_ >= 0; }
  int number() const { return number_; }

 private:
  int number_;
};

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
