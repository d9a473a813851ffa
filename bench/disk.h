// How fast the disk makes a small write durable: what bounds every durable change.
#pragma once

#include <cstdint>
#include <filesystem>

namespace bench {

// A file of its own, removed at the end.
class Disk {
 public:
  // Throws std::system_error when it cannot write there.
  explicit Disk(const std::filesystem::path& folder);
  ~Disk();
  Disk(const Disk&) = delete;
  Disk& operator=(const Disk&) = delete;

  // Writes 4 KiB so many times, each with fdatasync() before the next. The seconds that it took.
  double write(std::uint64_t times) const;

 private:
  std::filesystem::path path_;
  int file_;
};

}  // namespace bench
