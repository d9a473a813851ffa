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
};

// Tables that were recorded, with the file cpuinfo beside them where it was recorded too: the
// processors of this host say nothing about another one.
HostSources recordedHost(const std::filesystem::path& directory);

// All that is needed to tell the inventory, so that whoever holds this needs no privileges any
// more.
struct HostBytes {
  // The name of this host, also beside recorded tables; never empty.
  std::string hostName;
  // Of tables and cpuinfo, what is missing where the file does not exist or could not be read.
  std::optional<std::string> entryPoint;
  std::optional<std::string> table;
  std::optional<std::string> cpuinfo;
  // There are SMBIOS tables which this process may not or cannot read (only root may read those of
  // the kernel). They are not the same as no tables: what they would say is not to be replaced.
  bool areTablesUnreadable = false;
  // What could not be read and why, for the log, one sentence each. A file that does not exist is
  // no fault.
  std::vector<std::string> messages;
};

// Takes regular files of limited size only: neither a pipe nor an endless file can hold it up.
// Throws nothing but std::bad_alloc.
HostBytes readHostBytes(const HostSources& sources);

}  // namespace cimd::host
