#include "disk.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <string>
#include <system_error>

namespace bench {

namespace {

constexpr std::size_t blockSize = 4096;
// As large as the log of a database: writes go round in it, so the file does not grow.
constexpr off_t blocks = 1000;

[[noreturn]] void fail() {
  throw std::system_error(errno, std::system_category(), "cannot write to the disk");
}

void writeBlock(int file, off_t number) {
  static const std::string block(blockSize, 'x');
  if (pwrite(file, block.data(), block.size(), number * static_cast<off_t>(blockSize)) !=
      static_cast<ssize_t>(block.size())) {
    fail();
  }
}

void sync(int file) {
  if (fdatasync(file) != 0) {
    fail();
  }
}

}  // namespace

Disk::Disk(const std::filesystem::path& folder)
    : path_(folder / "sync-probe"),
      file_(open(path_.c_str(), O_CREAT | O_TRUNC | O_RDWR | O_CLOEXEC, 0600)) {
  for (off_t block = 0; block < blocks; ++block) {
    writeBlock(file_, block);
  }
  sync(file_);
}

Disk::~Disk() {
  close(file_);
  unlink(path_.c_str());
}

double Disk::write(std::uint64_t times) const {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  for (std::uint64_t time = 0; time < times; ++time) {
    writeBlock(file_, static_cast<off_t>(time) % blocks);
    sync(file_);
  }
  return std::chrono::duration<double>(Clock::now() - start).count();
}

}  // namespace bench
