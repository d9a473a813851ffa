#include "host/inventory.h"

#include <algorithm>
#include <array>

#include "host/cpu_info.h"
#include "host/host_text.h"
#include "host/smbios_tables.h"

namespace cimd::host {

namespace {

using Pegasus::String;
using Pegasus::Uint16;
using Pegasus::Uint32;
using Pegasus::Uint64;
using Pegasus::Uint8;

// Structure types of DSP0134.
constexpr Uint8 systemInformation = 1;
constexpr Uint8 processorInformation = 4;
constexpr Uint8 memoryDevice = 17;

// MaxLen of the properties in the KVAXDT classes.
constexpr std::size_t maxDeviceId = 64;
constexpr std::size_t maxTag = 256;
constexpr std::size_t maxBankLabel = 64;

std::optional<String> verbatim(const std::optional<std::string_view>& bytes) {
  return bytes ? std::optional(toText(*bytes)) : std::nullopt;
}

// The text without the blanks around it; nothing for a text of blanks.
std::optional<String> designation(const std::optional<std::string_view>& bytes) {
  const std::string_view text = trimmed(bytes.value_or(std::string_view()));
  return text.empty() ? std::nullopt : std::optional(toText(text));
}

// What stands in place of a serial number where a board's maker never entered one. Shown as data,
// such a text would make all these machines the same one.
bool isPlaceholder(std::string_view serialNumber) {
  static constexpr std::array placeholders = {
      "default string",
      "none",
      "not applicable",
      "not available",
      "not specified",
      "serial number",
      "system serial number",
      "to be filled by o.e.m.",
      "n/a",
      "unknown",
      "to be filled by o.e.m",
  };
  String text = toText(trimmed(serialNumber));
  text.toLower();
  return text.size() == 0 ||
         std::any_of(placeholders.begin(), placeholders.end(),
                     [&text](const char* placeholder) { return text == placeholder; });
}

SystemFacts readSystem(const Structure& structure, std::vector<std::string>& messages) {
  SystemFacts facts;
  facts.model = verbatim(structure.textAt(0x05));
  const auto serialNumber = structure.textAt(0x07);
  if (serialNumber && isPlaceholder(*serialNumber)) {
    messages.push_back("the firmware has no serial number, only the placeholder '" +
                       toText(trimmed(*serialNumber)).toUtf8() + "': serialNumber is left empty");
  } else {
    facts.serialNumber = verbatim(serialNumber);
  }
  return facts;
}

// A socket counts as populated only where the structure says so. Whether the processor in it is
// enabled makes no difference: it is there.
bool isPopulated(const Structure& processor) {
  constexpr Uint8 socketPopulated = 1U << 6U;
  return (processor.byteAt(0x18).value_or(0) & socketPopulated) != 0;
}

std::optional<Uint32> clockMegahertz(const Structure& processor) {
  const Uint16 speed = processor.wordAt(0x16).value_or(0);
  return speed == 0 ? std::nullopt : std::optional<Uint32>(speed);
}

// In bytes; 0 for an empty slot, nothing where the firmware does not know.
std::optional<Uint64> capacityBytes(const Structure& device) {
  constexpr Uint16 unknown = 0xFFFF;
  constexpr Uint16 seeExtendedSize = 0x7FFF;
  constexpr Uint16 inKibibytes = 0x8000;
  const Uint16 size = device.wordAt(0x0C).value_or(0);
  if (size == unknown) {
    return std::nullopt;
  }
  const auto extendedSize = device.doubleWordAt(0x1C);
  // Without the extended size, in structures before SMBIOS 2.7, this is a size like any other.
  if (size == seeExtendedSize && extendedSize) {
    const Uint64 mebibytes = *extendedSize & 0x7FFFFFFFU;
    return mebibytes == 0 ? std::nullopt : std::optional(mebibytes << 20U);
  }
  const Uint64 units = size & ~inKibibytes & 0xFFFFU;
  return (size & inKibibytes) != 0 ? units << 10U : units << 20U;
}

// Numbers for repeated designations count empty sockets and slots too: a part keeps its key when
// another one is added or removed.
class SmbiosInventory {
 public:
  explicit SmbiosInventory(Inventory& inventory) : inventory_(inventory) {}

  void add(const Structure& structure) {
    if (structure.type() == systemInformation && !inventory_.system) {
      inventory_.system = readSystem(structure, inventory_.messages);
    } else if (structure.type() == processorInformation) {
      addProcessor(structure);
    } else if (structure.type() == memoryDevice) {
      addMemory(structure);
    }
  }

  // Also when they are all unpopulated.
  bool mentionsProcessors() const { return mentionsProcessors_; }

 private:
  void addProcessor(const Structure& structure) {
    mentionsProcessors_ = true;
    const String deviceId = deviceIds_.next(designation(structure.textAt(0x04)).value_or("CPU"));
    if (isPopulated(structure)) {
      inventory_.processors.push_back(
          {deviceId, designation(structure.textAt(0x10)), clockMegahertz(structure)});
    }
  }

  void addMemory(const Structure& structure) {
    const auto locator = designation(structure.textAt(0x10));
    const auto bank = designation(structure.textAt(0x11));
    const String tag = tags_.next(locator ? *locator : bank.value_or("Memory"));
    const auto capacity = capacityBytes(structure);
    if (capacity == Uint64{0}) {
      return;
    }
    auto bankLabel = bank ? bank : locator;
    if (bankLabel) {
      bankLabel = cut(*bankLabel, maxBankLabel);
    }
    inventory_.memory.push_back({tag, bankLabel, capacity});
  }

  Inventory& inventory_;
  UniqueNames deviceIds_{maxDeviceId};
  UniqueNames tags_{maxTag};
  bool mentionsProcessors_ = false;
};

void takeProcessorsFromCpuinfo(const HostBytes& bytes, const std::string& reason,
                               Inventory& inventory) {
  inventory.processors = readCpuinfo(bytes.cpuinfo.value_or(""));
  inventory.messages.push_back(reason + (inventory.processors.empty()
                                             ? ", and no cpuinfo that tells of processors"
                                             : ": processors and their clocks are from cpuinfo"));
}

void readTables(const HostBytes& bytes, const EntryPoint& entryPoint, Inventory& inventory) {
  const StructureTable table = readStructures(*bytes.table, entryPoint);
  SmbiosInventory smbios(inventory);
  for (const Structure& structure : table.structures) {
    smbios.add(structure);
  }
  if (!table.damage.empty()) {
    inventory.messages.push_back("the SMBIOS table is damaged: " + table.damage +
                                 "; what stands before is used");
  }
  if (!inventory.system) {
    inventory.messages.emplace_back("the SMBIOS table does not describe the system");
  }
  if (!smbios.mentionsProcessors()) {
    takeProcessorsFromCpuinfo(bytes, "the SMBIOS table does not mention processors", inventory);
  }
}

}  // namespace

Inventory takeInventory(const HostBytes& bytes) {
  Inventory inventory;
  inventory.messages = bytes.messages;
  if (bytes.areTablesUnreadable) {
    inventory.messages.emplace_back(
        "the SMBIOS tables cannot be read: the host's inventory stays empty");
    return inventory;
  }
  const auto entryPoint = readEntryPoint(bytes.entryPoint.value_or(""));
  if (entryPoint && bytes.table) {
    readTables(bytes, *entryPoint, inventory);
    return inventory;
  }
  const bool isBroken = bytes.entryPoint && bytes.table;
  takeProcessorsFromCpuinfo(
      bytes, isBroken ? "the SMBIOS entry point is damaged" : "the host has no SMBIOS tables",
      inventory);
  return inventory;
}

}  // namespace cimd::host
