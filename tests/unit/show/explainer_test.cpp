// The explanation of each line of a file, on a machine whose answers are given.
#include "explainer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>

#include "../src/fake_client.h"

using Pegasus::CIM_ERR_FAILED;
using Pegasus::CIMClient;
using Pegasus::CIMException;
using Pegasus::CIMProperty;
using Pegasus::CIMValue;
using Pegasus::String;
using Pegasus::Uint32;
using Pegasus::Uint64;

namespace show {
namespace {

class ExplainerTest : public testing::Test {
 protected:
  void SetUp() override {
    fakeServer = {};
    haveClocks({2400});
    fakeServer.classes["KVAXDT_PhysicalMemory"] = {instanceWith(
        "KVAXDT_PhysicalMemory", {CIMProperty("Capacity", CIMValue(Uint64{536870912}))})};
    fakeServer.classes["KVAXDT_ComputerSystemDetails"] = {};
    setenv("LANG", "en_US.UTF-8", 1);
  }

  // The next test's client exists before its SetUp().
  void TearDown() override { fakeServer = {}; }

  static void haveClocks(const std::vector<Uint32>& clocks) {
    auto& processors = fakeServer.classes["KVAXDT_Processor"];
    processors.clear();
    for (const Uint32 clock : clocks) {
      processors.push_back(
          instanceWith("KVAXDT_Processor", {CIMProperty("CurrentClockSpeed", CIMValue(clock))}));
    }
  }

  Explanation explain(const std::string& line, LineRead read = LineRead::complete) {
    if (!explainer_) {
      machine_ = readMachine(client_);
      addDetails(client_, machine_);
      explainer_.emplace(client_, machine_);
    }
    return explainer_->explain(read, String(line));
  }
  std::string codeOf(const std::string& line, LineRead read = LineRead::complete) {
    return explain(line, read).reason.code;
  }
  std::string wordsOf(const std::string& line) { return explain(line).reason.words.toUtf8(); }

  CIMClient client_{1};

 private:
  Machine machine_;
  std::optional<Explainer> explainer_;
};

std::string lineOf(const std::string& number, const std::string& category,
                   const std::string& qualifier = "") {
  return "\"" + number + "\",\"" + category + "\",\"" + qualifier + "\",\"x\"";
}

TEST_F(ExplainerTest, EveryLineIsCounted) {
  EXPECT_EQ(explain("# x").line, 1U);
  EXPECT_EQ(explain("x", LineRead::tooLong).line, 2U);
  EXPECT_EQ(explain(lineOf("1", "FAN")).line, 3U);
  EXPECT_EQ(explain("x", LineRead::unfinished).line, 4U);
}

TEST_F(ExplainerTest, LinesThatAreNotEntriesAreIgnored) {
  EXPECT_EQ(codeOf("\"1\",\"FAN\",\"\",\"#\""), "comment");
  EXPECT_EQ(codeOf(""), "blank");
  EXPECT_EQ(codeOf(" \t\r"), "blank");
  for (const char* line : {"heading", "heading, with comma", ",", R"("1", "FAN","","x")",
                           R"(1,"FANS")", R"("1",FAN)"}) {
    EXPECT_EQ(codeOf(line), "no-entry") << line;
  }
  EXPECT_EQ(codeOf(lineOf("1", "")), "unknown-category");
  EXPECT_EQ(codeOf(lineOf("1", "FANS")), "unknown-category");
  EXPECT_EQ(codeOf(lineOf("1", "FAN"), LineRead::tooLong), "too-long");
  EXPECT_EQ(codeOf(lineOf("1", "FAN"), LineRead::unfinished), "unfinished");
  EXPECT_EQ(explain(lineOf("1", "FANS")).result, Result::ignored);
  EXPECT_FALSE(explain(lineOf("1", "FANS")).fields);
}

TEST_F(ExplainerTest, NumbersAreThoseOfTheImport) {
  EXPECT_EQ(explain(lineOf("1", "FAN")).identifyingNumber, String("KVAHalvoranFru1"));
  EXPECT_EQ(explain(lineOf("2", "FAN")).identifyingNumber, String("KVAHalvoranFru2"));
  EXPECT_EQ(explain(lineOf("3", "PROCESSOR", "SPEED=2400")).identifyingNumber,
            String("KVAHalvoranFru1"));
  EXPECT_FALSE(explain(lineOf("4", "PROCESSOR", "SPEED=1")).identifyingNumber);
}

TEST_F(ExplainerTest, RefusedEntryLeavesAGapInTheNumbers) {
  EXPECT_EQ(codeOf(lineOf("1", "FAN")), "published");
  EXPECT_EQ(codeOf(lineOf("a\x01", "FAN")), "not-sendable");
  EXPECT_EQ(explain(lineOf("3", "FAN")).identifyingNumber, String("KVAHalvoranFru3"));
}

TEST_F(ExplainerTest, PlanarThatCannotBeSentDoesNotCount) {
  EXPECT_EQ(codeOf(lineOf("a\x01", "PLANAR")), "not-sendable");
  EXPECT_EQ(codeOf(lineOf("2", "PLANAR")), "published");
  EXPECT_EQ(wordsOf(lineOf("3", "PLANAR")), "second PLANAR: line 2 comes first");
}

TEST_F(ExplainerTest, PublishedPartsHaveTheirPlaces) {
  haveClocks({2400, 1800, 2400});
  const char* const ids[] = {"CPU 1", "CPU 2", "CPU 3"};
  auto& processors = fakeServer.classes["KVAXDT_Processor"];
  for (std::size_t i = 0; i < processors.size(); ++i) {
    processors[i].addProperty({"DeviceID", CIMValue(String(ids[i]))});
    Pegasus::Array<Pegasus::CIMKeyBinding> keys;
    keys.append(Pegasus::CIMKeyBinding("DeviceID", ids[i], Pegasus::CIMKeyBinding::STRING));
    processors[i].setPath({String(), String(), "KVAXDT_Processor", keys});
  }
  const Explanation processor = explain(lineOf("1", "PROCESSOR", "SPEED=2400"));
  EXPECT_EQ(processor.places, (std::vector<String>{"CPU 1", "CPU 3"}));
  EXPECT_EQ(processor.reason.words, String("as KVAHalvoranFru1, for CPU 1 and CPU 3"));
  EXPECT_TRUE(explain(lineOf("2", "PROCESSOR", "SPEED=1")).places.empty());
  EXPECT_TRUE(explain(lineOf("3", "FAN", "SPEED=2400")).places.empty());
  const Explanation memory = explain(lineOf("4", "MEMORY", "SIZE=512"));
  EXPECT_EQ(memory.reason.words, String("as KVAHalvoranFru1")) << "a module without a place";
}

TEST_F(ExplainerTest, SameKeyIsRefusedAcrossCategories) {
  EXPECT_EQ(codeOf(lineOf("1", "FLOPPY")), "published");
  EXPECT_EQ(codeOf(lineOf("1", "CDROM")), "same-key");
  EXPECT_EQ(codeOf(lineOf("2", "CDROM")), "published");
  EXPECT_EQ(codeOf(lineOf("1", "FAN")), "same-key");
  EXPECT_EQ(codeOf(lineOf("1", "FAN")), "published") << "the second fan has another number";
}

TEST_F(ExplainerTest, EachValueIsNamedOnceAndManyAreCounted) {
  haveClocks({1800, 2000, 1800});
  EXPECT_EQ(wordsOf(lineOf("1", "PROCESSOR", "SPEED=2400")),
            "clock differs: 2400 asked, 1800 and 2000 here");
}

TEST_F(ExplainerTest, ManyValuesAreNotAllNamed) {
  haveClocks({1, 2, 3, 4, 5, 6, 7, 8, 9});
  EXPECT_EQ(wordsOf(lineOf("1", "PROCESSOR", "SPEED=2400")),
            "clock differs: 2400 asked, 1, 2, 3, 4, 5, 6, 7 and 2 others here");
}

TEST_F(ExplainerTest, ProcessorWithoutAClockLeavesTheRestUnknown) {
  haveClocks({1800});
  auto& processors = fakeServer.classes["KVAXDT_Processor"];
  processors.push_back(
      instanceWith("KVAXDT_Processor",
                   {CIMProperty("CurrentClockSpeed", CIMValue(Pegasus::CIMTYPE_UINT32, false))}));
  processors.push_back(instanceWith("KVAXDT_Processor", {}));
  const Explanation explanation = explain(lineOf("1", "PROCESSOR", "SPEED=2400"));
  EXPECT_STREQ(explanation.reason.code, "unknown-here");
  EXPECT_EQ(explanation.reason.words.toUtf8(),
            "clock differs: 2400 asked, 1800, no value and a missing one here");
}

TEST_F(ExplainerTest, WhatTheServerDoesNotHaveOrShowIsSaid) {
  haveClocks({});
  fakeServer.classes.erase("KVAXDT_PhysicalMemory");
  setenv("LANG", "C", 1);
  EXPECT_EQ(wordsOf(lineOf("1", "PROCESSOR", "SPEED=1")), "the CIM server has no processors");
  EXPECT_TRUE(wordsOf(lineOf("1", "MEMORY", "SIZE=1"))
                  .starts_with("the CIM server does not show its memory modules: "));
  EXPECT_EQ(wordsOf(lineOf("1", "KEYBOARD", "LANGUAGE=en")),
            "language differs: en asked, none here");
}

TEST_F(ExplainerTest, ValuesThatCouldBeOverlookedAreQuoted) {
  EXPECT_EQ(wordsOf(lineOf("1", "PROCESSOR", "SPEED=2400 ")),
            "clock differs: \"2400 \" asked, 2400 here");
  EXPECT_EQ(wordsOf(lineOf("1", "PROCESSOR", "SPEED=")), "clock differs: \"\" asked, 2400 here");
}

TEST_F(ExplainerTest, FailureOfTheServerIsNotAMismatch) {
  EXPECT_EQ(codeOf(lineOf("1", "PROCESSOR", "SPEED=2400")), "published");
  fakeServer.beforeAnswer = [](const std::string&) { throw CIMException(CIM_ERR_FAILED); };
  EXPECT_THROW(explain(lineOf("2", "PROCESSOR", "SPEED=2400")), std::runtime_error);
  EXPECT_THROW(explain(lineOf("3", "MEMORY", "SIZE=512")), std::runtime_error);
}

TEST_F(ExplainerTest, NothingIsCreatedOrDeleted) {
  explain(lineOf("1", "FAN"));
  explain(lineOf("2", "PROCESSOR", "SPEED=2400"));
  for (const std::string& call : fakeServer.calls) {
    EXPECT_TRUE(call.starts_with("enumerateInstances") || call.starts_with("CIMClient")) << call;
  }
}

}  // namespace
}  // namespace show
