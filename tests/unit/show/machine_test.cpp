// What is read of the machine, from servers that say much, little, or something else.
#include "machine.h"

#include <gtest/gtest.h>

#include <sstream>

#include "../src/fake_client.h"
#include "output.h"

using Pegasus::Array;
using Pegasus::CIM_ERR_FAILED;
using Pegasus::CIMClient;
using Pegasus::CIMException;
using Pegasus::CIMInstance;
using Pegasus::CIMKeyBinding;
using Pegasus::CIMProperty;
using Pegasus::CIMValue;
using Pegasus::String;
using Pegasus::Uint16;
using Pegasus::Uint32;
using Pegasus::Uint64;

namespace show {
namespace {

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
  const Machine machine = read();
  EXPECT_EQ(machine.hostName, String("db1"));
  EXPECT_EQ(machine.machineType, String("1234"));
  EXPECT_EQ(machine.serialNumber, String("S1"));
  EXPECT_EQ(machine.manufacturer, String("Maker"));
  const Part& processor = machine.processors.list.at(0);
  EXPECT_EQ(processor.place, String("CPU 1"));
  EXPECT_EQ(processor.compared, String("2400"));
  EXPECT_EQ(processor.type, String("Processor"));
  EXPECT_EQ(processor.amount, 2400U);
  EXPECT_EQ(processor.maxSpeed, 3000U);
  EXPECT_EQ(processor.cores, 8U);
  EXPECT_EQ(processor.serialNumber, String("P1"));
  const Part& module = machine.memoryModules.list.at(0);
  EXPECT_EQ(module.place, String("DIMM 1"));
  EXPECT_EQ(module.locator, String("slot"));
  EXPECT_EQ(module.bank, String("BANK 0"));
  EXPECT_EQ(module.compared, String("16384"));
  EXPECT_EQ(module.type, String("DDR4"));
  EXPECT_EQ(module.maxSpeed, 2933U);
  EXPECT_EQ(module.manufacturer, String("M"));
  EXPECT_EQ(module.partNumber, String("PN"));
  EXPECT_EQ(module.serialNumber, String("SN"));
}

TEST_F(MachineTest, MissingNullAndOtherTypesAreAbsent) {
  addModule("DIMM 1", {capacity(1),
                       {"MemoryType", CIMValue(String("26"))},
                       {"MaxMemorySpeed", CIMValue(Uint32{3200})},
                       {"PartNumber", CIMValue(Pegasus::CIMTYPE_STRING, false)},
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
  EXPECT_EQ(groupWords(machine.processors, false), String("unknown"));
}

// Of the parts with that name: "PLACE:" of a processor, "PLACE;" of a module.
std::string placesNamed(const Machine& machine, const char* name) {
  std::string places;
  for (const NamedPart& named : partsNamed(machine, name)) {
    places += named.part->place->toUtf8() + (named.isModule ? ";" : ":");
  }
  return places;
}

TEST_F(MachineTest, PartsAreFoundByPlaceThenBySlotThenLoosely) {
  Machine machine;
  machine.processors.list = {{.place = "CPU 1"}, {}};
  machine.memoryModules.list = {{.place = "DIMM 1 BANK 0", .locator = "DIMM 1"},
                                {.place = "DIMM 1 BANK 1", .locator = "DIMM 1"},
                                {.place = "DIMM 2", .locator = "dimm 1"},
                                {.place = "dimm2"},
                                {.place = "P1-DIMMA1"}};
  const auto placesOf = [&](const char* name) { return placesNamed(machine, name); };
  EXPECT_EQ(placesOf("CPU 1"), "CPU 1:");
  EXPECT_EQ(placesOf("cpu1"), "CPU 1:");
  EXPECT_EQ(placesOf("DIMM 1"), "DIMM 1 BANK 0;DIMM 1 BANK 1;");
  EXPECT_EQ(placesOf("DIMM 1 BANK 1"), "DIMM 1 BANK 1;");
  EXPECT_EQ(placesOf("DIMM 2"), "DIMM 2;");
  EXPECT_EQ(placesOf("Dimm2"), "DIMM 2;dimm2;");
  EXPECT_EQ(placesOf("DIMM1"), "DIMM 1 BANK 0;DIMM 1 BANK 1;DIMM 2;");
  EXPECT_EQ(placesOf("p1_dimm a1"), "P1-DIMMA1;");
  EXPECT_EQ(placesOf("DIMM 3"), "");
  EXPECT_EQ(placesOf(""), "");
  EXPECT_EQ(placesOf("-"), "");
}

TEST_F(MachineTest, PartsAreAlsoFoundByNumbersBanksAndWordsOfTheirPlaces) {
  Machine machine;
  machine.processors.list = {{.place = "PROC 1"}};
  machine.memoryModules.list = {{.place = "PROC 1 DIMM 2", .bank = "NODE 0", .serialNumber = "S-1"},
                                {.place = "PROC 2 DIMM 2", .partNumber = "M393A4-CTD"},
                                {.place = "PROC 2 DIMM 12"},
                                {.place = "A1"},
                                {.place = "3"}};
  const auto placesOf = [&](const char* name) { return placesNamed(machine, name); };
  EXPECT_EQ(placesOf("s1"), "PROC 1 DIMM 2;");
  EXPECT_EQ(placesOf("M393A4 CTD"), "PROC 2 DIMM 2;");
  EXPECT_EQ(placesOf("node 0"), "PROC 1 DIMM 2;");
  EXPECT_EQ(placesOf("DIMM2"), "PROC 1 DIMM 2;PROC 2 DIMM 2;");
  EXPECT_EQ(placesOf("1 DIMM 2"), "PROC 1 DIMM 2;");
  EXPECT_EQ(placesOf("DIMM.Socket.A1"), "A1;");
  EXPECT_EQ(placesOf("1"), "PROC 1:");
  for (const char* other : {"CPU 2 A1", "CPU 3", "DIMM", "2 A", "OC 1", "MM 2"}) {
    EXPECT_EQ(placesOf(other), "") << other;
  }
}

TEST_F(MachineTest, EmptyModelIsNone) {
  Machine machine;
  machine.hasSystem = true;
  machine.model = String();
  std::ostringstream out;
  writeMachine(out, Terminal(), machine);
  EXPECT_NE(out.str().find("Model           none\n"), std::string::npos) << out.str();
}

TEST_F(MachineTest, EqualPartsAreCounted) {
  Parts modules;
  EXPECT_EQ(groupWords(modules, true), String("none"));
  for (const std::uint64_t mebibytes : {16384U, 953U, 16384U}) {
    modules.list.push_back(
        {.compared = String(std::to_string(mebibytes)), .amount = mebibytes << 20U});
  }
  EXPECT_EQ(groupWords(modules, true), String("2 x 16 GiB (16384 MiB), 1 x 953 MiB"));
  modules.list = {{.compared = "0"}, {.compared = "512"}, {}};
  EXPECT_EQ(groupWords(modules, true),
            String("1 x no value, 1 x 512 MiB, 1 x missing: morvik stops here"));
  Parts processors;
  processors.list = {{.compared = "2400"}, {.compared = ""}, {.compared = "2400"}};
  EXPECT_EQ(groupWords(processors, false), String("2 x 2400 MHz, 1 x no value"));
}

}  // namespace
}  // namespace show
