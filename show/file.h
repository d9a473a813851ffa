// Reading whole files, and the descriptors of files that are not.
#pragma once

#include <unistd.h>

#include <cstddef>
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

// The whole file. Throws std::system_error, whose text is "cannot read NAME: REASON": ENOENT if
// there is no such file, EISDIR or EINVAL for anything but a regular file, so that a pipe or a
// device cannot keep the reader waiting, and EFBIG for more bytes than `limit`.
std::string readFile(const std::string& name, std::size_t limit);

// At most `limit` bytes of a file or pipe that a user has named, "-" for standard input. Devices
// are not read, because some never end. A named pipe is waited for until it has a writer, at most
// five seconds; that writer may take as long as it wants. Throws as above, or std::runtime_error.
std::string readInput(const std::string& name, std::size_t limit);
// The whole of it. Throws std::runtime_error also if it is larger than 64 MiB.
std::string readWholeInput(const std::string& name);

}  // namespace show
