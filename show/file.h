// Files that are read as a whole, and the descriptors of files that are not.
#pragma once

#include <unistd.h>

#include <cstddef>
#include <fstream>
#include <string>
#include <utility>

namespace show {

// Owns a descriptor, or none if it is negative.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() { close(); }
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&&) = delete;
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int number() const { return number_; }
  void close() {
    if (number_ >= 0) {
      ::close(number_);
    }
    number_ = -1;
  }

 private:
  int number_;
};

// Throws std::system_error, whose text is "cannot read NAME: REASON".
[[noreturn]] void failToRead(const std::string& name, int error);

// The whole file. Throws as above: ENOENT if there is no such file, EISDIR or EINVAL for anything
// but a regular file, so that a pipe or a device cannot keep the reader waiting, and EFBIG for more
// bytes than `limit`.
std::string readFile(const std::string& name, std::size_t limit);

// Opens a file or a pipe, but no device, some of which never end. Throws as above, or
// std::runtime_error.
std::ifstream openFile(const std::string& name);
// Throws the same if the file fails, or has more bytes than `limit`.
std::string readWhole(std::istream& file, const std::string& name, std::size_t limit);

}  // namespace show
