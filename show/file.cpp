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
  if (name == "-" || name == "/dev/stdin") {
    return readAtMost(limit, Descriptor(dup(STDIN_FILENO)), name);
  }
  const Descriptor file = openToRead(name);
  const mode_t mode = modeOf(file, name);
  if (S_ISDIR(mode)) {
    failToRead(name, EISDIR);
  }
  if (!S_ISREG(mode) && !S_ISFIFO(mode)) {
    throw std::runtime_error("cannot read " + name + ": not a file");
  }
  // Without a writer, a named pipe is at its end before it has begun: nothing to read then, but no
  // end to be seen either.
  pollfd entry = {file.number(), POLLIN, 0};
  const bool isSilent = poll(&entry, 1, writerPatience) == 0;
  std::string text = readAtMost(limit, file, name);
  if (isSilent && text.empty()) {
    throw std::runtime_error("cannot read " + name + ": nobody writes to the pipe");
  }
  return text;
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
