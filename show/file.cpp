#include "file.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace show {

namespace {

constexpr int writerPatience = 5000;  // in milliseconds

[[noreturn]] void failToRead(const std::string& name, int error) {
  throw std::system_error(error, std::generic_category(), "cannot read " + name);
}

// Without blocking, which an open of a named pipe does until somebody writes to it.
Descriptor openToRead(const std::string& name) {
  Descriptor file(open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (file.number() < 0) {
    failToRead(name, errno);
  }
  return file;
}

mode_t modeOf(const Descriptor& file, const std::string& name) {
  struct stat status = {};
  if (fstat(file.number(), &status) != 0) {
    failToRead(name, errno);
  }
  return status.st_mode;
}

std::string readAtMost(std::size_t limit, const Descriptor& file, const std::string& name) {
  std::string text;
  std::array<char, 16384> buffer{};
  while (text.size() < limit) {
    const ssize_t got =
        read(file.number(), buffer.data(), std::min(buffer.size(), limit - text.size()));
    if (got == 0) {
      break;
    }
    if (got > 0) {
      text.append(buffer.data(), static_cast<std::size_t>(got));
    } else if (errno == EAGAIN) {
      pollfd entry = {file.number(), POLLIN, 0};
      poll(&entry, 1, -1);
    } else if (errno != EINTR) {
      failToRead(name, errno);
    }
  }
  return text;
}

}  // namespace

std::string readFile(const std::string& name, std::size_t limit) {
  const Descriptor file = openToRead(name);
  const mode_t mode = modeOf(file, name);
  if (!S_ISREG(mode)) {
    failToRead(name, S_ISDIR(mode) ? EISDIR : EINVAL);
  }
  std::string text = readAtMost(limit + 1, file, name);
  if (text.size() > limit) {
    failToRead(name, EFBIG);
  }
  return text;
}

std::string readInput(const std::string& name, std::size_t limit) {
  // The name would not open a socket.
  if (name == "-" || name == "/dev/stdin") {
    return readAtMost(limit, Descriptor(dup(STDIN_FILENO)), name);
  }
  const Descriptor file = openToRead(name);
  const mode_t mode = modeOf(file, name);
  if (S_ISDIR(mode)) {
    failToRead(name, EISDIR);
  }
  if (!S_ISREG(mode) && !S_ISFIFO(mode)) {
    throw std::runtime_error("cannot read " + name + ": not a file or pipe");
  }
  // A named pipe without a writer gives no bytes and no end; a read then says at once that there
  // are none, and that it must wait if there is a silent writer.
  pollfd entry = {file.number(), POLLIN, 0};
  std::string first;
  if (poll(&entry, 1, writerPatience) == 0) {
    first = std::string(1, '\0');
    const ssize_t got = read(file.number(), first.data(), 1);
    if (got == 0) {
      throw std::runtime_error("cannot read " + name + ": nobody writes to the pipe");
    }
    first.resize(got > 0 ? 1 : 0);
  }
  return first + readAtMost(limit - first.size(), file, name);
}

std::string readWholeInput(const std::string& name) {
  constexpr std::size_t largest = std::size_t{64} << 20U;
  std::string text = readInput(name, largest + 1);
  if (text.size() > largest) {
    throw std::runtime_error(name + ": larger than 64 MiB");
  }
  return text;
}

}  // namespace show
