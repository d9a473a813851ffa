#include "host/host_files.h"

#include <unistd.h>

#include <array>
#include <climits>

#include "file.h"

namespace cimd::host {

namespace {

namespace fs = std::filesystem;

// Tables of large servers have some 100 KiB. The kernel writes some 2 KiB for each logical
// processor into cpuinfo.
constexpr std::size_t maxTableSize = std::size_t{4} << 20U;
constexpr std::size_t maxCpuinfoSize = std::size_t{32} << 20U;

enum class Outcome { read, missing, failed };

// Fills `bytes` only where the outcome is `read`; adds a message only where it is `failed`.
Outcome readBytes(const fs::path& path, std::size_t limit, std::optional<std::string>& bytes,
                  std::vector<std::string>& messages) {
  try {
    bytes = readFile(path, limit, FileKind::regular);
    return Outcome::read;
  } catch (const FileError& error) {
    if (error.isMissing()) {
      return Outcome::missing;
    }
    messages.emplace_back(error.what());
    return Outcome::failed;
  }
}

std::string ownHostName() {
  std::array<char, HOST_NAME_MAX + 1> name{};
  // A name that was cut need not have a zero at its end.
  const bool isKnown = gethostname(name.data(), name.size() - 1) == 0 && name[0] != '\0';
  return isKnown ? name.data() : "localhost";
}

}  // namespace

HostSources recordedHost(const fs::path& directory) {
  return {directory, directory / "cpuinfo", "the recorded tables in " + directory.string()};
}

HostBytes readHostBytes(const HostSources& sources) {
  HostBytes bytes;
  bytes.source = sources.name;
  bytes.hostName = ownHostName();
  const Outcome entryPoint = readBytes(sources.tablesDirectory / "smbios_entry_point", maxTableSize,
                                       bytes.entryPoint, bytes.messages);
  const Outcome table =
      readBytes(sources.tablesDirectory / "DMI", maxTableSize, bytes.table, bytes.messages);
  bytes.areTablesUnreadable = entryPoint == Outcome::failed || table == Outcome::failed;
  readBytes(sources.cpuinfo, maxCpuinfoSize, bytes.cpuinfo, bytes.messages);
  return bytes;
}

}  // namespace cimd::host
