#include "machine.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "cim/client.h"
#include "cim/machine.h"
#include "text.h"
#include "text/ascii.h"

using Pegasus::Array;
using Pegasus::CIMClient;
using Pegasus::CIMException;
using Pegasus::CIMInstance;
using Pegasus::CIMValue;
using Pegasus::Exception;
using Pegasus::String;
using Pegasus::Uint16;
using Pegasus::Uint32;
using Pegasus::Uint64;
using Pegasus::text::isDigit;
using Pegasus::text::isLetter;

namespace show {

namespace {

using Read = Array<CIMInstance> (*)(CIMClient&);
using ComparedText = String (*)(const CIMInstance&);

// Empty if the server names none, or in a form that cannot be written.
String pathOf(const CIMInstance& instance) {
  try {
    return instance.getPath().toString();
  } catch (const Exception&) {
    return {};
  }
}

Text textOf(const CIMInstance& instance, ComparedText text) {
  try {
    return text(instance);
  } catch (const Exception&) {
    return std::nullopt;
  }
}

Parts readParts(CIMClient& client, bool areModules, Read read, ComparedText text) {
  Parts parts;
  try {
    for (const CIMInstance& instance : read(client)) {
      parts.list.push_back(
          {.isModule = areModules, .compared = textOf(instance, text), .path = pathOf(instance)});
    }
  } catch (const CIMException& refusal) {
    parts.refusal = withNameOnce(refusal.what());
  }
  return parts;
}

// --- details ---

// Absent also for a value of another type.
template <typename Value>
std::optional<Value> valueOf(const CIMInstance& instance, const char* property) {
  const Uint32 position = instance.findProperty(property);
  if (position == PEG_NOT_FOUND) {
    return std::nullopt;
  }
  const CIMValue& value = instance.getProperty(position).getValue();
  if (value.isNull()) {
    return std::nullopt;
  }
  try {
    Value result{};
    value.get(result);
    return result;
  } catch (const Exception&) {
    return std::nullopt;
  }
}

Text filledTextOf(const CIMInstance& instance, const char* property) {
  auto text = valueOf<String>(instance, property);
  return text && text->size() > 0 ? text : std::nullopt;
}

// The types of CIM_PhysicalMemory.MemoryType that a server of the last 25 years may have.
Text memoryTypeOf(const CIMInstance& instance) {
  struct Row {
    Uint16 number;
    const char* name;
  };
  static constexpr std::array rows = {
      Row{17, "SDRAM"},  Row{19, "RDRAM"},  Row{20, "DDR"},    Row{21, "DDR2"},  Row{23, "FB-DIMM"},
      Row{24, "DDR3"},   Row{25, "FBD2"},   Row{26, "DDR4"},   Row{27, "LPDDR"}, Row{28, "LPDDR2"},
      Row{29, "LPDDR3"}, Row{30, "LPDDR4"}, Row{31, "NVDIMM"}, Row{32, "HBM"},   Row{33, "HBM2"},
      Row{34, "DDR5"},   Row{35, "LPDDR5"}};
  const auto number = valueOf<Uint16>(instance, "MemoryType");
  const auto* const row =
      std::find_if(rows.begin(), rows.end(), [&](const Row& r) { return number == r.number; });
  return row == rows.end() ? std::nullopt : Text(row->name);
}

void addMakers(const CIMInstance& instance, Part& part) {
  part.manufacturer = filledTextOf(instance, "Manufacturer");
  part.partNumber = filledTextOf(instance, "PartNumber");
  part.serialNumber = filledTextOf(instance, "SerialNumber");
}

void describeProcessor(const CIMInstance& instance, Part& part) {
  part.place = filledTextOf(instance, "DeviceID");
  part.type = filledTextOf(instance, "Name");
  part.amount = valueOf<Uint32>(instance, "CurrentClockSpeed");
  part.maxSpeed = valueOf<Uint32>(instance, "MaxClockSpeed");
  part.cores = valueOf<Uint16>(instance, "NumberOfEnabledCores");
  addMakers(instance, part);
}

void describeModule(const CIMInstance& instance, Part& part) {
  part.place = filledTextOf(instance, "Tag");
  part.locator = filledTextOf(instance, "ElementName");
  part.bank = filledTextOf(instance, "BankLabel");
  part.type = memoryTypeOf(instance);
  part.amount = valueOf<Uint64>(instance, "Capacity");
  part.maxSpeed = valueOf<Uint32>(instance, "ConfiguredMemoryClockSpeed");
  if (!part.maxSpeed) {
    part.maxSpeed = valueOf<Uint32>(instance, "MaxMemorySpeed");
  }
  addMakers(instance, part);
}

// Empty if the server refuses: it has answered morvik's own request, which is what counts.
Array<CIMInstance> readInstances(CIMClient& client, const char* cls) {
  try {
    return client.enumerateInstances(cimNamespace, cls, /*deepInheritance=*/true,
                                     /*localOnly=*/false);
  } catch (const CIMException&) {
    return {};
  }
}

void addDetails(CIMClient& client, const char* cls, Parts& parts,
                void (*describe)(const CIMInstance&, Part&)) {
  if (parts.list.empty()) {
    return;
  }
  std::map<String, std::size_t> positions;
  for (std::size_t i = 0; i < parts.list.size(); ++i) {
    positions.emplace(parts.list[i].path, i);
  }
  const Array<CIMInstance> instances = readInstances(client, cls);
  for (Uint32 i = 0; i < instances.size(); ++i) {
    const String path = pathOf(instances[i]);
    const auto position = positions.find(path);
    if (i < parts.list.size() && parts.list[i].path == path) {
      describe(instances[i], parts.list[i]);
    } else if (position != positions.end()) {
      describe(instances[i], parts.list[position->second]);
    }
  }
}

// --- names of places ---

bool isWordUnit(char16_t unit) {
  return isDigit(unit) || isLetter(unit) || unit > 0x7F;
}

// Only letters and digits, small ones.
std::u16string folded(std::u16string_view text) {
  std::u16string units(lowered(String(std::u16string(text))).view());
  std::erase_if(units, [](char16_t unit) { return !isWordUnit(unit); });
  return units;
}

// The text before the words at the end: "PROC 1 " of "PROC 1 DIMM 2" for "dimm2". Absent if the
// text does not end with them.
std::optional<std::u16string_view> beforeWords(std::u16string_view text, std::u16string_view end) {
  for (std::size_t i = 1; i < text.size(); ++i) {
    const bool isBegin = isWordUnit(text[i]) && !isWordUnit(text[i - 1]);
    if (isBegin && folded(text.substr(i)) == folded(end)) {
      return text.substr(0, i);
    }
  }
  return std::nullopt;
}

// Whether the name is the end of the place, or the place with a word for what is there, such as
// "DIMM A1" for A1. The words before must not name another place, as in "CPU 2 DIMM A1", nor be all
// that says what is meant, as in "CPU 1".
bool isShortFor(std::u16string_view name, std::u16string_view place) {
  if (beforeWords(place, name)) {
    return true;
  }
  const auto before = beforeWords(name, place);
  return before && std::none_of(before->begin(), before->end(), isDigit<char16_t>) &&
         !std::all_of(place.begin(), place.end(), isDigit<char16_t>);
}

}  // namespace

bool Parts::anyFits(const std::function<bool(const String&)>& fits) const {
  for (const Part& part : list) {
    if (!part.compared) {
      return false;
    }
    if (fits(*part.compared)) {
      return true;
    }
  }
  return false;
}

bool Parts::has(const String& compared) const {
  return anyFits([&](const String& text) { return text == compared; });
}

bool Parts::isBroken() const {
  return std::any_of(list.begin(), list.end(), [](const Part& part) { return !part.compared; });
}

std::vector<const Part*> Machine::parts() const {
  std::vector<const Part*> all;
  for (const Parts* some : {&processors, &memoryModules}) {
    for (const Part& part : some->list) {
      all.push_back(&part);
    }
  }
  return all;
}

std::vector<const Part*> partsNamed(const Machine& machine, const String& name) {
  using Same = std::function<bool(const Part&)>;
  const std::u16string wanted = folded(name.view());
  const auto isWanted = [&](const Text& text) {
    return text && !wanted.empty() && folded(text->view()) == wanted;
  };
  const std::array<Same, 5> rules = {
      [&](const Part& part) { return part.place == name; },
      [&](const Part& part) { return part.locator == name; },
      [&](const Part& part) { return isWanted(part.place) || isWanted(part.locator); },
      [&](const Part& part) {
        return isWanted(part.bank) || isWanted(part.serialNumber) || isWanted(part.partNumber);
      },
      [&](const Part& part) { return part.place && isShortFor(name.view(), part.place->view()); }};
  std::vector<const Part*> found;
  for (const Same& isSame : rules) {
    for (const Part* part : machine.parts()) {
      if (isSame(*part)) {
        found.push_back(part);
      }
    }
    if (!found.empty()) {
      break;
    }
  }
  return found;
}

Machine readMachine(CIMClient& client) {
  Machine machine;
  try {
    const Array<CIMInstance> systems = readSystems(client);
    machine.hasSystem = systems.size() > 0;
    if (machine.hasSystem) {
      machine.model = textOf(systems[0], modelText);
      machine.serialNumber = filledTextOf(systems[0], "serialNumber");
    }
  } catch (const CIMException& refusal) {
    machine.systemRefusal = withNameOnce(refusal.what());
  }
  String machineType;
  if (getMachineType(client, machineType) == 1) {
    machine.machineType = machineType;
  }
  machine.processors = readParts(client, false, readProcessors, clockText);
  machine.memoryModules = readParts(client, true, readMemoryModules, memorySizeText);
  machine.languageCode = languageCode();
  if (const char* language = std::getenv("LANG")) {
    machine.language = String(language);
  }
  return machine;
}

void addDetails(CIMClient& client, Machine& machine) {
  if (machine.hasSystem) {
    const Array<CIMInstance> systems = readInstances(client, "KVAXDT_ComputerSystemDetails");
    if (systems.size() > 0) {
      machine.hostName = filledTextOf(systems[0], "name");
      machine.serialNumber = filledTextOf(systems[0], "serialNumber");
      machine.manufacturer = filledTextOf(systems[0], "manufacturer");
    }
  }
  addDetails(client, "KVAXDT_Processor", machine.processors, describeProcessor);
  addDetails(client, "KVAXDT_PhysicalMemory", machine.memoryModules, describeModule);
}

}  // namespace show
