// Which lines of a data file are for which machines, without a server.
#include "fleet.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

#include "../src/fake_client.h"

namespace show {
namespace {

using namespace Pegasus;

Parts partsOf(const std::vector<std::optional<String>>& texts) {
  Parts parts;
  for (const auto& text : texts) {
    parts.list.push_back({.compared = text});
  }
  return parts;
}

NamedInventory machineOf(const std::string& file, const std::vector<std::optional<String>>& clocks,
                         const std::vector<std::optional<String>>& sizes, const char* language) {
  NamedInventory named = {file, {}};
  Machine& machine = named.inventory.machine.emplace();
  machine.processors = partsOf(clocks);
  machine.memoryModules = partsOf(sizes);
  machine.languageCode = language;
  return named;
}

constexpr const char* lines =
    "# x\n"
    "\"1\",\"PROCESSOR\",\"SPEED=2400\",\"x\"\n"
    "\"2\",\"PROCESSOR\",\"\",\"x\"\n"
    "\"3\",\"MEMORY\",\"SIZE=512\",\"x\"\n"
    "\"4\",\"MEMORY\",\"\",\"x\"\n"
    "\"5\",\"KEYBOARD\",\"LANGUAGE=de\",\"x\"\n"
    "\"A130008\",\"KEYBOARD\",\"\",\"x\"\n"
    "\"6\",\"PLANAR\",\"\",\"x\"\n"
    "\"7\",\"PLANAR\",\"\",\"x\"\n"
    "\"6\",\"CDROM\",\"\",\"x\"\n"
    "\"8\",\"CDROM\",\"\",\"x\"\n"
    "\"a\x01\",\"FAN\",\"\",\"x\"\n"
    "\"1\",\"FAN\",\"\",\"x\"\n"
    "\"9\",\"FANS\",\"\",\"x\"\n"
    "\"9\",\"FLOPPY\",\"\",\"x\"\n"
    "\"9\",\"OPTIONSP\",\"\",\"x\"\n"
    "\"10\",\"FAN\",\"\",\"x\"";

Fleet explainLines(const std::vector<NamedInventory>& machines) {
  std::istringstream file(lines);
  return explainOn(machines, file);
}

// The machines of the entry in that line, by position.
std::string machinesOf(const Fleet& fleet, std::uint64_t line) {
  for (const FleetLine& entry : fleet.entries) {
    if (entry.line == line) {
      std::string marks;
      for (const bool isPublished : entry.isPublished) {
        marks += isPublished ? 'x' : '-';
      }
      return marks;
    }
  }
  return "ignored";
}

TEST(Fleet, EntriesAreComparedWithEachMachine) {
  const Fleet fleet = explainLines(
      {machineOf("a", {"2400"}, {"512"}, "en"), machineOf("b", {"1800", "2400"}, {"256"}, "de"),
       machineOf("c", {"2400"}, {"512"}, "en"), machineOf("d", {}, {}, "")});
  EXPECT_EQ(machinesOf(fleet, 1), "ignored");
  EXPECT_EQ(machinesOf(fleet, 2), "xxx-");
  EXPECT_EQ(machinesOf(fleet, 3), "----");
  EXPECT_EQ(machinesOf(fleet, 4), "x-x-");
  EXPECT_EQ(machinesOf(fleet, 6), "-x--");
  EXPECT_EQ(machinesOf(fleet, 8), "xxxx");
  EXPECT_EQ(machinesOf(fleet, 9), "----");
  EXPECT_EQ(machinesOf(fleet, 14), "ignored");
  EXPECT_EQ(fleet.entries.size(), 14U);
  EXPECT_EQ(fleet.ignored, 3U) << "the comment, the unknown category and the unfinished line";
}

TEST(Fleet, PartsAfterOneWithoutAValueDoNotCount) {
  const Fleet fleet = explainLines({machineOf("a", {"1800", std::nullopt, "2400"}, {}, ""),
                                    machineOf("b", {"1800", "2400", std::nullopt}, {}, "")});
  EXPECT_EQ(machinesOf(fleet, 2), "-x");
}

// The inventory of a machine gives the same as asking its server.
TEST(Fleet, ExplanationsAreThoseOfAServer) {
  struct Case {
    std::vector<Uint32> clocks;
    Uint64 capacity;
    const char* lang;
  };
  for (const Case& each : {Case{{2400}, 536870912, "de_DE"}, Case{{1800, 2400}, 0, "C"},
                           Case{{}, 268435456, "en_US"}}) {
    fakeServer = {};
    setenv("LANG", each.lang, 1);
    fakeServer.classes["KVAXDT_ComputerSystemDetails"] = {};
    auto& processors = fakeServer.classes["KVAXDT_Processor"];
    for (const Uint32 clock : each.clocks) {
      processors.push_back(
          instanceWith("KVAXDT_Processor", {CIMProperty("CurrentClockSpeed", CIMValue(clock))}));
    }
    fakeServer.classes["KVAXDT_PhysicalMemory"] = {
        instanceWith("KVAXDT_PhysicalMemory", {CIMProperty("Capacity", CIMValue(each.capacity))})};
    CIMClient client(1);
    const Machine machine = readMachine(client);
    Explainer asking(client, machine);
    Explainer knowing(machine);
    std::istringstream file(lines);
    String line;
    for (LineRead read = readAnyLine(file, line); read != LineRead::end;
         read = readAnyLine(file, line)) {
      const Explanation expected = asking.explain(read, line);
      const Explanation explanation = knowing.explain(read, line);
      EXPECT_EQ(explanation.result, expected.result) << line;
      EXPECT_STREQ(explanation.reason.code, expected.reason.code) << line;
      EXPECT_EQ(explanation.reason.words, expected.reason.words) << line;
    }
  }
  fakeServer = {};
}

std::string written(const std::vector<NamedInventory>& machines, bool isCsv = false) {
  std::ostringstream out;
  writeFleet({.out = out, .form = {.isCsv = isCsv}}, explainLines(machines));
  return out.str();
}

TEST(Fleet, MachinesThatPublishTheSameShareAColumn) {
  std::vector<NamedInventory> machines;
  for (int i = 0; i < 6; ++i) {
    machines.push_back(machineOf("m" + std::to_string(i), {String(std::to_string(i))}, {}, ""));
    machines.back().inventory.machine->machineType = "1234";
    machines.back().inventory.machine->model = i == 0 ? "B" : "A";
  }
  machines.push_back(machineOf("n", {"2400"}, {}, ""));
  const std::string text = written(machines);
  EXPECT_NE(text.find("1       6         1234   A and B  m0, m1, m2 and 3 others\n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("2       1         -      -        n\n"), std::string::npos) << text;
  EXPECT_NE(text.find("\n2     PROCESSOR  1           1         -  x\n"), std::string::npos)
      << text;
  EXPECT_NE(text.find("\n14 entries: 8 for none of the machines: lines 3, 4, 5, "),
            std::string::npos)
      << text;
}

TEST(Fleet, MachinesWithTheSameHostNameAreNamedWithTheirFiles) {
  std::vector<NamedInventory> machines = {machineOf("old/a", {}, {}, ""),
                                          machineOf("new/a", {}, {}, ""),
                                          machineOf("b", {}, {}, ""), machineOf("c", {}, {}, "")};
  machines[0].inventory.machine->hostName = "db1";
  machines[1].inventory.machine->hostName = "db1";
  machines[2].inventory.machine->hostName = "db2";
  machines[3].inventory.machine.reset();
  EXPECT_EQ(labelsOf(machines), (std::vector<String>{"db1 (old/a)", "db1 (new/a)", "db2", "c"}));
}

TEST(Fleet, CsvHasAColumnForEachMachine) {
  const std::string text =
      written({machineOf("a", {"1"}, {}, ""), machineOf("b", {"1"}, {}, "")}, true);
  EXPECT_TRUE(text.starts_with("line,category,fruNumber,description,machines,a,b\r\n")) << text;
  EXPECT_NE(text.find("\r\n8,PLANAR,6,x,2,published,published\r\n"), std::string::npos) << text;
}

}  // namespace
}  // namespace show
