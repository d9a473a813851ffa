#include "input.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace lint {

namespace {

constexpr std::chrono::seconds writerPatience{5};

[[noreturn]] void failToRead(int error) {
  throw std::system_error(error, std::generic_category());
}

class Descriptor {
 public:
  // Without blocking, which an open of a named pipe does until somebody writes to it.
  explicit Descriptor(const std::string& name)
      : number_(name == "-" ? dup(STDIN_FILENO)
                            : open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {
    if (number_ < 0) {
      failToRead(errno);
    }
  }
  ~Descriptor() { close(number_); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  Descriptor(Descriptor&&) = delete;
  Descriptor& operator=(Descriptor&&) = delete;
  int number() const { return number_; }

 private:
  int number_;
};

// Whether the descriptor is of a pipe. Devices are not read: some of them never end.
bool isPipe(int descriptor, const std::string& name) {
  struct stat status = {};
  if (fstat(descriptor, &status) != 0) {
    failToRead(errno);
  }
  if (name != "-" && !S_ISREG(status.st_mode) && !S_ISFIFO(status.st_mode)) {
    throw std::runtime_error(S_ISDIR(status.st_mode) ? "is a directory" : "is not a file");
  }
  return S_ISFIFO(status.st_mode);
}

void sleepUntilReadable(int descriptor) {
  pollfd entry = {descriptor, POLLIN, 0};
  poll(&entry, 1, -1);
}

}  // namespace

std::string readInput(const std::string& name, std::size_t limit) {
  const Descriptor file(name);
  // Without a writer, a named pipe is at its end before it has begun.
  bool mayBegin = isPipe(file.number(), name) && name != "-";
  const auto end = std::chrono::steady_clock::now() + writerPatience;
  std::string text;
  std::array<char, 16384> buffer{};
  while (text.size() < limit) {
    const ssize_t got =
        read(file.number(), buffer.data(), std::min(buffer.size(), limit - text.size()));
    if (got > 0) {
      text.append(buffer.data(), static_cast<std::size_t>(got));
      mayBegin = false;
    } else if (got == 0 && !mayBegin) {
      break;
    } else if (got == 0) {
      if (std::chrono::steady_clock::now() > end) {
        throw std::runtime_error("nobody writes to the pipe");
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    } else if (errno == EAGAIN) {
      mayBegin = false;
      sleepUntilReadable(file.number());
    } else if (errno != EINTR) {
      failToRead(errno);
    }
  }
  return text;
}

}  // namespace lint
