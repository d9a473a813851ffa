// The inventory of a host as instances of the KVAXDT classes: what its firmware and its kernel say
// about system, processors and memory. Needs no privileges and opens nothing.
#pragma once

#include <Pegasus/Common/CIMInstance.h>

#include <string>
#include <vector>

#include "host/sources.h"

namespace cimd::host {

struct Inventory {
  // One KVAXDT_ComputerSystemDetails at most, then a KVAXDT_Processor for each populated socket,
  // then a KVAXDT_PhysicalMemory for each populated slot; the latter two in the order of the
  // firmware, with the same keys in every run. Names of properties, their order and their types are
  // those of kvaxdt.mof; each instance has all of them, null for what is not known. They have no
  // path yet.
  std::vector<Pegasus::CIMInstance> instances;
  // For the log, one sentence each: what is missing or damaged, and what was done about it.
  std::vector<std::string> messages;
};

// From the SMBIOS tables; processors from cpuinfo when there are no tables or they do not mention
// processors. The two are never mixed, so a clock speed that the firmware does not know is missing.
// Placeholders that a maker left are missing, too. Messages of `bytes` come first. Never fails:
// what cannot be understood is missing in the result.
//
// The model is the product name, every character as the firmware has it, since it holds the machine
// type. A model that `models` has takes its place; with Models::any, also where there is no product
// name, unless the tables cannot be read.
Inventory takeInventory(const HostBytes& bytes, const Models& models = {});

}  // namespace cimd::host
