// Tables made by firmware, compared with the findings of an independent reader; and the same tables
// damaged at every place.
#include <Pegasus/Common/CIMInstance.h>
#include "host/inventory.h"
#include "host/smbios.h"
#include "xml/encoder.h"

#include <fstream>
#include <nlohmann/json.hpp>
#include <random>
#include <set>

#include "smbios_support.h"
#include "support.h"

namespace cimd::test {
namespace {

using nlohmann::json;

const char* const machines[] = {"one-socket-one-dimm", "default-strings",
                                "mixed-sockets-and-dimms"};

json expectedOf(const std::string& machine) {
  return json::parse(
      std::ifstream(std::string(MORVIK_TEST_DATA_DIR) + "/smbios/" + machine + "/expected.json"));
}

std::string textOf(const json& value) {
  return value.is_string() ? value.get<std::string>() : value.dump();
}

// Null as JSON has it.
std::string textOf(const CIMInstance& instance, const char* property) {
  const CIMProperty& found = instance.getProperty(instance.findProperty(property));
  return found.getValue().isNull() ? "null" : found.getValue().toString().toUtf8();
}

// "key value" of each instance of the class.
std::vector<std::string> rows(const std::vector<CIMInstance>& instances, const char* className,
                              const char* key, const char* value) {
  std::vector<std::string> result;
  for (const CIMInstance& instance : instances) {
    if (instance.getClassName() == className) {
      result.push_back(textOf(instance, key) + ' ' + textOf(instance, value));
    }
  }
  return result;
}

std::vector<std::string> rows(const json& list, const char* key, const char* value) {
  std::vector<std::string> result;
  for (const json& item : list) {
    result.push_back(textOf(item.at(key)) + ' ' + textOf(item.at(value)));
  }
  return result;
}

TEST(SmbiosRecorded, TheInventoryIsWhatAnIndependentReaderFound) {
  for (const char* machine : machines) {
    SCOPED_TRACE(machine);
    const json expected = expectedOf(machine);
    const HostInventory host = describeHost(recorded(machine));
    EXPECT_THAT(rows(host.instances, "KVAXDT_ComputerSystemDetails", "model", "serialNumber"),
                ElementsAreArray(
                    rows(json::array({expected.at("system")}), "product_name", "serial_number")));
    EXPECT_THAT(
        rows(host.instances, "KVAXDT_Processor", "DeviceID", "CurrentClockSpeed"),
        ElementsAreArray(rows(expected.at("populated_processors"), "socket", "current_speed_mhz")));
    EXPECT_THAT(
        rows(host.instances, "KVAXDT_PhysicalMemory", "Tag", "Capacity"),
        ElementsAreArray(rows(expected.at("populated_memory_devices"), "locator", "size_bytes")));
    EXPECT_THAT(host.messages, IsEmpty());
  }
}

// As in the dmidecode.txt beside them.
TEST(SmbiosRecorded, MakersFactsAreServed) {
  const auto factsOf = [](const CIMInstance& instance) {
    std::string facts;
    for (Uint32 i = 0; i < instance.getPropertyCount(); ++i) {
      facts += instance.getProperty(i).getName().toUtf8() + '=' +
               textOf(instance, instance.getProperty(i).getName().toUtf8().c_str()) + '\n';
    }
    return facts;
  };
  const auto host = describeHost(recorded("mixed-sockets-and-dimms"));
  EXPECT_EQ(factsOf(host.instances.at(1)),
            "DeviceID=CPU 1\nName=Example Processor 8C\nCurrentClockSpeed=2600\n"
            "MaxClockSpeed=4000\nNumberOfEnabledCores=8\nManufacturer=Example Silicon\n"
            "PartNumber=EX2600\nSerialNumber=P-F001\n");
  EXPECT_EQ(factsOf(host.instances.at(4)),
            "Tag=P1_DIMMA1\nBankLabel=P1_Node0_Channel0\nCapacity=268435456\n"
            "ElementName=P1_DIMMA1\nMemoryType=17\nMaxMemorySpeed=133\n"
            "ConfiguredMemoryClockSpeed=null\nManufacturer=Example Memory\n"
            "PartNumber=EX256-133\nSerialNumber=M-F001\n");
}

// Name and type of each property, in order.
std::vector<std::string> shape(const CIMInstance& instance) {
  std::vector<std::string> result;
  for (Uint32 i = 0; i < instance.getPropertyCount(); ++i) {
    const CIMProperty& property = instance.getProperty(i);
    result.push_back(property.getName().toUtf8() + ' ' +
                     Pegasus::cimTypeToString(property.getType()));
  }
  return result;
}

TEST(HostInstances, HaveThePropertiesOfTheirClassWhetherNullOrNot) {
  Inventory full;
  full.system = SystemFacts{"model", "serial"};
  full.processors = {{"cpu", String("name"), 1}};
  full.memory = {{"tag", String("slot"), String("bank"), 1}};
  Inventory sparse;
  sparse.system = SystemFacts{};
  sparse.processors = {{"cpu", {}, {}}};
  sparse.memory = {{"tag"}};
  for (const Inventory& inventory : {full, sparse}) {
    const std::vector<CIMInstance> made = makeInstances(inventory, "host");
    ASSERT_EQ(made.size(), 3U);
    EXPECT_EQ(made[0].getClassName(), "KVAXDT_ComputerSystemDetails");
    EXPECT_THAT(shape(made[0]), ElementsAre("name string", "model string", "serialNumber string",
                                            "manufacturer string"));
    EXPECT_EQ(made[1].getClassName(), "KVAXDT_Processor");
    EXPECT_THAT(shape(made[1]),
                ElementsAre("DeviceID string", "Name string", "CurrentClockSpeed uint32",
                            "MaxClockSpeed uint32", "NumberOfEnabledCores uint16",
                            "Manufacturer string", "PartNumber string", "SerialNumber string"));
    EXPECT_EQ(made[2].getClassName(), "KVAXDT_PhysicalMemory");
    EXPECT_THAT(shape(made[2]),
                ElementsAre("Tag string", "BankLabel string", "Capacity uint64",
                            "ElementName string", "MemoryType uint16", "MaxMemorySpeed uint32",
                            "ConfiguredMemoryClockSpeed uint32", "Manufacturer string",
                            "PartNumber string", "SerialNumber string"));
    EXPECT_EQ(textOf(made[0], "name"), "host");
  }
}

TEST(HostInstances, ASystemWithAWeirdNameCanBeSent) {
  Inventory inventory;
  inventory.system = SystemFacts{};
  const auto made = makeInstances(inventory, "h\x01" + std::string(300, '\xFC'));
  EXPECT_EQ(made.at(0).getProperty(0).getValue().toString().size(), 256U);
  std::string out;
  EXPECT_NO_THROW(Pegasus::xml::appendInstance(out, made[0]));
}

// In the real schema: an instance that does not fit its class would be refused here.
TEST(HostInstances, FitTheClassesOfTheSchema) {
  for (const char* machine : machines) {
    Repository repository;
    loadText(repository, readFile(std::string(MORVIK_TEST_DATA_DIR) + "/../../schema/kvaxdt.mof"));
    auto& nameSpace = repository.nameSpace(defaultNameSpace);
    const auto source = std::make_shared<const std::string>(machine);
    const HostInventory host = describeHost(recorded(machine));
    for (const CIMInstance& instance : host.instances) {
      EXPECT_NO_THROW(nameSpace.declareInstance(instance, source)) << machine;
    }
    for (const char* name :
         {"KVAXDT_ComputerSystemDetails", "KVAXDT_Processor", "KVAXDT_PhysicalMemory"}) {
      for (const auto& stored : nameSpace.instances(nameSpace.classNamed(name))) {
        EXPECT_EQ(stored->instance.getPropertyCount(), nameSpace.classNamed(name).propertyCount());
      }
    }
  }
}

// Bytes in memory of exactly their size, so that the sanitizer detects every access past them.
class ExactBytes {
 public:
  explicit ExactBytes(std::string_view bytes)
      : bytes_(std::make_unique<char[]>(bytes.size())), size_(bytes.size()) {
    std::copy(bytes.begin(), bytes.end(), bytes_.get());
  }
  std::string_view view() const { return {bytes_.get(), size_}; }

 private:
  std::unique_ptr<char[]> bytes_;
  std::size_t size_;
};

// Reads every field and text of every structure and returns how many structures there are.
std::size_t touchAll(std::string_view table, const EntryPoint& entryPoint) {
  const ExactBytes bytes(table);
  const StructureTable read = readStructures(bytes.view(), entryPoint);
  for (const Structure& structure : read.structures) {
    // Where fields are, and around the end of the longest structure.
    for (std::size_t offset = 0; offset < 260; offset += offset == 0x40 ? 0xB8 : 1) {
      structure.byteAt(offset);
      structure.wordAt(offset);
      structure.doubleWordAt(offset);
      if (const auto text = structure.textAt(offset)) {
        const char* const end = bytes.view().data() + bytes.view().size();
        EXPECT_TRUE(text->data() >= bytes.view().data() && text->data() + text->size() < end);
      }
    }
  }
  return read.structures.size();
}

// What must hold for an inventory, whatever the firmware says.
void expectSound(const HostBytes& bytes) {
  const HostInventory host = describeHost(bytes);
  std::set<std::string> names;
  for (const CIMInstance& instance : host.instances) {
    const std::string key = instance.getProperty(0).getValue().toString().toUtf8();
    EXPECT_NE(key, "");
    EXPECT_TRUE(names.insert(instance.getClassName().toUtf8() + ' ' + key).second) << key;
    std::string out;
    EXPECT_NO_THROW(Pegasus::xml::appendInstance(out, instance));
  }
}

TEST(SmbiosDamage, EveryTruncationKeepsTheStructuresBeforeIt) {
  for (const char* machine : machines) {
    const HostBytes good = recorded(machine);
    const EntryPoint entryPoint = *readEntryPoint(*good.entryPoint);
    const std::size_t all = touchAll(*good.table, entryPoint);
    std::size_t previous = 0;
    for (std::size_t length = 0; length < good.table->size(); ++length) {
      SCOPED_TRACE(std::string(machine) + ", cut to " + std::to_string(length));
      HostBytes cut = good;
      cut.table->resize(length);
      const std::size_t count = touchAll(*cut.table, entryPoint);
      EXPECT_TRUE(count == previous || count == previous + 1);
      EXPECT_FALSE(readStructures(*cut.table, entryPoint).damage.empty());
      previous = count;
      expectSound(cut);
    }
    EXPECT_EQ(previous + 1, all);
  }
}

// With sanitizers all bits would take minutes. Each byte gets a turn, and each place in a byte.
#ifdef __clang__
constexpr std::size_t bitsForOne = __has_feature(address_sanitizer) ? 7 : 1;
#else
constexpr std::size_t bitsForOne = 1;
#endif

TEST(SmbiosDamage, EveryFlippedBitOfTheTableDoesNoHarm) {
  for (const char* machine : machines) {
    const HostBytes good = recorded(machine);
    const EntryPoint exact = *readEntryPoint(*good.entryPoint);
    const EntryPoint lying{0xFFFFFFFF, std::nullopt};
    for (std::size_t bit = 0; bit < good.table->size() * 8; bit += bitsForOne) {
      SCOPED_TRACE(std::string(machine) + ", bit " + std::to_string(bit));
      HostBytes bad = good;
      char& byte = (*bad.table)[bit / 8];
      byte = static_cast<char>(byte ^ (1 << bit % 8));
      touchAll(*bad.table, bit % 2 == 0 ? exact : lying);
      expectSound(bad);
    }
  }
}

TEST(SmbiosDamage, ManyWrongBytesDoNoHarm) {
  const HostBytes good = recorded("mixed-sockets-and-dimms");
  for (unsigned seed = 0; seed < 1000; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);  // NOLINT(cert-msc32-c,cert-msc51-cpp): a failure must come again
    HostBytes bad = good;
    for (unsigned i = 0; i < 1 + seed % 40; ++i) {
      (*bad.table)[random() % bad.table->size()] = static_cast<char>(random());
    }
    // The text of a whole table, from any place, is tried too.
    touchAll(bad.table->substr(random() % bad.table->size()), {0xFFFFFFFF, seed % 30});
    expectSound(bad);
  }
}

TEST(SmbiosDamage, EveryWrongByteOfAnEntryPointIsFoundOrDoesNoHarm) {
  for (const std::string& good : {entryPoint32(0xFFFF, 0xFFFF), entryPoint64(~0U)}) {
    HostBytes bytes = recorded("default-strings");
    for (std::size_t i = 0; i < good.size(); ++i) {
      for (unsigned value = 0; value < 256; ++value) {
        std::string bad = good;
        bad[i] = static_cast<char>(value);
        EXPECT_EQ(readEntryPoint(ExactBytes(bad).view()).has_value(), bad == good);
        // With valid sums the wrong byte is accepted.
        bytes.entryPoint = withRightSum(good, i, value, good.size() == 0x18 ? 0x05 : 0x04);
        readEntryPoint(ExactBytes(*bytes.entryPoint).view());
        if (value % 16 == 0) {
          expectSound(bytes);
        }
      }
    }
  }
}

}  // namespace
}  // namespace cimd::test
