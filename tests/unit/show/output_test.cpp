// JSON: what it has on each line, in which order and in which characters, and reading it back.
#include "output.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <utility>
#include <vector>

#include "inventory.h"

namespace show {
namespace {

// 2026-11-22T06:00:00Z
const Frame frame = {.time = std::chrono::system_clock::from_time_t(1795327200)};
const Frame format1 = {.format = 1};

std::string listOf(const Frame& form, const std::vector<Entry>& entries) {
  std::ostringstream out;
  writeList({.out = out, .json = form}, false, Machine(), entries);
  return out.str();
}

Machine someMachine() {
  Machine machine;
  machine.hostName = "db1";
  machine.model = "Server -[1234ABX]-";
  machine.hasSystem = true;
  machine.machineType = "1234";
  machine.languageCode = "en";
  machine.processors.list = {{.compared = "2400",
                              .place = "CPU 1",
                              .type = "Processor",
                              .serialNumber = "P1",
                              .amount = 2400,
                              .maxSpeed = 3000,
                              .cores = 8},
                             {}};
  machine.memoryModules.list = {{.isModule = true,
                                 .compared = "1",
                                 .place = "DIMM 1 BANK 0",
                                 .locator = "DIMM 1",
                                 .bank = "BANK 0",
                                 .type = "DDR4",
                                 .manufacturer = "Maker",
                                 .partNumber = "X",
                                 .amount = 1572864,
                                 .maxSpeed = 2133}};
  return machine;
}

std::string machineOf(const Frame& form, const Machine& machine) {
  std::ostringstream out;
  writeMachine({.out = out, .json = form}, machine);
  return out.str();
}

TEST(Json, EachEntryIsOnItsOwnLine) {
  Entry entry;
  entry.category = "FAN";
  entry.fruNumber = "\"1\\";
  entry.description = "";
  entry.isOurs = true;
  EXPECT_EQ(listOf(format1, {entry, Entry()}),
            "{\"format\":1,\"entries\":[\n"
            R"({"category":"FAN","fruNumber":"\"1\\","description":"","identifyingNumber":null,)"
            R"("vendor":null,"revisionLevel":null,"publishedByMorvik":true,"problem":null},)"
            "\n"
            R"({"category":null,"fruNumber":null,"description":null,"identifyingNumber":null,)"
            R"("vendor":null,"revisionLevel":null,"publishedByMorvik":false,"problem":null})"
            "\n]}\n");
  EXPECT_EQ(listOf(format1, {}), "{\"format\":1,\"entries\":[]}\n");
}

TEST(Json, EverythingButPrintableAsciiIsEscaped) {
  Entry entry;
  entry.category = "\n\x01\x7f\u009b\u202e\u00fc\U0001F600";
  const std::string text = listOf(frame, {entry});
  EXPECT_NE(text.find(R"("\n\u0001\u007f\u009b\u202e\u00fc\ud83d\ude00")"), std::string::npos)
      << text;
}

TEST(Json, Format2BeginsWithProgramVersionTimeAndLastGoodRun) {
  const Json document = Json::parse(machineOf(frame, Machine()));
  EXPECT_EQ(document.begin().key(), "format");
  EXPECT_EQ(document["format"], 2);
  EXPECT_EQ(document["program"], "morvik-show");
  EXPECT_TRUE(document["version"].is_string());
  EXPECT_EQ(document["time"], "2026-11-22T06:00:00Z");
  EXPECT_TRUE(document["lastGoodRun"].is_null());
  Frame good = frame;
  good.lastGoodRun = "2026-11-21T02:00:00Z";
  EXPECT_EQ(Json::parse(machineOf(good, Machine()))["lastGoodRun"], "2026-11-21T02:00:00Z");
}

TEST(Json, RefusedPartsAreNull) {
  Machine machine;
  machine.memoryModules.refusal = "x";
  const Json json = Json::parse(machineOf(frame, machine))["machine"];
  EXPECT_TRUE(json["memoryModules"].is_null());
  EXPECT_EQ(json["processors"], Json::array());
}

TEST(Json, Format1HasTheComparedTexts) {
  Machine machine = someMachine();
  machine.memoryModules.refusal = "x";
  EXPECT_EQ(
      machineOf(format1, machine),
      R"({"format":1,"machine":{"model":"Server -[1234ABX]-","machineType":"1234",)"
      R"("processorClocks":["2400",null],"memorySizes":null,"languageCode":"en","lang":null}})"
      "\n");
}

TEST(Json, ExplanationsAreBetweenMachineAndSummary) {
  Explanation explanation;
  explanation.line = 7;
  explanation.reason = {"blank", "blank line"};
  explanation.places = {"CPU 1"};
  for (const bool isFormat1 : {true, false}) {
    bool isWritten = false;
    std::ostringstream out;
    writeExplanations({.out = out, .json = isFormat1 ? format1 : frame}, Machine(),
                      [&]() -> std::optional<Explanation> {
                        return std::exchange(isWritten, true) ? std::nullopt
                                                              : std::optional(explanation);
                      });
    const std::string text = out.str();
    EXPECT_TRUE(text.substr(0, text.find('\n')).ends_with("},\"lines\":[")) << text;
    EXPECT_EQ(
        text.substr(text.find('\n') + 1),
        R"({"line":7,"result":"ignored","reason":"blank","words":"blank line","category":null,)"
        R"("fruNumber":null,"name":null,"description":null,"identifyingNumber":null)" +
            std::string(isFormat1 ? "" : ",\"places\":[\"CPU 1\"]") +
            "}\n],\"summary\":{\"lines\":1,\"published\":0,\"leftOut\":0,\"ignored\":1}}\n");
  }
}

TEST(Inventory, WrittenDocumentIsReadBack) {
  Entry entry;
  entry.category = "FAN";
  entry.description = "L\u00fcfter";
  entry.isOurs = true;
  std::ostringstream out;
  Frame good = frame;
  good.lastGoodRun = "2026-11-21T02:00:00Z";
  writeList({.out = out, .json = good}, false, someMachine(), {entry});
  const Inventory inventory = parseInventory(out.str());
  EXPECT_EQ(inventory.time, "2026-11-22T06:00:00Z");
  EXPECT_EQ(inventory.lastGoodRun, "2026-11-21T02:00:00Z");
  ASSERT_TRUE(inventory.machine && inventory.entries);
  std::ostringstream again;
  writeList({.out = again, .json = good}, false, *inventory.machine, *inventory.entries);
  EXPECT_EQ(again.str(), out.str());
}

TEST(Inventory, Format1IsReadToo) {
  const Inventory machine = parseInventory(machineOf(format1, someMachine()));
  ASSERT_TRUE(machine.machine);
  EXPECT_FALSE(machine.entries || machine.time);
  EXPECT_EQ(machine.machine->processors.list.at(0).amount, 2400U);
  EXPECT_FALSE(machine.machine->processors.list.at(1).compared);
  EXPECT_EQ(machine.machine->memoryModules.list.at(0).amount, std::uint64_t{1} << 20U);
  const Inventory list = parseInventory(listOf(format1, {Entry()}));
  EXPECT_FALSE(list.machine);
  EXPECT_EQ(list.entries->size(), 1U);
}

TEST(Inventory, AnythingElseIsRefusedWithThePlace) {
  const auto errorOf = [](const std::string& text) -> std::string {
    try {
      parseInventory(text);
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "";
  };
  EXPECT_EQ(errorOf(""), "not JSON, or cut short");
  EXPECT_EQ(errorOf("{\"format\":2,"), "not JSON, or cut short");
  EXPECT_EQ(errorOf("[]"), "not a document of morvik-show");
  EXPECT_EQ(errorOf("{}"), "not a document of morvik-show");
  EXPECT_EQ(errorOf(R"({"format":3})"), "format 3 is not known here");
  EXPECT_EQ(errorOf(R"({"format":"2"})"), "format is not a whole number");
  EXPECT_EQ(errorOf(R"({"format":2})"), "neither a list nor a machine");
  EXPECT_EQ(errorOf(R"({"format":2,"machine":[]})"), "machine is not an object");
  EXPECT_EQ(errorOf(R"({"format":2,"entries":{}})"), "entries is not a list");
  EXPECT_EQ(errorOf(R"({"format":2,"entries":[1]})"), "entries[0] is not an object");
  EXPECT_EQ(errorOf(R"({"format":2,"entries":[{}]})"),
            "entries[0].publishedByMorvik is neither true nor false");
  EXPECT_EQ(errorOf(R"({"format":2,"machine":{"processors":[{},{"place":1}]}})"),
            "machine.processors[1].place is not a text");
  EXPECT_EQ(errorOf(R"({"format":2,"machine":{"memoryModules":[{"sizeBytes":-1}]}})"),
            "machine.memoryModules[0].sizeBytes is not a whole number");
  EXPECT_EQ(errorOf(std::string(1000000, '[')), "not JSON, or cut short");
}

TEST(Page, AgeCountsToTheTimeOfThePage) {
  for (const auto& [seconds, words] : {std::pair(5, ">now<"),
                                       {90, ">1 minute<"},
                                       {7000, ">116 minutes<"},
                                       {7300, ">2 hours<"},
                                       {172000, ">47 hours<"},
                                       {172900, " class=\"warn\">2 days<"},
                                       {-600, " class=\"warn\">in the future<"}}) {
    NamedInventory machine;
    machine.inventory.time = timeText(frame.time - std::chrono::seconds(seconds));
    std::ostringstream out;
    writePage(out, {machine}, frame.time);
    EXPECT_NE(out.str().find("\" title=\"" + *machine.inventory.time + "\"" + words),
              std::string::npos)
        << words;
  }
}

}  // namespace
}  // namespace show
