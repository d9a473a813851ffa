// Hosts without SMBIOS tables: processors as the kernel sees them.
#include "host/inventory.h"

#include "smbios_support.h"

namespace cimd::test {
namespace {

std::string describe(const ProcessorFacts& processor) {
  return processor.deviceId.toUtf8() + '|' + (processor.name ? processor.name->toUtf8() : "none") +
         '|' + (processor.clockMegahertz ? std::to_string(*processor.clockMegahertz) : "none");
}

std::vector<std::string> processorsIn(std::string_view cpuinfo) {
  std::vector<std::string> result;
  for (const ProcessorFacts& processor : readCpuinfo(cpuinfo)) {
    result.push_back(describe(processor));
  }
  return result;
}

TEST(Cpuinfo, OneProcessorForEachPackage) {
  EXPECT_THAT(processorsIn("processor\t: 0\nmodel name\t: Example CPU\ncpu MHz\t\t: 2499.986\n"
                           "physical id\t: 1\n\n"
                           "processor\t: 1\nmodel name\t: Example CPU\ncpu MHz\t\t: 800.000\n"
                           "physical id\t: 0\n\n"
                           "processor\t: 2\nmodel name\t: Example CPU\ncpu MHz\t\t: 1200.5\n"
                           "physical id\t: 1\n\n"),
              ElementsAre("CPU 0|Example CPU|800", "CPU 1|Example CPU|2500"));
  EXPECT_THAT(processorsIn("processor:0\nphysical id:10\nprocessor:1\nphysical id:9\n"),
              ElementsAre("CPU 9|none|none", "CPU 10|none|none"))
      << "in the order of their numbers";
}

TEST(Cpuinfo, WithoutPackagesThereIsOneProcessor) {
  EXPECT_THAT(processorsIn("processor\t: 0\nBogoMIPS\t: 50.00\n\nprocessor\t: 1\n\n"
                           "Hardware\t: Example Board\nmodel name : late\n"),
              ElementsAre("CPU 0|none|none"));
}

TEST(Cpuinfo, OnlyAPositiveNumberIsAClock) {
  for (const char* text : {"", "fast", "0.000", "-5", "nan", "inf", "1e300", "4294967296", "24 00",
                           "2400MHz", "0x960"}) {
    EXPECT_THAT(processorsIn(std::string("processor : 0\ncpu MHz : ") + text),
                ElementsAre("CPU 0|none|none"))
        << text;
  }
  EXPECT_THAT(processorsIn("processor : 0\ncpu MHz : 4294967294"),
              ElementsAre("CPU 0|none|4294967294"));
}

TEST(Cpuinfo, OtherTextsHaveNoProcessors) {
  for (const char* text : {"", "\n\n:\n", "physical id : 1\ncpu MHz : 5\n", "processor", "\xFF:"}) {
    EXPECT_THAT(processorsIn(text), IsEmpty()) << text;
  }
}

TEST(Cpuinfo, TheNumberOfPackagesIsLimited) {
  std::string text;
  for (int i = 0; i < 20000; ++i) {
    text += "processor:0\nphysical id:" + std::to_string(i) + '\n';
  }
  EXPECT_EQ(readCpuinfo(text).size(), 8192U);
}

HostBytes withoutTables() {
  HostBytes bytes;
  bytes.hostName = "host";
  bytes.cpuinfo = "processor : 0\nmodel name : Example CPU\ncpu MHz : 2400.000\n";
  return bytes;
}

TEST(HostWithoutSmbios, HasOnlyItsProcessorsAndReportsThat) {
  const Inventory inventory = takeInventory(withoutTables());
  EXPECT_FALSE(inventory.system);
  EXPECT_THAT(inventory.memory, IsEmpty());
  ASSERT_EQ(inventory.processors.size(), 1U);
  EXPECT_EQ(describe(inventory.processors[0]), "CPU 0|Example CPU|2400");
  EXPECT_THAT(inventory.messages,
              ElementsAre("the host has no SMBIOS tables: processors and their clocks are from "
                          "cpuinfo"));
}

TEST(HostWithoutSmbios, OneFileOfTheTwoIsNotEnough) {
  HostBytes bytes = withoutTables();
  bytes.entryPoint = entryPoint64(100);
  EXPECT_EQ(takeInventory(bytes).processors.size(), 1U);
  bytes = withoutTables();
  bytes.table = systemStructure("s", "1").bytes();
  EXPECT_FALSE(takeInventory(bytes).system);
}

TEST(HostWithoutSmbios, WithoutCpuinfoNothingIsLeft) {
  const Inventory inventory = takeInventory(HostBytes{});
  EXPECT_THAT(inventory.processors, IsEmpty());
  EXPECT_THAT(inventory.messages,
              ElementsAre("the host has no SMBIOS tables, and cpuinfo lists no processors"));
}

TEST(HostWithoutSmbios, DamagedEntryPointIsNotUsed) {
  HostBytes bytes = hostWith({systemStructure("s", "1")});
  bytes.entryPoint->back() = '!';
  bytes.cpuinfo = withoutTables().cpuinfo;
  const Inventory inventory = takeInventory(bytes);
  EXPECT_FALSE(inventory.system);
  EXPECT_EQ(inventory.processors.size(), 1U);
  EXPECT_THAT(inventory.messages, ElementsAre("the SMBIOS entry point is damaged: processors and "
                                              "their clocks are from cpuinfo"));
}

TEST(HostWithoutSmbios, TableWithoutProcessorsLeavesThemToCpuinfo) {
  HostBytes bytes = hostWith({systemStructure("s", "1")});
  bytes.cpuinfo = withoutTables().cpuinfo;
  const Inventory inventory = takeInventory(bytes);
  EXPECT_TRUE(inventory.system);
  EXPECT_EQ(inventory.processors.size(), 1U);
  EXPECT_THAT(inventory.messages,
              ElementsAre("the SMBIOS table does not mention processors: processors and their "
                          "clocks are from cpuinfo"));
}

// The clock of cpuinfo is no better because this process may not read the tables.
TEST(HostWithoutSmbios, TablesThatCannotBeReadAreNotReplaced) {
  HostBytes bytes = withoutTables();
  bytes.areTablesUnreadable = true;
  bytes.messages = {"cannot open DMI: Permission denied"};
  const HostInventory host = describeHost(bytes);
  EXPECT_THAT(host.instances, IsEmpty());
  EXPECT_THAT(
      host.messages,
      ElementsAre("cannot open DMI: Permission denied",
                  "the SMBIOS tables cannot be read: the inventory of the host stays empty"));
}

}  // namespace
}  // namespace cimd::test
