#include "host/host_instances.h"

#include "host/host_text.h"

namespace cimd::host {

namespace {

using Pegasus::CIMInstance;
using Pegasus::CIMProperty;
using Pegasus::CIMType;
using Pegasus::CIMValue;
using Pegasus::String;

// MaxLen of the property in the class.
constexpr std::size_t maxSystemName = 256;

// Null, of the given type, where there is no value.
template <typename Value>
CIMProperty property(const char* name, const std::optional<Value>& value, CIMType type) {
  return {name, value ? CIMValue(*value) : CIMValue(type, false)};
}

CIMInstance systemInstance(const SystemFacts& facts, const std::string& hostName) {
  CIMInstance instance("KVAXDT_ComputerSystemDetails");
  instance.addProperty({"name", CIMValue(cut(toText(hostName), maxSystemName))});
  instance.addProperty(property("model", facts.model, Pegasus::CIMTYPE_STRING));
  instance.addProperty(property("serialNumber", facts.serialNumber, Pegasus::CIMTYPE_STRING));
  return instance;
}

CIMInstance processorInstance(const ProcessorFacts& facts) {
  CIMInstance instance("KVAXDT_Processor");
  instance.addProperty({"DeviceID", CIMValue(facts.deviceId)});
  instance.addProperty(property("Name", facts.name, Pegasus::CIMTYPE_STRING));
  instance.addProperty(
      property("CurrentClockSpeed", facts.clockMegahertz, Pegasus::CIMTYPE_UINT32));
  return instance;
}

CIMInstance memoryInstance(const MemoryFacts& facts) {
  CIMInstance instance("KVAXDT_PhysicalMemory");
  instance.addProperty({"Tag", CIMValue(facts.tag)});
  instance.addProperty(property("BankLabel", facts.bankLabel, Pegasus::CIMTYPE_STRING));
  instance.addProperty(property("Capacity", facts.capacityBytes, Pegasus::CIMTYPE_UINT64));
  return instance;
}

}  // namespace

std::vector<CIMInstance> makeInstances(const Inventory& inventory, const std::string& hostName) {
  std::vector<CIMInstance> instances;
  if (inventory.system) {
    instances.push_back(systemInstance(*inventory.system, hostName));
  }
  for (const ProcessorFacts& processor : inventory.processors) {
    instances.push_back(processorInstance(processor));
  }
  for (const MemoryFacts& memory : inventory.memory) {
    instances.push_back(memoryInstance(memory));
  }
  return instances;
}

HostInventory describeHost(const HostBytes& bytes) {
  Inventory inventory = takeInventory(bytes);
  return {makeInstances(inventory, bytes.hostName), std::move(inventory.messages)};
}

HostInventory readHost(const HostSources& sources) {
  return describeHost(readHostBytes(sources));
}

}  // namespace cimd::host
