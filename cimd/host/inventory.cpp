#include "host/inventory.h"

#include "text/ascii.h"
#include "xml/text.h"

#include <algorithm>
#include <array>
#include <map>
#include <unordered_map>
#include <unordered_set>

#include "host/smbios.h"

namespace cimd::host {

namespace {

using Pegasus::Char16;
using Pegasus::CIMInstance;
using Pegasus::CIMValue;
using Pegasus::String;
using Pegasus::Uint16;
using Pegasus::Uint32;
using Pegasus::Uint64;
using Pegasus::Uint8;
using Pegasus::text::trimmed;

// --- texts

// UTF-8 if the bytes are that, otherwise ISO 8859-1. DSP0134 asks for UTF-8 since version 3 and for
// ASCII before; firmware keeps to neither. Characters that XML 1.0 cannot carry become '?'.
String toText(std::string_view bytes) {
  std::u16string units(String(bytes).view());
  // Surrogates come in pairs here, as String made them.
  const auto isForbidden = [](Char16 unit) {
    return (unit < 0xD800 || unit > 0xDFFF) && !Pegasus::xml::isXmlCharacter(unit);
  };
  std::replace_if(units.begin(), units.end(), isForbidden, u'?');
  return String(std::move(units));
}

// At most `maxLength` UTF-16 units from the beginning, without cutting a character in two.
String cut(const String& text, std::size_t maxLength) {
  std::u16string_view units = text.view();
  if (units.size() <= maxLength) {
    return text;
  }
  const bool isInPair = maxLength > 0 && units[maxLength] >= 0xDC00 && units[maxLength] <= 0xDFFF;
  return String(std::u16string(units.substr(0, isInPair ? maxLength - 1 : maxLength)));
}

// Makes keys of names that may repeat: the first one keeps the name as it is, the next ones get
// " #2", " #3" and so on. The same names in the same order give the same keys.
class UniqueNames {
 public:
  // No key is longer than `maxLength` UTF-16 units. Names are cut to leave room for a number of up
  // to five digits.
  explicit UniqueNames(std::size_t maxLength) : maxLength_(maxLength) {}

  String next(const String& name) {
    // Cut to the same length with and without a number: names that are the same up to there share
    // one count, which keeps the search for a free number short.
    const String base = cut(name, maxLength_ - std::string_view(" #65537").size());
    std::size_t& number = numbers_.try_emplace(std::u16string(base.view()), 1).first->second;
    String key = base;
    while (!given_.emplace(key.view()).second) {
      key = base + String((" #" + std::to_string(++number)).c_str());
    }
    return key;
  }

 private:
  std::size_t maxLength_;
  std::unordered_set<std::u16string> given_;
  // The last number tried after each name that was repeated.
  std::unordered_map<std::u16string, std::size_t> numbers_;
};

// --- instances

// Null where there is no value.
template <typename Value>
void addValue(CIMInstance& instance, const char* name, const std::optional<Value>& value) {
  const CIMValue some(value.value_or(Value()));
  instance.addProperty({name, value ? some : CIMValue(some.getType(), false)});
}

CIMInstance systemInstance(const std::string& hostName, const std::optional<String>& model,
                           const std::optional<String>& serialNumber,
                           const std::optional<String>& manufacturer) {
  constexpr std::size_t maxSystemName = 256;  // MaxLen of the property in the class
  CIMInstance instance("KVAXDT_ComputerSystemDetails");
  addValue(instance, "name", std::optional(cut(toText(hostName), maxSystemName)));
  addValue(instance, "model", model);
  addValue(instance, "serialNumber", serialNumber);
  addValue(instance, "manufacturer", manufacturer);
  return instance;
}

// --- SMBIOS

// Structure types of DSP0134.
constexpr Uint8 systemInformation = 1;
constexpr Uint8 processorInformation = 4;
constexpr Uint8 memoryDevice = 17;

// MaxLen of the properties in the KVAXDT classes.
constexpr std::size_t maxDeviceId = 64;
constexpr std::size_t maxTag = 256;
constexpr std::size_t maxBankLabel = 64;
constexpr std::size_t maxManufacturer = 256;
constexpr std::size_t maxPartNumber = 256;
constexpr std::size_t maxSerialNumber = 64;

// The text without the blanks around it; nothing for a text of blanks.
std::optional<String> designation(const std::optional<std::string_view>& bytes) {
  const std::string_view text = trimmed(bytes.value_or(std::string_view()));
  return text.empty() ? std::nullopt : std::optional(toText(text));
}

// Left in place of what the maker of a board never entered. Shown as data, such a text would make
// all these machines the same one.
bool isPlaceholder(std::string_view bytes) {
  static constexpr std::array placeholders = {
      "0123456789",
      "1234567890",
      "default string",
      "none",
      "not applicable",
      "not available",
      "not specified",
      "o.e.m.",
      "oem",
      "product name",
      "serial number",
      "system product name",
      "system serial number",
      "to be filled by o.e.m.",
      "n/a",
      "unknown",
      "to be filled by o.e.m",
      "x.x",
  };
  const std::string_view plain = trimmed(bytes);
  String text = toText(plain);
  text.toLower();
  const bool isZeros = plain.size() >= 4 && plain.find_first_not_of('0') == std::string_view::npos;
  return plain.empty() || isZeros ||
         std::any_of(placeholders.begin(), placeholders.end(),
                     [&text](const char* placeholder) { return text == placeholder; });
}

// The text of a field of a part, unless it is blank or a placeholder.
std::optional<String> makersText(const Structure& structure, std::size_t offset,
                                 std::size_t maxLength) {
  const auto bytes = structure.textAt(offset);
  return bytes && !isPlaceholder(*bytes) ? std::optional(cut(toText(trimmed(*bytes)), maxLength))
                                         : std::nullopt;
}

void addMaker(CIMInstance& instance, const Structure& structure, std::size_t manufacturer,
              std::size_t serialNumber, std::size_t partNumber) {
  addValue(instance, "Manufacturer", makersText(structure, manufacturer, maxManufacturer));
  addValue(instance, "PartNumber", makersText(structure, partNumber, maxPartNumber));
  addValue(instance, "SerialNumber", makersText(structure, serialNumber, maxSerialNumber));
}

// The text of a field of the system, unless it is a placeholder.
std::optional<String> systemText(const std::optional<std::string_view>& bytes, const char* what,
                                 const char* property, std::vector<std::string>& messages) {
  if (bytes && isPlaceholder(*bytes)) {
    messages.push_back(std::string("the firmware has no ") + what + ", only the placeholder '" +
                       toText(trimmed(*bytes)).toUtf8() + "': " + property + " is left empty");
    return std::nullopt;
  }
  return bytes ? std::optional(toText(*bytes)) : std::nullopt;
}

CIMInstance readSystem(const Structure& structure, const std::string& hostName,
                       const Models& models, std::vector<std::string>& messages) {
  const auto product = structure.textAt(0x05);
  const auto model = models.modelOf(product);
  return systemInstance(
      hostName, model ? model : systemText(product, "product name", "model", messages),
      systemText(structure.textAt(0x07), "serial number", "serialNumber", messages),
      makersText(structure, 0x04, maxManufacturer));
}

// A socket counts as populated only where the structure says so. Whether the processor in it is
// enabled makes no difference: it is there.
bool isPopulated(const Structure& processor) {
  constexpr Uint8 socketPopulated = 1U << 6U;
  return (processor.byteAt(0x18).value_or(0) & socketPopulated) != 0;
}

// Nothing for 0, by which firmware says that it does not know.
std::optional<Uint32> knownWord(const Structure& structure, std::size_t offset) {
  const Uint16 value = structure.wordAt(offset).value_or(0);
  return value == 0 ? std::nullopt : std::optional<Uint32>(value);
}

std::optional<Uint16> enabledCores(const Structure& processor) {
  constexpr Uint8 seeWord = 0xFF;
  const Uint8 cores = processor.byteAt(0x24).value_or(0);
  const Uint16 count = cores == seeWord ? processor.wordAt(0x2C).value_or(seeWord) : cores;
  return count == 0 ? std::nullopt : std::optional(count);
}

// One of cpuinfo has a structure without fields.
CIMInstance processorInstance(const String& deviceId, const std::optional<String>& name,
                              const std::optional<Uint32>& megahertz, const Structure& structure) {
  CIMInstance instance("KVAXDT_Processor");
  addValue(instance, "DeviceID", std::optional(deviceId));
  addValue(instance, "Name", name);
  addValue(instance, "CurrentClockSpeed", megahertz);
  addValue(instance, "MaxClockSpeed", knownWord(structure, 0x14));
  addValue(instance, "NumberOfEnabledCores", enabledCores(structure));
  addMaker(instance, structure, 0x07, 0x20, 0x22);
  return instance;
}

// The speed at `offset`, or where that is too small, in the double word at `extended`.
std::optional<Uint32> memorySpeed(const Structure& device, std::size_t offset,
                                  std::size_t extended) {
  constexpr Uint32 seeExtended = 0xFFFF;
  const auto speed = knownWord(device, offset);
  if (speed != seeExtended) {
    return speed;
  }
  const Uint32 megahertz = device.doubleWordAt(extended).value_or(0) & 0x7FFFFFFFU;
  return megahertz == 0 ? std::nullopt : std::optional(megahertz);
}

// The DMTF has its own numbers for the types before DDR3, and from there on those of SMBIOS.
std::optional<Uint16> memoryType(const Structure& device) {
  constexpr Uint8 ddr3 = 0x18;
  constexpr Uint8 lpddr5 = 0x23;
  const Uint8 type = device.byteAt(0x12).value_or(0);
  switch (type) {
    case 0x0F:  // SDRAM
      return Uint16{17};
    case 0x12:  // DDR
      return Uint16{20};
    case 0x13:  // DDR2
      return Uint16{21};
    case 0x14:  // DDR2 FB-DIMM
      return Uint16{23};
    default:
      return type >= ddr3 && type <= lpddr5 ? std::optional<Uint16>(type) : std::nullopt;
  }
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

CIMInstance memoryInstance(const String& tag, const std::optional<String>& locator,
                           const std::optional<String>& bank, const std::optional<Uint64>& capacity,
                           const Structure& device) {
  const auto& label = bank ? bank : locator;
  CIMInstance instance("KVAXDT_PhysicalMemory");
  addValue(instance, "Tag", std::optional(tag));
  addValue(instance, "BankLabel", label ? std::optional(cut(*label, maxBankLabel)) : std::nullopt);
  addValue(instance, "Capacity", capacity);
  addValue(instance, "ElementName", locator);
  addValue(instance, "MemoryType", memoryType(device));
  addValue(instance, "MaxMemorySpeed", memorySpeed(device, 0x15, 0x54));
  addValue(instance, "ConfiguredMemoryClockSpeed", memorySpeed(device, 0x20, 0x58));
  addMaker(instance, device, 0x17, 0x18, 0x1A);
  return instance;
}

// The findings so far; the instances of each class in the order of the firmware.
struct Findings {
  std::optional<CIMInstance> system = {};
  std::vector<CIMInstance> processors = {};
  std::vector<CIMInstance> memory = {};
  std::vector<std::string> messages = {};
};

// Numbers for repeated designations count empty sockets and slots too: a part keeps its key when
// another one is added or removed.
class SmbiosReader {
 public:
  SmbiosReader(const std::string& hostName, const Models& models, Findings& findings)
      : hostName_(hostName), models_(models), findings_(findings) {}

  void read(const std::vector<Structure>& structures) {
    for (const Structure& structure : structures) {
      if (structure.type() == memoryDevice) {
        ++devicesAt_[std::string(locatorOf(structure))];
      }
    }
    for (const Structure& structure : structures) {
      add(structure);
    }
  }

  // Also when they are all unpopulated.
  bool mentionsProcessors() const { return mentionsProcessors_; }

 private:
  static std::string_view locatorOf(const Structure& memory) {
    return trimmed(memory.textAt(0x10).value_or(std::string_view()));
  }

  void add(const Structure& structure) {
    if (structure.type() == systemInformation && !findings_.system) {
      findings_.system = readSystem(structure, hostName_, models_, findings_.messages);
    } else if (structure.type() == processorInformation) {
      addProcessor(structure);
    } else if (structure.type() == memoryDevice) {
      addMemory(structure);
    }
  }

  void addProcessor(const Structure& structure) {
    mentionsProcessors_ = true;
    const String deviceId = deviceIds_.next(designation(structure.textAt(0x04)).value_or("CPU"));
    if (isPopulated(structure)) {
      findings_.processors.push_back(processorInstance(
          deviceId, designation(structure.textAt(0x10)), knownWord(structure, 0x16), structure));
    }
  }

  void addMemory(const Structure& structure) {
    const auto locator = designation(structure.textAt(0x10));
    const auto bank = designation(structure.textAt(0x11));
    // Boards with several banks may count the slots of each from 0.
    const bool isRepeated = devicesAt_.at(std::string(locatorOf(structure))) > 1;
    const String name = locator && bank && isRepeated ? *locator + " " + *bank
                        : locator                     ? *locator
                                                      : bank.value_or("Memory");
    const String tag = tags_.next(name);
    const auto capacity = capacityBytes(structure);
    if (capacity != Uint64{0}) {
      findings_.memory.push_back(memoryInstance(tag, locator, bank, capacity, structure));
    }
  }

  const std::string& hostName_;
  const Models& models_;
  Findings& findings_;
  UniqueNames deviceIds_{maxDeviceId};
  UniqueNames tags_{maxTag};
  // The number of memory devices with each locator, empty slots included.
  std::map<std::string, std::size_t> devicesAt_;
  bool mentionsProcessors_ = false;
};

// --- all together

std::vector<CIMInstance> processorsOf(const std::map<Uint32, CpuPackage>& packages) {
  std::vector<CIMInstance> processors;
  for (const auto& [number, package] : packages) {
    const auto name = package.name.empty() ? std::nullopt : std::optional(toText(package.name));
    processors.push_back(processorInstance(String("CPU " + std::to_string(number)), name,
                                           package.megahertz, Structure({}, {})));
  }
  return processors;
}

void takeProcessorsFromCpuinfo(const HostBytes& bytes, const std::string& reason,
                               Findings& findings) {
  findings.processors = processorsOf(readCpuinfo(bytes.cpuinfo.value_or("")));
  findings.messages.push_back(reason + (findings.processors.empty()
                                            ? ", and cpuinfo lists no processors"
                                            : ": processors and their clocks are from cpuinfo"));
}

void readTables(const HostBytes& bytes, const EntryPoint& entryPoint, const Models& models,
                Findings& findings) {
  const StructureTable table = readStructures(*bytes.table, entryPoint);
  SmbiosReader smbios(bytes.hostName, models, findings);
  smbios.read(table.structures);
  if (!table.damage.empty()) {
    findings.messages.push_back("the SMBIOS table is damaged: " + table.damage +
                                "; the part before the damage is used");
  }
  if (!findings.system) {
    findings.messages.emplace_back("the SMBIOS table does not describe the system");
  }
  if (!smbios.mentionsProcessors()) {
    takeProcessorsFromCpuinfo(bytes, "the SMBIOS table does not mention processors", findings);
  }
}

}  // namespace

Inventory takeInventory(const HostBytes& bytes, const Models& models) {
  Findings findings{.messages = bytes.messages};
  const auto entryPoint = readEntryPoint(bytes.entryPoint.value_or(""));
  if (bytes.areTablesUnreadable) {
    findings.messages.emplace_back(
        "the SMBIOS tables cannot be read: the inventory of the host stays empty");
  } else if (entryPoint && bytes.table) {
    readTables(bytes, *entryPoint, models, findings);
  } else {
    const bool isBroken = bytes.entryPoint && bytes.table;
    takeProcessorsFromCpuinfo(bytes,
                              isBroken ? "the SMBIOS entry point is damaged"
                                       : "there are no SMBIOS tables in " + bytes.directory,
                              findings);
  }
  if (!findings.system && models.any && !bytes.areTablesUnreadable) {
    findings.system = systemInstance(bytes.hostName, models.any, {}, {});
  }
  Inventory inventory{std::move(findings.processors), std::move(findings.messages)};
  auto& instances = inventory.instances;
  if (findings.system) {
    instances.insert(instances.begin(), *std::move(findings.system));
  }
  instances.insert(instances.end(), findings.memory.begin(), findings.memory.end());
  return inventory;
}

}  // namespace cimd::host
