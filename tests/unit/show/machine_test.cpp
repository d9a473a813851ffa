// Reading the machine from servers that say much, little, or something else.
#include "machine.h"

#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "../src/fake_client.h"
#include "inventory.h"
#include "output.h"

namespace show {
namespace {

using namespace Pegasus;

class MachineTest : public testing::Test {
 protected:
  void SetUp() override {
    fakeServer = {};
    for (const char* name :
         {"KVAXDT_ComputerSystemDetails", "KVAXDT_Processor", "KVAXDT_PhysicalMemory"}) {
      fakeServer.classes[name] = {};
    }
  }
  // The next test's client exists before its SetUp().
  void TearDown() override { fakeServer = {}; }

  static void addModule(const char* tag, std::vector<CIMProperty> properties) {
    properties.emplace_back("Tag", CIMValue(String(tag)));
    CIMInstance instance = instanceWith("KVAXDT_PhysicalMemory", properties);
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding("Tag", tag, CIMKeyBinding::STRING));
    instance.setPath({String(), String(), "KVAXDT_PhysicalMemory", keys});
    fakeServer.classes["KVAXDT_PhysicalMemory"].push_back(instance);
  }
  static CIMProperty capacity(Uint64 bytes) { return {"Capacity", CIMValue(bytes)}; }

  Machine read() {
    Machine machine = readMachine(client_);
    addDetails(client_, machine);
    return machine;
  }

  CIMClient client_{1};
};

TEST_F(MachineTest, DetailsAreThoseOfTheDmtf) {
  fakeServer.classes["KVAXDT_ComputerSystemDetails"] = {
      instanceWith("KVAXDT_ComputerSystemDetails", {{"name", CIMValue(String("db1"))},
                                                    {"model", CIMValue(String("-[1234ABX]-"))},
                                                    {"serialNumber", CIMValue(String("S1"))},
                                                    {"manufacturer", CIMValue(String("Maker"))}})};
  fakeServer.classes["KVAXDT_Processor"] = {
      instanceWith("KVAXDT_Processor", {{"DeviceID", CIMValue(String("CPU 1"))},
                                        {"Name", CIMValue(String("Processor"))},
                                        {"CurrentClockSpeed", CIMValue(Uint32{2400})},
                                        {"MaxClockSpeed", CIMValue(Uint32{3000})},
                                        {"NumberOfEnabledCores", CIMValue(Uint16{8})},
                                        {"SerialNumber", CIMValue(String("P1"))}})};
  addModule("DIMM 1", {capacity(Uint64{16} << 30U),
                       {"ElementName", CIMValue(String("slot"))},
                       {"BankLabel", CIMValue(String("BANK 0"))},
                       {"MemoryType", CIMValue(Uint16{26})},
                       {"MaxMemorySpeed", CIMValue(Uint32{3200})},
                       {"ConfiguredMemoryClockSpeed", CIMValue(Uint32{2933})},
                       {"Manufacturer", CIMValue(String("M"))},
                       {"PartNumber", CIMValue(String("PN"))},
                       {"SerialNumber", CIMValue(String("SN"))}});
  Machine machine = read();
  machine.language = "en_US";
  machine.languageCode = "en";
  EXPECT_EQ(
      toJson(machine, 2).dump(),
      R"({"hostName":"db1","manufacturer":"Maker","model":"-[1234ABX]-","machineType":"1234",)"
      R"("serialNumber":"S1","languageCode":"en","lang":"en_US",)"
      R"("processors":[{"place":"CPU 1","name":"Processor","clockMHz":2400,"comparedAs":"2400",)"
      R"("maxClockMHz":3000,"cores":8,"manufacturer":null,"partNumber":null,"serialNumber":"P1"}],)"
      R"("memoryModules":[{"place":"DIMM 1","locator":"slot","bank":"BANK 0","type":"DDR4",)"
      R"("sizeMiB":16384,"sizeBytes":17179869184,"comparedAs":"16384","speedMHz":2933,)"
      R"("manufacturer":"M","partNumber":"PN","serialNumber":"SN"}]})");
}

TEST_F(MachineTest, MissingNullAndOtherTypesAreAbsent) {
  addModule("DIMM 1", {capacity(1),
                       {"MemoryType", CIMValue(String("26"))},
                       {"MaxMemorySpeed", CIMValue(Uint32{3200})},
                       {"ConfiguredMemoryClockSpeed", CIMValue(CIMTYPE_UINT32, false)},
                       {"PartNumber", CIMValue(CIMTYPE_STRING, false)},
                       {"SerialNumber", CIMValue(Uint32{7})},
                       {"BankLabel", CIMValue(String())}});
  addModule("DIMM 2", {{"MemoryType", CIMValue(Uint16{1})}});
  const Machine machine = read();
  EXPECT_FALSE(machine.hasSystem || machine.hostName);
  const Part& module = machine.memoryModules.list.at(0);
  EXPECT_FALSE(module.type || module.partNumber || module.serialNumber || module.bank);
  EXPECT_EQ(module.maxSpeed, 3200U) << "the highest one where none is configured";
  EXPECT_FALSE(machine.memoryModules.list.at(1).compared || machine.memoryModules.list.at(1).type);
}

TEST_F(MachineTest, DetailsGoToThePartOfThatNameInAnyOrder) {
  addModule("DIMM 1", {capacity(Uint64{1} << 20U)});
  addModule("DIMM 2", {capacity(Uint64{2} << 20U)});
  Machine machine = readMachine(client_);
  auto& modules = fakeServer.classes["KVAXDT_PhysicalMemory"];
  std::swap(modules[0], modules[1]);
  addModule("DIMM 3", {capacity(Uint64{3} << 20U)});
  addDetails(client_, machine);
  ASSERT_EQ(machine.memoryModules.list.size(), 2U);
  EXPECT_EQ(machine.memoryModules.list[0].place, String("DIMM 1"));
  EXPECT_EQ(machine.memoryModules.list[1].place, String("DIMM 2"));
  EXPECT_EQ(machine.memoryModules.list[1].compared, String("2"));
}

TEST_F(MachineTest, DetailsIncludeThoseThatAClassInherits) {
  addModule("DIMM 1", {capacity(1)});
  read();
  EXPECT_TRUE(fakeServer.calls.back().starts_with(
      "enumerateInstances root/kvasd KVAXDT_PhysicalMemory true false"))
      << fakeServer.calls.back();
}

TEST_F(MachineTest, RefusedDetailsLeaveWhatMorvikReads) {
  addModule("DIMM 1", {capacity(Uint64{1} << 20U)});
  Machine machine = readMachine(client_);
  fakeServer.beforeAnswer = [](const std::string&) { throw CIMException(CIM_ERR_FAILED); };
  addDetails(client_, machine);
  EXPECT_EQ(machine.memoryModules.list.at(0).compared, String("1"));
  EXPECT_FALSE(machine.memoryModules.list.at(0).place);
}

TEST_F(MachineTest, RefusedClassesAreNamed) {
  fakeServer.classes.clear();
  const Machine machine = read();
  EXPECT_TRUE(machine.systemRefusal && machine.processors.refusal && machine.memoryModules.refusal);
  EXPECT_EQ(groupWords(machine.processors), String("unknown"));
}

TEST_F(MachineTest, PartsAreFoundByPlaceThenBySlotThenByOtherNames) {
  Machine machine;
  machine.processors.list = {{.place = "CPU 1"}, {.place = "--"}, {}};
  machine.memoryModules.list = {
      {.place = "DIMM 1 BANK 0", .locator = "DIMM 1"},
      {.place = "DIMM 1 BANK 1", .locator = "DIMM 1"},
      {.place = "DIMM 2", .locator = "dimm 1"},
      {.place = "dimm2"},
      {.place = "P1-DIMMA1"},
      {.place = "NODE 1 SLOT 2", .bank = "CHANNEL 0", .serialNumber = "S-1"},
      {.place = "NODE 2 SLOT 2", .partNumber = "M393A4-CTD"},
      {.place = "NODE 2 SLOT 12"},
      {.place = "A1"},
      {.place = "3"}};
  for (const auto& [name, expected] :
       std::map<std::string, std::string>{{"CPU 1", "CPU 1:"},
                                          {"cpu1", "CPU 1:"},
                                          {"DIMM 1", "DIMM 1 BANK 0;DIMM 1 BANK 1;"},
                                          {"DIMM 1 BANK 1", "DIMM 1 BANK 1;"},
                                          {"DIMM 2", "DIMM 2;"},
                                          {"Dimm2", "DIMM 2;dimm2;"},
                                          {"DIMM1", "DIMM 1 BANK 0;DIMM 1 BANK 1;DIMM 2;"},
                                          {"p1_dimm a1", "P1-DIMMA1;"},
                                          {"s1", "NODE 1 SLOT 2;"},
                                          {"M393A4 CTD", "NODE 2 SLOT 2;"},
                                          {"channel 0", "NODE 1 SLOT 2;"},
                                          {"SLOT2", "NODE 1 SLOT 2;NODE 2 SLOT 2;"},
                                          {"1 SLOT 2", "NODE 1 SLOT 2;"},
                                          {"DIMM.Socket.A1", "A1;"}}) {
    std::string places;
    for (const Part* part : partsNamed(machine, String(name))) {
      places += part->place->toUtf8() + (part == &machine.processors.list[0] ? ":" : ";");
    }
    EXPECT_EQ(places, expected) << name;
  }
  for (const char* other : {"", "-", "DIMM 3", "CPU 2 A1", "CPU 3", "SLOT", "2 A", "OT 2"}) {
    EXPECT_TRUE(partsNamed(machine, other).empty()) << other;
  }
}

TEST_F(MachineTest, UnusableValuesAreMarked) {
  const auto wordsOf = [](const Machine& machine) {
    std::ostringstream out;
    writeMachine({out}, machine);
    const std::string text = out.str();
    return text.substr(0, text.find("Processors"));
  };
  Machine machine;
  EXPECT_EQ(wordsOf(machine),
            "Model           unknown\nMachine type    unknown: morvik fetches nothing\n");
  machine.hasSystem = true;
  machine.machineType = "1234";
  EXPECT_EQ(wordsOf(machine),
            "Model           unknown: the CIM server gives none\nMachine type    1234\n");
  machine.model = "1234";
  machine.machineType = "";
  EXPECT_EQ(wordsOf(machine),
            "Model           1234\nMachine type    none: morvik takes no type from this model\n");
  machine.model = "";
  EXPECT_EQ(wordsOf(machine), "Model           none\nMachine type    none\n");
}

TEST_F(MachineTest, EqualPartsAreCounted) {
  Parts modules;
  EXPECT_EQ(groupWords(modules), String("none"));
  for (const std::uint64_t mebibytes : {16384U, 953U, 16384U}) {
    modules.list.push_back({.isModule = true,
                            .compared = String(std::to_string(mebibytes)),
                            .amount = mebibytes << 20U});
  }
  EXPECT_EQ(groupWords(modules), String("2 x 16 GiB (16384 MiB), 1 x 953 MiB"));
  modules.list = {{.isModule = true, .compared = "0"}, {.isModule = true, .compared = "512"}, {}};
  EXPECT_EQ(groupWords(modules),
            String("1 x no value, 1 x 512 MiB, 1 x missing: morvik stops here"));
  Parts processors;
  processors.list = {{.compared = "2400"}, {.compared = ""}, {.compared = "2400"}};
  EXPECT_EQ(groupWords(processors), String("2 x 2400 MHz, 1 x no value"));
}

}  // namespace
}  // namespace show
