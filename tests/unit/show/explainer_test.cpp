// The explanation of each line of a file, on a machine whose answers are given.
#include "explainer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>

#include "../src/fake_client.h"

namespace show {
namespace {

using namespace Pegasus;

TEST(FormProblem, OnlyAWholeTextHasNone) {
  const std::string line = "\"A1\",\"FAN\",\"\",\"Fan\"";
  const std::string padded = line + "\n" + std::string(mostFileBytes - line.size() - 2, '#') + "\n";
  struct Case {
    std::string text;
    std::string code;
    std::string words;
    std::size_t offset;
  };
  for (const Case& each : std::vector<Case>{
           {line + "\n", "", "", 0},
           {"# only a comment\n", "", "", 0},
           {"\xEF\xBB\xBF" + line + "\r\n", "", "", 0},
           {"\"A1\",\"FAN\",\"\",\"a < b\"\n", "", "", 0},
           {padded, "", "", 0},
           {padded + "\n", "too-large", "it has more than 1 MiB: morvik-run refuses it", 0},
           {"", "empty", "it is empty", 0},
           {" \r\n\t\n", "empty", "it has only blank lines", 0},
           {"\xEF\xBB\xBF", "empty", "it has only blank lines", 0},
           {line, "unfinished", "its last line has no newline, so it is probably cut short",
            line.size()},
           {line + "\r", "unfinished", "its last line has no newline, so it is probably cut short",
            line.size() + 1},
           {std::string("a\0b\n", 4), "zero-byte",
            "it has zero bytes, so it is damaged or not a text", 1},
           {"\x1F\x8B\b and more\n", "compressed", "it is compressed by gzip", 0},
           {std::string("\xFF\xFE\"\0\n\0", 6), "utf-16", "it is in UTF-16; save it in UTF-8", 0},
           {std::string("\xFE\xFF\0\"\0\n", 6), "utf-16", "it is in UTF-16; save it in UTF-8", 0},
           {line + "\r" + line + "\r", "cr-only",
            "its lines end with CR alone; save it with LF or CR LF", line.size()},
           {"<html>\n", "markup", "it is HTML or XML, not a FRU data file", 0},
           {"\n  <!DOCTYPE html>\n", "markup", "it is HTML or XML, not a FRU data file", 3},
           {"<?xml version=\"1.0\"?>\n", "markup", "it is HTML or XML, not a FRU data file", 0},
           {"\xEF\xBB\xBF<p>\n", "markup", "it is HTML or XML, not a FRU data file", 3},
           {"<<<<<<< HEAD\n", "markup", "it begins with a merge conflict", 0}}) {
    const FormProblem problem = findFormProblem(each.text).value_or(FormProblem{"", "", 0});
    EXPECT_EQ(problem.code, each.code) << each.text.substr(0, 80);
    EXPECT_EQ(problem.words, each.words) << each.text.substr(0, 80);
    EXPECT_EQ(problem.offset, each.offset) << each.text.substr(0, 80);
  }
}

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

TEST_F(ExplainerTest, EachReasonIsInWords) {
  haveClocks({1800, 2000, 1800});
  struct Case {
    std::string line;
    std::string code;
    std::string words;
  };
  const std::string noEntry = "not an entry: does not begin like \"number\",\"CATEGORY\"";
  std::uint64_t number = 0;
  for (const Case& each : std::vector<Case>{
           {"# x", "comment", "comment: the line has a #"},
           {R"("1","FAN","","#")", "comment", "comment: the line has a #"},
           {"", "blank", "blank line"},
           {" \t\r", "blank", "blank line"},
           {"heading", "no-entry", noEntry},
           {"heading, with comma", "no-entry", noEntry},
           {",", "no-entry", noEntry},
           {R"("1", "FAN","","x")", "no-entry", noEntry},
           {R"(1,"FANS")", "no-entry", noEntry},
           {R"("1",FAN)", "no-entry", noEntry},
           {lineOf("1", ""), "unknown-category", "unknown category \"\""},
           {lineOf("1", "fan"), "unknown-category",
            "unknown category \"fan\": must be in capital letters"},
           {lineOf("1", "FAN"), "published", "as KVAHalvoranFru1"},
           {lineOf("a\x01", "FAN"), "not-sendable", "cannot be sent: it has a control character"},
           {lineOf("3", "FAN"), "published", "as KVAHalvoranFru3"},
           {lineOf("4", "PROCESSOR", "SPEED=2000"), "published", "as KVAHalvoranFru1"},
           {lineOf("5", "PROCESSOR", "SPEED=2400"), "clock-differs",
            "clock differs: 2400 asked, 1800 and 2000 here"},
           {lineOf("5", "PROCESSOR", "SPEED=2000 "), "clock-differs",
            "clock differs: \"2000 \" asked, 1800 and 2000 here"},
           {lineOf("5", "PROCESSOR", "SPEED="), "clock-differs",
            "clock differs: \"\" asked, 1800 and 2000 here"},
           {lineOf("5", "PROCESSOR"), "no-speed", "the line has no SPEED="},
           {lineOf("6", "MEMORY", "SIZE=768"), "size-differs", "size differs: 768 asked, 512 here"},
           {lineOf("66", "MEMORY"), "size-differs",
            "size differs: \",\" asked, 512 here; the line has no SIZE="},
           {lineOf("7", "KEYBOARD", "LANGUAGE=EN"), "language-differs",
            "language differs: EN asked, en here"},
           {lineOf("7", "KEYBOARD"), "language-differs",
            "language differs: BOARD asked, en here; the line has no LANGUAGE="},
           {lineOf("a\x01", "PLANAR"), "not-sendable",
            "cannot be sent: it has a control character"},
           {lineOf("8", "PLANAR"), "published", "as KVAHalvoranFru1"},
           {lineOf("9", "PLANAR"), "not-first", "second PLANAR: line 26 comes first"},
           {lineOf("10", "FLOPPY"), "published", "as KVAHalvoranFru1"},
           {lineOf("10", "CDROM"), "same-key",
            "refused: same FRU number and identifying number KVAHalvoranFru1 as line 28"},
           {lineOf("11", "CDROM"), "published", "as KVAHalvoranFru1"},
           {lineOf("12", "CDROM"), "not-first", "second CDROM: line 30 comes first"},
           {lineOf("10", "FAN"), "published", "as KVAHalvoranFru4"}}) {
    const Explanation explanation = explain(each.line);
    EXPECT_EQ(explanation.line, ++number);
    EXPECT_EQ(explanation.reason.code, each.code) << each.line;
    EXPECT_EQ(explanation.reason.words.toUtf8(), each.words) << each.line;
    const bool isEntry = explanation.entry.has_value();
    EXPECT_EQ(explanation.result, each.code == "published" ? Result::published
                                  : isEntry                ? Result::leftOut
                                                           : Result::ignored);
    const bool isTried = explanation.result == Result::published || each.code == "not-sendable" ||
                         each.code == "same-key";
    EXPECT_EQ(isEntry && explanation.entry->identifyingNumber, isTried) << each.line;
  }
}

TEST_F(ExplainerTest, LinesOutsideTheFormatAreIgnored) {
  EXPECT_STREQ(explain(lineOf("1", "FAN"), LineRead::tooLong).reason.code, "too-long");
  const Explanation last = explain(lineOf("1", "FAN"), LineRead::unfinished);
  EXPECT_STREQ(last.reason.code, "unfinished");
  EXPECT_EQ(last.result, Result::ignored);
  EXPECT_EQ(last.line, 2U);
}

TEST_F(ExplainerTest, PublishedPartsHaveTheirPlaces) {
  haveClocks({2400, 1800, 2400});
  const char* const ids[] = {"CPU 1", "CPU 2", "CPU 3"};
  auto& processors = fakeServer.classes["KVAXDT_Processor"];
  for (std::size_t i = 0; i < processors.size(); ++i) {
    processors[i].addProperty({"DeviceID", CIMValue(String(ids[i]))});
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding("DeviceID", ids[i], CIMKeyBinding::STRING));
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

TEST_F(ExplainerTest, ManyValuesAreNotAllNamed) {
  haveClocks({1, 2, 3, 4, 5, 6, 7, 8, 9});
  EXPECT_EQ(wordsOf(lineOf("1", "PROCESSOR", "SPEED=2400")),
            "clock differs: 2400 asked, 1, 2, 3, 4, 5, 6, 7 and 2 others here");
}

TEST_F(ExplainerTest, ProcessorWithoutAClockLeavesTheRestUnknown) {
  haveClocks({1800});
  auto& processors = fakeServer.classes["KVAXDT_Processor"];
  processors.push_back(instanceWith(
      "KVAXDT_Processor", {CIMProperty("CurrentClockSpeed", CIMValue(CIMTYPE_UINT32, false))}));
  processors.push_back(instanceWith("KVAXDT_Processor", {}));
  const Explanation explanation = explain(lineOf("1", "PROCESSOR", "SPEED=2400"));
  EXPECT_STREQ(explanation.reason.code, "unknown-here");
  EXPECT_EQ(explanation.reason.words.toUtf8(),
            "clock differs: 2400 asked, 1800, no value and a missing one here");
}

TEST_F(ExplainerTest, MissingAndRefusedValuesAreReported) {
  haveClocks({});
  fakeServer.classes.erase("KVAXDT_PhysicalMemory");
  setenv("LANG", "C", 1);
  EXPECT_EQ(wordsOf(lineOf("1", "PROCESSOR", "SPEED=1")), "the CIM server has no processors");
  EXPECT_TRUE(wordsOf(lineOf("1", "MEMORY", "SIZE=1"))
                  .starts_with("the CIM server does not show its memory modules: "));
  EXPECT_EQ(wordsOf(lineOf("1", "KEYBOARD", "LANGUAGE=en")),
            "language differs: en asked, none here");
}

TEST_F(ExplainerTest, FailureOfTheServerIsNotAMismatch) {
  EXPECT_EQ(explain(lineOf("1", "PROCESSOR", "SPEED=2400")).result, Result::published);
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
