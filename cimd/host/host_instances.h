// The host's inventory as instances of the KVAXDT classes.
#pragma once

#include <Pegasus/Common/CIMInstance.h>

#include <string>
#include <vector>

#include "host/host_files.h"
#include "host/inventory.h"

namespace cimd::host {

struct HostInventory {
  // One KVAXDT_ComputerSystemDetails at most, then KVAXDT_Processor, then KVAXDT_PhysicalMemory;
  // the latter two in the order of the firmware. Names of properties, their order and their types
  // are those of kvaxdt.mof; each instance has all of them, null where the host does not tell. They
  // have no path yet.
  std::vector<Pegasus::CIMInstance> instances;
  // For the log, one sentence each.
  std::vector<std::string> messages;
};

// The instances of an inventory; `hostName` names the system.
std::vector<Pegasus::CIMInstance> makeInstances(const Inventory& inventory,
                                                const std::string& hostName);

// Needs no privileges and opens nothing.
HostInventory describeHost(const HostBytes& bytes);

// Reads and describes. With the default sources on a host with SMBIOS, this takes root.
HostInventory readHost(const HostSources& sources);

}  // namespace cimd::host
