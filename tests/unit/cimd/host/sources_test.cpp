// The sources of an inventory beside the SMBIOS tables: their files, cpuinfo, models.
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

#include "smbios_support.h"

namespace cimd::test {
namespace {

namespace fs = std::filesystem;
using Names = std::map<String, String>;

// --- files

class HostFiles : public Test {
 protected:
  HostBytes read() const { return readHostBytes(recordedHost(directory_.path())); }

  TemporaryDirectory directory_;
};

TEST_F(HostFiles, BytesAreReadUnchanged) {
  const std::string bytes("\0\xFF\r\n", 4);
  directory_.write("smbios_entry_point", bytes + "1");
  directory_.write("DMI", bytes + "2");
  directory_.write("cpuinfo", bytes + "3");
  const HostBytes host = read();
  EXPECT_EQ(host.entryPoint, bytes + "1");
  EXPECT_EQ(host.table, bytes + "2");
  EXPECT_EQ(host.cpuinfo, bytes + "3");
  EXPECT_FALSE(host.areTablesUnreadable);
  EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(HostFiles, MissingFilesAreNotAnError) {
  const fs::path file = directory_.write("file", "");
  for (const fs::path& place : {directory_.path(), directory_.path() / "missing", file}) {
    const HostBytes host = readHostBytes(recordedHost(place));
    EXPECT_FALSE(host.entryPoint || host.table || host.cpuinfo) << place;
    EXPECT_FALSE(host.areTablesUnreadable) << place;
    EXPECT_THAT(host.messages, IsEmpty()) << place;
  }
}

TEST_F(HostFiles, TheNameIsThatOfThisHost) {
  std::array<char, 256> name{};
  ASSERT_EQ(gethostname(name.data(), name.size() - 1), 0);
  EXPECT_EQ(readHostBytes(recordedHost("/nonexistent")).hostName, name.data());
}

TEST_F(HostFiles, TheKernelsCpuinfoIsReadThoughItHasNoSize) {
  HostSources sources;
  sources.tablesDirectory = "/nonexistent";
  EXPECT_GT(readHostBytes(sources).cpuinfo.value_or("").size(), 10U);
}

// A pipe has no writer here: neither opening nor reading may wait for one.
TEST_F(HostFiles, WhatIsNotARegularFileIsRefusedWithoutWaiting) {
  directory_.write("smbios_entry_point", "x");
  const fs::path pipe = directory_.path() / "DMI";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const HostBytes withPipe = read();
  EXPECT_FALSE(withPipe.table);
  EXPECT_TRUE(withPipe.areTablesUnreadable);
  EXPECT_THAT(withPipe.messages, ElementsAre(pipe.string() + " is not a regular file"));
  fs::remove(pipe);
  fs::create_directory(pipe);
  EXPECT_TRUE(read().areTablesUnreadable);
  HostSources sources;
  sources.tablesDirectory = "/nonexistent";
  sources.cpuinfo = "/dev/zero";
  const HostBytes endless = readHostBytes(sources);
  EXPECT_FALSE(endless.cpuinfo);
  EXPECT_FALSE(endless.areTablesUnreadable) << "cpuinfo is not a table";
  EXPECT_THAT(endless.messages, ElementsAre("/dev/zero is not a regular file"));
}

TEST_F(HostFiles, TheirSizeIsLimited) {
  for (const char* name : {"DMI", "smbios_entry_point", "cpuinfo"}) {
    fs::resize_file(directory_.write(name, ""), std::uintmax_t{1} << 40U);
  }
  const HostBytes host = read();
  EXPECT_FALSE(host.entryPoint || host.table || host.cpuinfo);
  EXPECT_TRUE(host.areTablesUnreadable);
  EXPECT_THAT(host.messages, ElementsAre(EndsWith("entry_point is larger than 4 MiB"),
                                         EndsWith("DMI is larger than 4 MiB"),
                                         EndsWith("cpuinfo is larger than 32 MiB")));
}

// ELOOP represents every reason other than absence, since root, who may run the tests, may read
// all.
TEST_F(HostFiles, ReasonIsReportedWhenOneCannotBeOpened) {
  fs::create_symlink("DMI", directory_.path() / "DMI");
  const HostBytes host = read();
  EXPECT_TRUE(host.areTablesUnreadable);
  EXPECT_THAT(host.messages, ElementsAre("cannot open " + (directory_.path() / "DMI").string() +
                                         ": Too many levels of symbolic links"));
}

// --- cpuinfo

std::vector<std::string> processorsIn(std::string_view cpuinfo) {
  std::vector<std::string> result;
  for (const auto& [number, package] : readCpuinfo(cpuinfo)) {
    result.push_back(std::to_string(number) + '|' + std::string(package.name) + '|' +
                     (package.megahertz ? std::to_string(*package.megahertz) : "none"));
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
              ElementsAre("0|Example CPU|800", "1|Example CPU|2500"));
  EXPECT_THAT(processorsIn("processor:0\nphysical id:10\nprocessor:1\nphysical id:9\n"),
              ElementsAre("9||none", "10||none"))
      << "in the order of their numbers";
}

TEST(Cpuinfo, WithoutPackagesThereIsOneProcessor) {
  EXPECT_THAT(processorsIn("processor\t: 0\nBogoMIPS\t: 50.00\n\nprocessor\t: 1\n\n"
                           "Hardware\t: Example Board\nmodel name : late\n"),
              ElementsAre("0||none"));
}

TEST(Cpuinfo, OnlyAPositiveNumberIsAClock) {
  for (const char* text : {"", "fast", "0.000", "-5", "nan", "inf", "1e300", "4294967296", "24 00",
                           "2400MHz", "0x960"}) {
    EXPECT_THAT(processorsIn(std::string("processor : 0\ncpu MHz : ") + text),
                ElementsAre("0||none"))
        << text;
  }
  EXPECT_THAT(processorsIn("processor : 0\ncpu MHz : 4294967294"), ElementsAre("0||4294967294"));
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

// The host of one machine with SMBIOS tables or without, and with one processor in its cpuinfo.
struct HostCase {
  const char* what;
  HostBytes bytes;
  bool hasSystem;
  std::vector<std::string> processors;
  std::vector<std::string> messages;
};

TEST(HostWithoutSmbios, HasItsProcessorsFromCpuinfoAndReportsThat) {
  HostBytes bare;
  bare.hostName = "host";
  bare.cpuinfo = "processor : 0\nmodel name : Example CPU\ncpu MHz : 2400.000\n";
  HostBytes nothing;
  nothing.directory = bare.directory = "tables";
  HostBytes pointerOnly = bare;
  pointerOnly.entryPoint = entryPoint64(100);
  HostBytes tableOnly = bare;
  tableOnly.table = systemStructure("s", "1").bytes();
  HostBytes withoutProcessors = hostWith({systemStructure("s", "1")});
  withoutProcessors.cpuinfo = bare.cpuinfo;
  HostBytes damaged = withoutProcessors;
  damaged.entryPoint->back() = '!';
  HostBytes unreadable = bare;
  unreadable.areTablesUnreadable = true;
  unreadable.messages = {"cannot open DMI: Permission denied"};
  const std::vector<std::string> processor{"CPU 0|Example CPU|2400"};
  const std::string noTables = "there are no SMBIOS tables in tables";
  const std::string fromCpuinfo = ": processors and their clocks are from cpuinfo";
  for (const HostCase& c :
       {HostCase{"no tables", bare, false, processor, {noTables + fromCpuinfo}},
        {"an entry point alone", pointerOnly, false, processor, {noTables + fromCpuinfo}},
        {"a table alone", tableOnly, false, processor, {noTables + fromCpuinfo}},
        {"a damaged entry point",
         damaged,
         false,
         processor,
         {"the SMBIOS entry point is damaged" + fromCpuinfo}},
        {"no processors in the table",
         withoutProcessors,
         true,
         processor,
         {"the SMBIOS table does not mention processors" + fromCpuinfo}},
        {"nothing", nothing, false, {}, {noTables + ", and cpuinfo lists no processors"}},
        // The clock of cpuinfo is no better because this process may not read the tables.
        {"tables that cannot be read",
         unreadable,
         false,
         {},
         {"cannot open DMI: Permission denied",
          "the SMBIOS tables cannot be read: the inventory of the host stays empty"}}}) {
    SCOPED_TRACE(c.what);
    const Inventory inventory = takeInventory(c.bytes);
    EXPECT_EQ(valuesOf(inventory, "KVAXDT_ComputerSystemDetails", "model").size(),
              c.hasSystem ? 1U : 0U);
    EXPECT_THAT(valuesOf(inventory, "KVAXDT_PhysicalMemory", "Tag"), IsEmpty());
    std::vector<std::string> processors;
    for (const CIMInstance& instance : inventory.instances) {
      if (instance.getClassName() == "KVAXDT_Processor") {
        processors.push_back(textOf(instance, "DeviceID") + '|' + textOf(instance, "Name") + '|' +
                             textOf(instance, "CurrentClockSpeed"));
      }
    }
    EXPECT_EQ(processors, c.processors);
    EXPECT_EQ(inventory.messages, c.messages);
  }
}

// --- models

TEST(Models, FileHasOneProductOnEachLine) {
  EXPECT_EQ(parseModels("", "f"), Names());
  EXPECT_EQ(parseModels("# comment\n\n \t\r\n"
                        " ProL 5 =\t1234-ABC \r\n"
                        "L\u00fcfter=a = b # c",
                        "f"),
            (Names{{"ProL 5", "1234-ABC"}, {"L\u00fcfter", "a = b # c"}}));
}

TEST(Models, WrongLinesAreNamed) {
  const auto errorOf = [](std::string_view text) -> std::string {
    try {
      parseModels(text, "f");
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "";
  };
  EXPECT_EQ(errorOf("a=b\n\nProL\n"), "f:3: not of the form PRODUCT NAME = MODEL");
  EXPECT_EQ(errorOf("=b"), "f:1: no product name");
  EXPECT_EQ(errorOf("a= \n"), "f:1: no model");
  EXPECT_EQ(errorOf("a=b\n a = c"), "f:2: duplicate product name 'a'");
  EXPECT_EQ(errorOf("a=\xFC"), "f:1: not UTF-8, or a control character");
  EXPECT_EQ(errorOf("a\x01=b"), "f:1: not UTF-8, or a control character");
  EXPECT_EQ(errorOf(std::string_view("a=b\0", 4)), "f:1: not UTF-8, or a control character");
}

TEST(Models, ModelTakesThePlaceOfTheProductName) {
  const Models byProduct = {.byProduct = {{"ProL", "1234"}, {"OEM", "2345"}}};
  const auto modelOf = [](const char* product, const Models& models) {
    const Inventory inventory = takeInventory(
        hostWith({systemStructure(product, "S1"), processorStructure("CPU", 1800)}), models);
    EXPECT_EQ(inventory.instances.size(), 2U) << "the rest stays";
    EXPECT_EQ(textOf(inventory.instances.at(0), "serialNumber"), "S1");
    EXPECT_TRUE(inventory.messages.empty());
    return textOf(inventory.instances.at(0), "model");
  };
  EXPECT_EQ(modelOf(" ProL ", byProduct), "1234");
  EXPECT_EQ(modelOf("ProL 5", byProduct), "ProL 5");
  EXPECT_EQ(modelOf("OEM", byProduct), "2345") << "even a placeholder";
  EXPECT_EQ(modelOf("OEM", {.any = "3456"}), "3456");
}

TEST(Models, OneForEveryMachineNeedsNoProductName) {
  const Models any = {.any = "3456"};
  const auto modelOf = [&](const HostBytes& bytes) {
    return valuesOf(takeInventory(bytes, any), "KVAXDT_ComputerSystemDetails", "model");
  };
  EXPECT_THAT(modelOf(hostWith({})), ElementsAre("3456"));
  EXPECT_THAT(modelOf(HostBytes()), ElementsAre("3456"));
  HostBytes unreadable;
  unreadable.areTablesUnreadable = true;
  EXPECT_THAT(modelOf(unreadable), IsEmpty());
}

}  // namespace
}  // namespace cimd::test
