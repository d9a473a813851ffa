// Entry points and structures, good and damaged; and tables made by firmware, compared with the
// findings of an independent reader.
#include "host/smbios.h"
#include "xml/encoder.h"

#include <fstream>
#include <nlohmann/json.hpp>
#include <set>

#include "smbios_support.h"

namespace cimd::test {
namespace {

TEST(SmbiosEntryPoint, FormOf32BitsHasLengthAndCount) {
  const auto entryPoint = readEntryPoint(entryPoint32(0xFEDC, 0x0321));
  ASSERT_TRUE(entryPoint);
  EXPECT_EQ(entryPoint->tableLength, 0xFEDCU);
  EXPECT_EQ(entryPoint->structureCount, 0x0321U);
}

TEST(SmbiosEntryPoint, FormOf64BitsHasLengthOnly) {
  const auto entryPoint = readEntryPoint(entryPoint64(0x89ABCDEF));
  ASSERT_TRUE(entryPoint);
  EXPECT_EQ(entryPoint->tableLength, 0x89ABCDEFU);
  EXPECT_EQ(entryPoint->structureCount, std::nullopt);
}

TEST(SmbiosEntryPoint, FurtherBytesAreIgnored) {
  EXPECT_TRUE(readEntryPoint(entryPoint32(10, 1) + "\xFF"));
  EXPECT_TRUE(readEntryPoint(entryPoint64(10) + "\xFF\xFF"));
  const std::string longer = entryPoint64(10) + std::string(8, '\0');
  EXPECT_TRUE(readEntryPoint(withRightSum(longer, 0x06, 0x20, 0x05))) << "of a future version";
}

// SMBIOS 2.1 gave 1Eh as the length where 1Fh was meant: the checksum does not include the last
// byte, and the kernel does not pass it on.
TEST(SmbiosEntryPoint, ShortLengthOfVersion21IsAccepted) {
  std::string old = withRightSum(entryPoint32(10, 1), 0x05, 0x1E, 0x04);
  old = withRightSum(old, 0x1E, 0, 0x04);
  EXPECT_TRUE(readEntryPoint(old.substr(0, 0x1E)));
}

// The sum of the whole entry point stays valid here.
TEST(SmbiosEntryPoint, AnchorsAndTheSecondChecksumAreChecked) {
  const std::string good = entryPoint32(300, 7);
  EXPECT_FALSE(readEntryPoint(withRightSum(good, 0, 'x', 0x04)));
  EXPECT_FALSE(readEntryPoint(withRightSum(good, 0x10, 'x', 0x15)));
  EXPECT_FALSE(readEntryPoint(withRightSum(good, 0x16, 0xFF, 0x04)));
  EXPECT_FALSE(readEntryPoint(withRightSum(entryPoint64(10), 3, '4', 0x05)));
}

TEST(SmbiosEntryPoint, WrongLengthsAreRefused) {
  for (const unsigned length : {0U, 5U, 0x1DU, 0x20U, 0xFFU}) {
    EXPECT_FALSE(readEntryPoint(withRightSum(entryPoint32(10, 1), 0x05, length, 0x04))) << length;
  }
  for (const unsigned length : {0U, 6U, 0x17U, 0x19U, 0xFFU}) {
    EXPECT_FALSE(readEntryPoint(withRightSum(entryPoint64(10), 0x06, length, 0x05))) << length;
  }
}

TEST(SmbiosEntryPoint, TruncatedOnesAreRefused) {
  for (const std::string& good : {entryPoint32(300, 7), entryPoint64(300)}) {
    for (std::size_t length = 0; length < good.size(); ++length) {
      EXPECT_FALSE(readEntryPoint(good.substr(0, length))) << length;
    }
  }
}

// The types of the structures read.
std::vector<unsigned> types(const StructureTable& table) {
  std::vector<unsigned> result;
  result.reserve(table.structures.size());
  for (const Structure& structure : table.structures) {
    result.push_back(structure.type());
  }
  return result;
}

using Types = std::vector<unsigned>;

TEST(SmbiosStructures, FieldsAreLittleEndian) {
  const std::string bytes = StructureBuilder(200, 0x0B, 0x1234)
                                .byte(4, 0xAB)
                                .word(5, 0xFEDC)
                                .doubleWord(7, 0x89ABCDEF)
                                .bytes() +
                            endOfTable();
  const StructureTable table = readStructures(bytes, {bytes.size(), std::nullopt});
  ASSERT_EQ(types(table), (Types{200, 127}));
  const Structure& structure = table.structures[0];
  EXPECT_EQ(structure.byteAt(4), 0xAB);
  EXPECT_EQ(structure.wordAt(5), 0xFEDC);
  EXPECT_EQ(structure.doubleWordAt(7), 0x89ABCDEF);
  EXPECT_EQ(table.damage, "");
}

TEST(SmbiosStructures, FieldsPastTheEndAreMissing) {
  const std::string bytes = StructureBuilder(9, 8).text(4, "text").bytes();
  const StructureTable table = readStructures(bytes, {bytes.size(), 1});
  ASSERT_EQ(table.structures.size(), 1U);
  const Structure& structure = table.structures[0];
  EXPECT_TRUE(structure.byteAt(7));
  EXPECT_FALSE(structure.byteAt(8));
  EXPECT_TRUE(structure.wordAt(6));
  EXPECT_FALSE(structure.wordAt(7));
  EXPECT_TRUE(structure.doubleWordAt(4));
  EXPECT_FALSE(structure.doubleWordAt(5));
  EXPECT_FALSE(structure.textAt(8));
}

TEST(SmbiosStructures, StringsAreFoundByNumber) {
  const std::string bytes =
      StructureBuilder(9, 9).text(5, "one").text(4, "two").byte(6, 3).byte(7, 255).bytes();
  const StructureTable table = readStructures(bytes, {bytes.size(), 1});
  ASSERT_EQ(table.structures.size(), 1U);
  const Structure& structure = table.structures[0];
  EXPECT_EQ(structure.textAt(5), "one");
  EXPECT_EQ(structure.textAt(4), "two");
  EXPECT_EQ(structure.textAt(6), std::nullopt) << "a number past the last string";
  EXPECT_EQ(structure.textAt(7), std::nullopt);
  EXPECT_EQ(structure.textAt(8), std::nullopt) << "number 0: no string";
  const std::string none = StructureBuilder(9, 5).byte(4, 1).bytes();
  EXPECT_EQ(readStructures(none, {none.size(), 1}).structures.at(0).textAt(4), std::nullopt);
}

TEST(SmbiosStructures, ReadingEndsWithTheTableOrAtDamage) {
  const std::string one = StructureBuilder(1, 4).bytes();
  const std::string two = StructureBuilder(2, 4).bytes();
  const std::string ended = one + endOfTable() + two;
  const auto lengthOf = [&](unsigned length) {
    return one + StructureBuilder(2, 8).byte(1, length).bytes() + endOfTable();
  };
  const auto withStrings = [&](std::string_view strings) {
    return one + two.substr(0, 4) + std::string(strings);
  };
  constexpr auto none = std::nullopt;
  constexpr std::size_t any = 0xFFFFFFFF;
  const std::string badLength = "the structure at byte 6 gives a length of ";
  const std::string invalid = " bytes, which is invalid";
  const std::string endless = "the strings of the structure at byte 6 have no end";
  struct Case {
    std::string bytes;
    EntryPoint entryPoint;
    Types types;
    std::string damage;
  };
  for (const Case& c : std::vector<Case>{
           // the end-of-table structure counts only where no number is given
           {ended, {ended.size(), none}, {1, 127}, ""},
           {ended, {ended.size(), 0}, {1, 127}, ""},
           {ended, {ended.size(), 3}, {1, 127, 2}, ""},
           // the number of structures, the length of the table, and that of its bytes
           {one + two, {any, 1}, {1}, ""},
           {one + two, {one.size(), 2}, {1}, "it ends at byte 6, after 1 of 2 structures"},
           {one, {1000, 9}, {1}, "it ends at byte 6, after 1 of 9 structures"},
           {one, {any, none}, {1}, "it ends at byte 6 without an end-of-table structure"},
           {"", {100, 1}, {}, "it ends at byte 0, after 0 of 1 structures"},
           {"abcdef", {0, 1}, {}, "it ends at byte 0, after 0 of 1 structures"},
           // a structure shorter than its header, or longer than the table
           {lengthOf(0), {any, none}, {1}, badLength + "0" + invalid},
           {lengthOf(1), {any, none}, {1}, badLength + "1" + invalid},
           {lengthOf(3), {any, none}, {1}, badLength + "3" + invalid},
           {lengthOf(0xFF), {any, none}, {1}, badLength + "255" + invalid},
           // strings without the zero bytes at their end
           {withStrings(""), {any, none}, {1}, endless},
           {withStrings({"\0", 1}), {any, none}, {1}, endless},
           {withStrings("text"), {any, none}, {1}, endless},
           {withStrings({"text\0", 5}), {any, none}, {1}, endless},
           {withStrings({"text\0more", 9}), {any, none}, {1}, endless}}) {
    const StructureTable table = readStructures(c.bytes, c.entryPoint);
    EXPECT_EQ(types(table), c.types) << PrintToString(c.bytes);
    EXPECT_EQ(table.damage, c.damage) << PrintToString(c.bytes);
  }
}

// Handles have 16 bits, so no table has more structures.
TEST(SmbiosStructures, TheirNumberIsLimited) {
  std::string bytes;
  for (int i = 0; i < 70000; ++i) {
    bytes += StructureBuilder(2, 4).bytes();
  }
  const StructureTable table = readStructures(bytes, {bytes.size(), std::nullopt});
  EXPECT_EQ(table.structures.size(), 65536U);
  EXPECT_NE(table.damage, "");
}

// --- tables made by firmware

using nlohmann::json;

const char* const machines[] = {"one-socket-one-dimm", "default-strings",
                                "mixed-sockets-and-dimms"};

json expectedOf(const std::string& machine) {
  return json::parse(
      std::ifstream(std::string(MORVIK_TEST_DATA_DIR) + "/smbios/" + machine + "/expected.json"));
}

std::string jsonText(const json& value) {
  return value.is_string() ? value.get<std::string>() : value.dump();
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
    result.push_back(jsonText(item.at(key)) + ' ' + jsonText(item.at(value)));
  }
  return result;
}

TEST(SmbiosRecorded, TheInventoryIsWhatAnIndependentReaderFound) {
  for (const char* machine : machines) {
    SCOPED_TRACE(machine);
    const json expected = expectedOf(machine);
    const Inventory host = takeInventory(recorded(machine));
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
  const auto host = takeInventory(recorded("mixed-sockets-and-dimms"));
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

TEST(HostInstances, ASystemWithAWeirdNameCanBeSent) {
  HostBytes bytes = hostWith({systemStructure("s", "1")});
  bytes.hostName = "h\x01" + std::string(300, '\xFC');
  const CIMInstance made = takeInventory(bytes).instances.at(0);
  EXPECT_EQ(made.getProperty(0).getValue().toString().size(), 256U);
  std::string out;
  EXPECT_NO_THROW(Pegasus::xml::appendInstance(out, made));
}

// In the real schema: an instance that does not fit its class would be refused here.
TEST(HostInstances, FitTheClassesOfTheSchemaWhetherNullOrNot) {
  HostBytes bare = hostWith({StructureBuilder(1, 4), StructureBuilder(17, 0x0E).word(0x0C, 1)});
  bare.cpuinfo = "processor : 0\n";
  for (const HostBytes& bytes : {recorded("mixed-sockets-and-dimms"), bare}) {
    Repository repository;
    loadText(repository, readFile(std::string(MORVIK_TEST_DATA_DIR) + "/../../schema/kvaxdt.mof"));
    NameSpace& nameSpace = repository.nameSpace(defaultNameSpace);
    const auto made = takeInventory(bytes).instances;
    ASSERT_GE(made.size(), 3U);
    for (const CIMInstance& instance : made) {
      const Class& cls = nameSpace.classNamed(instance.getClassName());
      EXPECT_EQ(instance.getPropertyCount(), cls.propertyCount());
      nameSpace.declareInstance(instance, std::make_shared<const std::string>("host"));
    }
    EXPECT_EQ(textOf(made[0], "name"), bytes.hostName);
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

// Checks what must hold for an inventory, whatever the firmware says.
void expectSound(const HostBytes& bytes) {
  const Inventory host = takeInventory(bytes);
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
