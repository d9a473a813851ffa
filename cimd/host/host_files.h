// Brings the bytes from which the inventory of a host is made.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace cimd::host {

struct HostSources {
  // With the files smbios_entry_point and DMI.
  std::filesystem::path tablesDirectory = "/sys/firmware/dmi/tables";
  std::filesystem::path cpuinfo = "/proc/cpuinfo";
  // For people.
  std::string name = "the inventory of this machine (--host)";
};

// Tables that were recorded, with the file cpuinfo beside them where it was recorded too: the
// processors of this host say nothing about another one.
HostSources recordedHost(const std::filesystem::path& directory);

// Everything that the inventory is made from, so that root can be dropped before it is interpreted.
struct HostBytes {
  // HostSources::name.
  std::string source = {};
  // The name of this host, also beside recorded tables; never empty.
  std::string hostName;
  // Nothing for a file that does not exist or could not be read.
  std::optional<std::string> entryPoint;
  std::optional<std::string> table;
  std::optional<std::string> cpuinfo;
  // There are SMBIOS tables that this process cannot read (only root may read those of the kernel).
  // That differs from no tables: what they would say must not be replaced.
  bool areTablesUnreadable = false;
  // A sentence for the log for each file that could not be read, with the reason. A missing file is
  // not an error.
  std::vector<std::string> messages;
};

// Reads only regular files of limited size: neither a pipe nor an endless file can hold it up.
// Throws nothing but std::bad_alloc.
HostBytes readHostBytes(const HostSources& sources);

}  // namespace cimd::host
