// The inventory that the structures of a table describe.
#include "host/inventory.h"

#include <set>

#include "smbios_support.h"

namespace cimd::test {
namespace {

constexpr const char* systemClass = "KVAXDT_ComputerSystemDetails";
constexpr const char* processorClass = "KVAXDT_Processor";
constexpr const char* memoryClass = "KVAXDT_PhysicalMemory";

// The first instance of the class.
CIMInstance firstOf(const Inventory& inventory, const char* className) {
  for (const CIMInstance& instance : inventory.instances) {
    if (instance.getClassName() == className) {
      return instance;
    }
  }
  throw std::runtime_error(std::string("no instance of ") + className);
}

// The keys of processors and of memory.
std::vector<std::string> deviceIds(const Inventory& inventory) {
  return valuesOf(inventory, processorClass, "DeviceID");
}
std::vector<std::string> tags(const Inventory& inventory) {
  return valuesOf(inventory, memoryClass, "Tag");
}
std::vector<std::string> deviceIds(const std::vector<StructureBuilder>& structures) {
  return deviceIds(inventoryOf(structures));
}
std::vector<std::string> tags(const std::vector<StructureBuilder>& structures) {
  return tags(inventoryOf(structures));
}

// Model and serial number.
using Texts = std::vector<std::string>;
Texts systemTexts(const Inventory& inventory) {
  const CIMInstance system = firstOf(inventory, systemClass);
  return {textOf(system, "model"), textOf(system, "serialNumber")};
}
Texts systemTexts(const std::vector<StructureBuilder>& structures) {
  return systemTexts(inventoryOf(structures));
}

TEST(SmbiosSystem, ProductNameOfTheFirstStructureIsTakenVerbatim) {
  const Inventory inventory = inventoryOf({systemStructure("  Server  123 -[1234ABX]-  ", " S1 "),
                                           systemStructure("of a second structure", "2")});
  EXPECT_EQ(systemTexts(inventory), (Texts{"  Server  123 -[1234ABX]-  ", " S1 "}));
  EXPECT_EQ(valuesOf(inventory, systemClass, "model").size(), 1U);
}

TEST(SmbiosSystem, WithoutTextsBothAreMissing) {
  // The header alone, and the whole structure with string numbers of 0.
  for (const unsigned length : {4U, 0x1BU}) {
    EXPECT_EQ(systemTexts({StructureBuilder(1, length)}), (Texts{"null", "null"})) << length;
  }
}

TEST(SmbiosSystem, MissingStructureIsReported) {
  const Inventory inventory = inventoryOf({processorStructure("CPU0", 1)});
  EXPECT_THAT(valuesOf(inventory, systemClass, "model"), IsEmpty());
  EXPECT_THAT(inventory.messages, ElementsAre("the SMBIOS table does not describe the system"));
}

TEST(SmbiosSystem, PlaceholderIsNotAValue) {
  for (const char* text :
       {"Default string", "To Be Filled By O.E.M.", "To be filled by O.E.M. ",
        "System Serial Number", "NOT SPECIFIED", "   ", "None", "1234567890", "0123456789", "OEM",
        "O.E.M.", "00000000", "0000", "x.x", "X.X", "System Product Name"}) {
    const auto isNamed = HasSubstr("placeholder");
    const Inventory one = inventoryOf({systemStructure("a", text), processorStructure("CPU0", 1)});
    EXPECT_EQ(systemTexts(one), (Texts{"a", "null"})) << text;
    EXPECT_THAT(one.messages, ElementsAre(isNamed)) << text;
    const Inventory both = inventoryOf({systemStructure(text, text), processorStructure("C", 1)});
    EXPECT_EQ(systemTexts(both), (Texts{"null", "null"})) << text;
    EXPECT_THAT(both.messages, ElementsAre(isNamed, isNamed)) << text;
  }
  EXPECT_THAT(inventoryOf({systemStructure("OEM ", "1"), processorStructure("CPU0", 1)}).messages,
              ElementsAre("the firmware has no product name, only the placeholder 'OEM': model is "
                          "left empty"));
}

TEST(SmbiosSystem, TextLikeAPlaceholderIsAValue) {
  for (const char* text : {"None1", "Default string 7", "0", "000", "123456789", "X", "OEM 7"}) {
    const Inventory inventory =
        inventoryOf({systemStructure(text, text), processorStructure("CPU0", 1)});
    EXPECT_EQ(systemTexts(inventory), (Texts{text, text}));
    EXPECT_THAT(inventory.messages, IsEmpty());
  }
}

TEST(SmbiosProcessor, DesignationNameAndCurrentClock) {
  struct Case {
    unsigned speed;
    const char* clock;
  };
  for (const Case& c : {Case{2600, "2600"}, {0xFFFF, "65535"}, {0, "null"}}) {
    HostBytes bytes = hostWith({processorStructure(" Proc 1 ", c.speed)
                                    .text(0x10, "Example CPU @ 2.60GHz   ")
                                    .word(0x14, 4000)});
    bytes.cpuinfo = "processor : 0\ncpu MHz : 2400.000\n";
    const Inventory inventory = takeInventory(bytes);
    ASSERT_EQ(deviceIds(inventory), std::vector<std::string>{"Proc 1"});
    const CIMInstance processor = firstOf(inventory, processorClass);
    EXPECT_EQ(textOf(processor, "Name"), "Example CPU @ 2.60GHz");
    EXPECT_EQ(textOf(processor, "CurrentClockSpeed"), c.clock) << "not the clock of cpuinfo";
  }
}

TEST(SmbiosProcessor, OnlyPopulatedSocketsCount) {
  // Populated is bit 6; the lower bits show whether the processor is enabled.
  for (const unsigned status : {0x40U, 0x41U, 0x42U, 0x43U, 0x44U, 0x47U, 0xC1U}) {
    EXPECT_THAT(deviceIds({processorStructure("a", 1).byte(0x18, status)}), ElementsAre("a"))
        << status;
  }
  for (const StructureBuilder& tooShort :
       {StructureBuilder(4, 0x18).text(4, "a").word(0x16, 1), StructureBuilder(4, 4)}) {
    EXPECT_THAT(deviceIds({tooShort}), IsEmpty());
  }
  for (const unsigned status : {0x00U, 0x01U, 0x07U, 0xBFU}) {
    EXPECT_THAT(deviceIds({processorStructure("a", 1).byte(0x18, status)}), IsEmpty()) << status;
  }
}

TEST(SmbiosProcessor, EmptySocketsAreNotReplacedByCpuinfo) {
  HostBytes bytes = hostWith({processorStructure("a", 1).byte(0x18, 0)});
  bytes.cpuinfo = "processor : 0\ncpu MHz : 2400.000\n";
  EXPECT_THAT(deviceIds(takeInventory(bytes)), IsEmpty());
}

TEST(SmbiosMemory, SizeAndExtendedSizeGiveTheCapacity) {
  constexpr Uint64 kibi = 1024;
  constexpr Uint64 mebi = kibi * kibi;
  struct Case {
    unsigned size;
    std::uint32_t extended;
    Uint64 capacity;  // 0 for null
  };
  const auto capacityOf = [](const StructureBuilder& memory) {
    return textOf(firstOf(inventoryOf({memory}), memoryClass), "Capacity");
  };
  for (const Case& c : {Case{1, 0, mebi},
                        {0x7FFE, 0, 0x7FFE * mebi},
                        {0x8001, 0, kibi},  // bit 15: in kibibytes
                        {0x8000 | 1536, 0, 1536 * kibi},
                        {0xFFFE, 0, 0x7FFE * kibi},
                        {0xFFFF, 0, 0},
                        {512, 65536, 512 * mebi},
                        {0x7FFF, 65536, 65536 * mebi},
                        {0x7FFF, 0xFFFFFFFF, 0x7FFFFFFF * mebi},  // the highest bit is reserved
                        {0x7FFF, 0, 0}}) {
    EXPECT_EQ(capacityOf(memoryStructure("a", c.size).doubleWord(0x1C, c.extended)),
              c.capacity == 0 ? "null" : std::to_string(c.capacity))
        << c.size << ' ' << c.extended;
  }
  EXPECT_EQ(capacityOf(StructureBuilder(17, 0x1B).text(0x10, "a").word(0x0C, 0x7FFF)),
            std::to_string(0x7FFF * mebi));
}

TEST(SmbiosMemory, SpeedsAndTypeAreThoseOfTheDmtf) {
  struct Case {
    unsigned smbios;
    const char* dmtf;
  };
  const auto memoryOf = [](const StructureBuilder& structure) {
    return firstOf(inventoryOf({structure}), memoryClass);
  };
  for (const Case& c : {Case{0x0F, "17"},
                        {0x12, "20"},
                        {0x13, "21"},
                        {0x14, "23"},
                        {0x18, "24"},
                        {0x1A, "26"},
                        {0x22, "34"},
                        {0x23, "35"},
                        {0x24, "null"},
                        {2, "null"}}) {
    EXPECT_EQ(textOf(memoryOf(memoryStructure("a", 1).byte(0x12, c.smbios)), "MemoryType"), c.dmtf)
        << c.smbios;
  }
  const auto speedsOf = [&](const StructureBuilder& structure) {
    const CIMInstance memory = memoryOf(structure);
    return textOf(memory, "MaxMemorySpeed") + ' ' + textOf(memory, "ConfiguredMemoryClockSpeed");
  };
  const StructureBuilder device = StructureBuilder(17, 0x5C).text(0x10, "a").word(0x0C, 1);
  const auto speeds = [&](unsigned speed, unsigned configured) {
    return StructureBuilder(device).word(0x15, speed).word(0x20, configured);
  };
  EXPECT_EQ(speedsOf(speeds(3200, 2933)), "3200 2933");
  EXPECT_EQ(speedsOf(speeds(0, 0)), "null null");
  EXPECT_EQ(speedsOf(speeds(0xFFFF, 0xFFFF)), "null null");
  EXPECT_EQ(speedsOf(speeds(0xFFFF, 0xFFFF).doubleWord(0x54, 70000).doubleWord(0x58, 0x80011170)),
            "70000 70000");
}

TEST(SmbiosProcessor, MoreThan254CoresAreInTheWord) {
  const auto coresOf = [](unsigned cores, unsigned word) {
    const auto processor = processorStructure("a", 1).byte(0x24, cores).word(0x2C, word);
    return textOf(firstOf(inventoryOf({processor}), processorClass), "NumberOfEnabledCores");
  };
  EXPECT_EQ(coresOf(8, 300), "8");
  EXPECT_EQ(coresOf(0xFF, 300), "300");
  EXPECT_EQ(coresOf(0, 300), "null");
}

TEST(SmbiosMakers, PlaceholdersAreMissingAndLongTextsAreCut) {
  const auto makers = [](std::string_view text) {
    const CIMInstance memory = firstOf(
        inventoryOf({memoryStructure("a", 1).text(0x17, text).text(0x18, text).text(0x1A, text)}),
        memoryClass);
    return Texts{textOf(memory, "Manufacturer"), textOf(memory, "PartNumber"),
                 textOf(memory, "SerialNumber")};
  };
  EXPECT_EQ(makers(std::string(70000, 'x')),
            (Texts{std::string(256, 'x'), std::string(256, 'x'), std::string(64, 'x')}));
  for (const char* text : {"Unknown", "00000000", " ", "Not Specified"}) {
    EXPECT_EQ(makers(text), (Texts{"null", "null", "null"})) << text;
  }
  EXPECT_EQ(makers(" HMA82  "), (Texts{"HMA82", "HMA82", "HMA82"}));
}

TEST(SmbiosMemory, EmptySlotsAreLeftOut) {
  EXPECT_THAT(tags({memoryStructure("a", 0), memoryStructure("b", 0x8000), memoryStructure("c", 1),
                    StructureBuilder(17, 0x0D)}),
              ElementsAre("c"));
}

TEST(SmbiosMemory, TagAndBankLabel) {
  const Inventory inventory = inventoryOf({
      memoryStructure(" DIMM A1 ", 1).text(0x11, " BANK 0 "),
      memoryStructure("DIMM A2", 1),
      StructureBuilder(17, 0x28).word(0x0C, 1).text(0x11, "BANK 2"),
      StructureBuilder(17, 0x28).word(0x0C, 1),
  });
  EXPECT_THAT(tags(inventory), ElementsAre("DIMM A1", "DIMM A2", "BANK 2", "Memory"));
  // Without a bank it is the socket.
  EXPECT_THAT(valuesOf(inventory, memoryClass, "BankLabel"),
              ElementsAre("BANK 0", "DIMM A2", "BANK 2", "null"));
}

TEST(SmbiosMemory, RepeatedLocatorsGetTheirBankIntoTheName) {
  const auto memory = [](const char* locator, const char* bank, Uint16 size) {
    return memoryStructure(locator, size).text(0x11, bank);
  };
  EXPECT_THAT(
      tags({memory("DIMM 0", "BANK 0", 1), memory("DIMM 1", "BANK 0", 1),
            memory("DIMM 0 ", "BANK 1", 1), memory("DIMM 0", "BANK 1", 1),
            memoryStructure("DIMM 0", 1)}),
      ElementsAre("DIMM 0 BANK 0", "DIMM 1", "DIMM 0 BANK 1", "DIMM 0 BANK 1 #2", "DIMM 0"));
  // An empty slot counts, so that a module keeps its name when another one is put in.
  EXPECT_THAT(tags({memory("DIMM 0", "BANK 0", 1), memory("DIMM 0", "BANK 1", 0)}),
              ElementsAre("DIMM 0 BANK 0"));
}

TEST(SmbiosKeys, RepeatedMissingAndBlankDesignationsAreNumbered) {
  const auto cpu = [](const char* socket) { return processorStructure(socket, 1); };
  const auto dimm = [](const char* locator) { return memoryStructure(locator, 1); };
  const StructureBuilder nameless = StructureBuilder(4, 0x30).byte(0x18, 0x41);
  EXPECT_THAT(deviceIds({cpu("CPU"), cpu("CPU"), cpu("CPU ")}),
              ElementsAre("CPU", "CPU #2", "CPU #3"));
  EXPECT_THAT(deviceIds({nameless, cpu("  "), nameless}), ElementsAre("CPU", "CPU #2", "CPU #3"));
  EXPECT_THAT(tags({dimm("D"), dimm("D")}), ElementsAre("D", "D #2"));
  EXPECT_THAT(tags({dimm("D #2"), dimm("D"), dimm("D"), dimm("D #2")}),
              ElementsAre("D #2", "D", "D #3", "D #2 #2"));
}

// Otherwise a module put into the first slot would take the key of the second.
TEST(SmbiosKeys, AddingAPartLeavesTheOtherKeysAlone) {
  EXPECT_THAT(tags({memoryStructure("D", 0), memoryStructure("D", 1)}), ElementsAre("D #2"));
  EXPECT_THAT(deviceIds({processorStructure("C", 1).byte(0x18, 0), processorStructure("C", 1)}),
              ElementsAre("C #2"));
}

TEST(SmbiosKeys, LongDesignationsAreCutAndStillUnique) {
  const std::string name(300, 'x');
  const Inventory inventory = inventoryOf(
      {processorStructure(name + "1", 1), processorStructure(name + "2", 1),
       memoryStructure(name + "1", 1).text(0x11, name), memoryStructure(name + "2", 1)});
  EXPECT_THAT(deviceIds(inventory),
              ElementsAre(std::string(57, 'x'), std::string(57, 'x') + " #2"));
  EXPECT_EQ(tags(inventory).at(1), std::string(249, 'x') + " #2");
  EXPECT_EQ(valuesOf(inventory, memoryClass, "BankLabel").at(0), std::string(64, 'x'));
}

TEST(SmbiosKeys, NoCharacterIsCutInTwo) {
  // One unit before the place of the cut, a character of two.
  EXPECT_THAT(deviceIds({processorStructure(std::string(56, 'x') + "\xF0\x9F\x98\x80", 1)}),
              ElementsAre(std::string(56, 'x')));
}

// Numbering that starts again for each of them would take minutes.
TEST(SmbiosKeys, TensOfThousandsThatDifferTooLateAreNumberedQuickly) {
  std::vector<StructureBuilder> structures;
  structures.reserve(30000);
  for (int i = 0; i < 30000; ++i) {
    structures.push_back(memoryStructure(std::string(256, 'x') + std::to_string(i / 2), 1));
  }
  const std::vector<std::string> all = tags(takeInventory(hostWith(structures)));
  EXPECT_EQ((std::set<std::string>(all.begin(), all.end()).size()), 30000U);
}

TEST(SmbiosTexts, Utf8AndEverythingElse) {
  struct Case {
    const char* firmware;
    const char* text;
  };
  for (const Case& c :
       {Case{"M\xC3\xBCller", "M\xC3\xBCller"}, Case{"M\xFCller", "M\xC3\xBCller"},
        Case{"\xE6\x9C\xBA", "\xE6\x9C\xBA"}, Case{"\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
        Case{"a\x01"
             "b\x1F"
             "c",
             "a?b?c"},
        Case{"\xEF\xBF\xBF", "?"}, Case{"a\tb", "a\tb"}}) {
    EXPECT_EQ(systemTexts({systemStructure(c.firmware, c.firmware)}), (Texts{c.text, c.text}));
  }
}

TEST(SmbiosInventory, StructuresComeInAnyOrderAmongOthers) {
  const Inventory inventory =
      inventoryOf({memoryStructure("m", 1), StructureBuilder(0, 0x18), processorStructure("p", 1),
                   memoryStructure("inactive", 1).byte(0, 126),
                   StructureBuilder(221, 9).text(4, "other"), systemStructure("s", "1")});
  EXPECT_EQ(systemTexts(inventory), (Texts{"s", "1"}));
  EXPECT_THAT(deviceIds(inventory), ElementsAre("p"));
  EXPECT_THAT(tags(inventory), ElementsAre("m"));
  EXPECT_THAT(inventory.messages, IsEmpty());
}

TEST(SmbiosInventory, StructuresBeforeDamageAreKeptAndDamageIsReported) {
  HostBytes bytes = hostWith(
      {systemStructure("s", "1"), processorStructure("p", 1), memoryStructure("m", 1).byte(1, 3)});
  const Inventory inventory = takeInventory(bytes);
  EXPECT_EQ(systemTexts(inventory), (Texts{"s", "1"}));
  EXPECT_THAT(deviceIds(inventory), ElementsAre("p"));
  EXPECT_THAT(tags(inventory), IsEmpty());
  EXPECT_THAT(inventory.messages,
              ElementsAre(StartsWith("the SMBIOS table is damaged: the structure at")));
}

}  // namespace
}  // namespace cimd::test
