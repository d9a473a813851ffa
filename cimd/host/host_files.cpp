#include "host/host_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <system_error>

namespace cimd::host {

namespace {

namespace fs = std::filesystem;

// Tables of large servers have some 100 KiB. The kernel writes some 2 KiB for each logical
// processor into cpuinfo.
constexpr std::size_t maxTableSize = std::size_t{4} << 20U;
constexpr std::size_t maxCpuinfoSize = std::size_t{32} << 20U;

class Descriptor {
 public:
  // Without waiting for a writer, should the file be a named pipe.
  explicit Descriptor(const fs::path& path)
      : number_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
  ~Descriptor() {
    if (number_ >= 0) {
      static_cast<void>(close(number_));
    }
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int number() const { return number_; }

 private:
  int number_;
};

enum class Outcome { read, missing, failed };

std::string systemError() {
  return std::generic_category().message(errno);
}

// To the end or until `limit` is passed: the kernel's files do not have a size. False,
// with errno set, when reading fails.
bool readAll(int descriptor, std::size_t limit, std::string& bytes) {
  std::array<char, 65536> buffer{};
  while (bytes.size() <= limit) {
    const ssize_t count = read(descriptor, buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count < 0) {
      return false;
    }
    if (count == 0) {
      return true;
    }
    bytes.append(buffer.data(), static_cast<std::size_t>(count));
  }
  return true;
}

// Fills `bytes` only where the outcome is `read`; adds a message only where it is `failed`.
Outcome readFile(const fs::path& path, std::size_t limit, std::optional<std::string>& bytes,
                 std::vector<std::string>& messages) {
  const Descriptor file(path);
  if (file.number() < 0) {
    if (errno == ENOENT || errno == ENOTDIR) {
      return Outcome::missing;
    }
    messages.push_back("cannot open " + path.string() + ": " + systemError());
    return Outcome::failed;
  }
  struct stat status {};
  std::string content;
  if (fstat(file.number(), &status) == 0 && !S_ISREG(status.st_mode)) {
    messages.push_back(path.string() + " is not a regular file");
  } else if (!readAll(file.number(), limit, content)) {
    messages.push_back("cannot read " + path.string() + ": " + systemError());
  } else if (content.size() > limit) {
    messages.push_back(path.string() + " is larger than " + std::to_string(limit >> 20U) + " MiB");
  } else {
    bytes = std::move(content);
    return Outcome::read;
  }
  return Outcome::failed;
}

std::string ownHostName() {
  std::array<char, HOST_NAME_MAX + 1> name{};
  // A name that was cut need not have a zero at its end.
  const bool isKnown = gethostname(name.data(), name.size() - 1) == 0 && name[0] != '\0';
  return isKnown ? name.data() : "localhost";
}

}  // namespace

HostSources recordedHost(const fs::path& directory) {
  return {directory, directory / "cpuinfo"};
}

HostBytes readHostBytes(const HostSources& sources) {
  HostBytes bytes;
  bytes.hostName = ownHostName();
  const Outcome entryPoint = readFile(sources.tablesDirectory / "smbios_entry_point", maxTableSize,
                                      bytes.entryPoint, bytes.messages);
  const Outcome table =
      readFile(sources.tablesDirectory / "DMI", maxTableSize, bytes.table, bytes.messages);
  bytes.areTablesUnreadable = entryPoint == Outcome::failed || table == Outcome::failed;
  readFile(sources.cpuinfo, maxCpuinfoSize, bytes.cpuinfo, bytes.messages);
  return bytes;
}

}  // namespace cimd::host
