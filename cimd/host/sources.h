// The sources of the inventory of a host beside the structures of SMBIOS: its files, cpuinfo, and
// models of machines whose product names have no machine type.
#pragma once

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
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
  // HostSources::tablesDirectory.
  std::string directory = {};
  // The name of this host, also beside recorded tables; never empty.
  std::string hostName;
  // Nothing for a file that does not exist or could not be read.
  std::optional<std::string> entryPoint;
  std::optional<std::string> table;
  std::optional<std::string> cpuinfo;
  // There are SMBIOS tables that this process cannot read (only root may read those of the kernel).
  // That differs from no tables: nothing may be served in their place.
  bool areTablesUnreadable = false;
  // A sentence for the log for each file that could not be read, with the reason. A missing file is
  // not an error.
  std::vector<std::string> messages;
};

// Reads only regular files of limited size: neither a pipe nor an endless file can hold it up.
// Throws nothing but std::bad_alloc.
HostBytes readHostBytes(const HostSources& sources);

// A physical package of processors, by its first logical processor. A view: it lives as long as the
// text.
struct CpuPackage {
  std::string_view name;
  // Rounded to whole megahertz.
  std::optional<Pegasus::Uint32> megahertz;
};

// The packages in the text of /proc/cpuinfo, by their numbers. The file lists logical processors;
// those without the number of their package (kernels for one package, and most architectures but
// x86) count as parts of package 0.
std::map<Pegasus::Uint32, CpuPackage> readCpuinfo(std::string_view text);

struct Models {
  // For every machine, before the others.
  std::optional<Pegasus::String> any = {};
  // By the product name of the firmware, without the blanks around it.
  std::map<Pegasus::String, Pegasus::String> byProduct = {};

  // Nothing if the product name stays what it is.
  std::optional<Pegasus::String> modelOf(const std::optional<std::string_view>& product) const;
};

// Lines of the form "ProServer 5 = 1234-ABC": the first "=" ends the product name, and blanks
// around both are ignored. Blank lines and those that begin with "#" are, too. Throws
// std::runtime_error "FILE:LINE: ..." for a line of another form, a text that is not UTF-8 or has
// control characters, and a product name that an earlier line has.
std::map<Pegasus::String, Pegasus::String> parseModels(std::string_view text,
                                                       const std::string& fileName);

}  // namespace cimd::host
