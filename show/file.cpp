#include "file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace show {

void failToRead(const std::string& name, int error) {
  throw std::system_error(error, std::generic_category(), "cannot read " + name);
}

std::string readFile(const std::string& name, std::size_t limit) {
  const Descriptor file(open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat status = {};
  if (file.number() < 0 || fstat(file.number(), &status) != 0) {
    failToRead(name, errno);
  }
  if (!S_ISREG(status.st_mode)) {
    failToRead(name, S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
  }
  std::string text;
  std::array<char, 16384> buffer{};
  for (;;) {
    const ssize_t got = read(file.number(), buffer.data(), buffer.size());
    if (got == 0) {
      return text;
    }
    if (got < 0 && errno != EINTR) {
      failToRead(name, errno);
    }
    text.append(buffer.data(), got < 0 ? 0 : static_cast<std::size_t>(got));
    if (text.size() > limit) {
      failToRead(name, EFBIG);
    }
  }
}

std::ifstream openFile(const std::string& name) {
  std::error_code error;
  const auto status = std::filesystem::status(name, error);
  if (exists(status) && !is_regular_file(status) && !is_fifo(status)) {
    throw std::runtime_error("cannot read " + name + ": not a file");
  }
  errno = 0;
  std::ifstream file(name);
  if (!file.good()) {
    failToRead(name, errno != 0 ? errno : EIO);
  }
  return file;
}

std::string readWhole(std::istream& file, const std::string& name, std::size_t limit) {
  std::string text;
  std::array<char, 65536> block{};
  while (file && text.size() <= limit) {
    file.read(block.data(), block.size());
    text.append(block.data(), static_cast<std::size_t>(file.gcount()));
  }
  if (file.bad()) {
    failToRead(name, EIO);
  }
  if (text.size() > limit) {
    throw std::runtime_error(name + ": larger than " + std::to_string(limit >> 20U) + " MiB");
  }
  return text;
}

}  // namespace show
