#include "file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace cimd {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void throwSystemError(const char* action, const fs::path& path) {
  const int error = errno;
  throw FileError(std::string("cannot ") + action + " " + path.string() + ": " +
                      std::generic_category().message(error),
                  error == ENOENT || error == ENOTDIR);
}

}  // namespace

Descriptor::~Descriptor() {
  if (isOpen()) {
    static_cast<void>(close(number_));
  }
}

std::string readFile(const fs::path& path, std::size_t limit, FileKind kind) {
  const bool isRegularOnly = kind == FileKind::regular;
  // Without waiting for a writer, should a file that must be regular be a named pipe.
  const int flags = O_RDONLY | O_CLOEXEC | (isRegularOnly ? O_NONBLOCK : 0);
  const Descriptor file(open(path.c_str(), flags));
  if (!file.isOpen()) {
    throwSystemError("open", path);
  }
  struct stat status = {};
  if (isRegularOnly && fstat(file.number(), &status) == 0 && !S_ISREG(status.st_mode)) {
    throw FileError(path.string() + " is not a regular file", false);
  }
  // To the end, since the files of the kernel do not report their sizes.
  std::string bytes;
  std::array<char, 65536> buffer{};
  for (;;) {
    const ssize_t count = read(file.number(), buffer.data(), buffer.size());
    if (count == 0) {
      return bytes;
    }
    if (count > 0) {
      bytes.append(buffer.data(), static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      throwSystemError("read", path);
    }
    if (bytes.size() > limit) {
      throw FileError(path.string() + " is larger than " + std::to_string(limit >> 20U) + " MiB",
                      false);
    }
  }
}

}  // namespace cimd
