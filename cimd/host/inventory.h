// The inventory of a host: what its firmware and its kernel say about system, processors and
// memory, and that as instances of the KVAXDT classes. Needs no privileges and opens nothing.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/host_files.h"
#include "host/models.h"

namespace cimd::host {

struct SystemFacts {
  // Missing also when the firmware has only a placeholder that its maker left. The model is the
  // product name, every character as the firmware has it: it holds the machine type.
  std::optional<Pegasus::String> model;
  std::optional<Pegasus::String> serialNumber;
  std::optional<Pegasus::String> manufacturer = {};
};

// Texts that the maker wrote into a part. Placeholders are missing here, too.
struct MakersFacts {
  std::optional<Pegasus::String> manufacturer;
  std::optional<Pegasus::String> partNumber;
  std::optional<Pegasus::String> serialNumber;
};

// One populated socket.
struct ProcessorFacts {
  // At most 64 characters, unique, the same in every run.
  Pegasus::String deviceId;
  std::optional<Pegasus::String> name;
  std::optional<Pegasus::Uint32> clockMegahertz;
  std::optional<Pegasus::Uint32> maxClockMegahertz = {};
  std::optional<Pegasus::Uint16> enabledCores = {};
  MakersFacts makers = {};
};

// One populated slot.
struct MemoryFacts {
  // At most 256 characters, unique, the same in every run.
  Pegasus::String tag;
  // The name of the slot, which another one may have too.
  std::optional<Pegasus::String> locator = {};
  std::optional<Pegasus::String> bankLabel = {};
  std::optional<Pegasus::Uint64> capacityBytes = {};
  // A value of CIM_PhysicalMemory.MemoryType, such as 26 for DDR4.
  std::optional<Pegasus::Uint16> memoryType = {};
  // In megahertz, as DMTF names it; firmware gives the number of transfers.
  std::optional<Pegasus::Uint32> maxSpeed = {};
  std::optional<Pegasus::Uint32> configuredSpeed = {};
  MakersFacts makers = {};
};

struct Inventory {
  std::optional<SystemFacts> system;
  std::vector<ProcessorFacts> processors;
  std::vector<MemoryFacts> memory;
  // For the log, one sentence each: what is missing or damaged, and what was done about it.
  std::vector<std::string> messages;
};

// From the SMBIOS tables; processors from cpuinfo when there are no tables or they do not mention
// processors. The two are never mixed, so a clock speed that the firmware does not know is missing.
// Messages of `bytes` come first. Never fails: what cannot be understood is missing in the result.
// A model that `models` has takes the place of the product name; with Models::any, also where there
// is no product name, unless the tables cannot be read.
Inventory takeInventory(const HostBytes& bytes, const Models& models = {});

// One processor for each physical package in the text of /proc/cpuinfo, by rising number. The file
// lists logical processors; those without the number of their package (kernels for one package, and
// most architectures but x86) count as parts of a single package. The clock is that of the first
// logical processor of the package, rounded to whole megahertz.
std::vector<ProcessorFacts> readCpuinfo(std::string_view text);

// One KVAXDT_ComputerSystemDetails at most, then KVAXDT_Processor, then KVAXDT_PhysicalMemory; the
// latter two in the order of the firmware. Names of properties, their order and their types are
// those of kvaxdt.mof; each instance has all of them, null for what is not known. They have no path
// yet. `hostName` names the system.
std::vector<Pegasus::CIMInstance> makeInstances(const Inventory& inventory,
                                                const std::string& hostName);

struct HostInventory {
  std::vector<Pegasus::CIMInstance> instances;
  // For the log, one sentence each.
  std::vector<std::string> messages;
};

HostInventory describeHost(const HostBytes& bytes, const Models& models = {});

}  // namespace cimd::host
