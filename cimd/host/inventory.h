// What a host is made of, as far as KVAXDT asks.
#pragma once

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>

#include <optional>
#include <string>
#include <vector>

#include "host/host_files.h"

namespace cimd::host {

struct SystemFacts {
  // The product name, every character as the firmware has it: it holds the machine type.
  std::optional<Pegasus::String> model;
  // Missing also where firmware has nothing but the text that its maker left for a number.
  std::optional<Pegasus::String> serialNumber;
};

// One populated socket.
struct ProcessorFacts {
  // At most 64 characters, unlike those of all others, the same in every run.
  Pegasus::String deviceId;
  std::optional<Pegasus::String> name;
  std::optional<Pegasus::Uint32> clockMegahertz;
};

// One populated slot.
struct MemoryFacts {
  // At most 256 characters, unlike those of all others, the same in every run.
  Pegasus::String tag;
  std::optional<Pegasus::String> bankLabel;
  std::optional<Pegasus::Uint64> capacityBytes;
};

struct Inventory {
  std::optional<SystemFacts> system;
  std::vector<ProcessorFacts> processors;
  std::vector<MemoryFacts> memory;
  // For the log, one sentence each: what is missing or damaged, and what was done about it.
  std::vector<std::string> messages;
};

// From the SMBIOS tables, processors from cpuinfo where there are no tables or where they do not
// mention processors. Nothing from cpuinfo stands beside what the tables say, so a clock speed that
// the firmware does not know is missing. Messages of `bytes` come first. Never fails: what cannot
// be understood is missing in the result.
Inventory takeInventory(const HostBytes& bytes);

}  // namespace cimd::host
