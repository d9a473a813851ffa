// The bytes of CSV, and the shape of JSON: what it has on each line, in which order, and in which
// characters.
#include "output.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <utility>
#include <vector>

namespace show {
namespace {

TEST(Csv, NoFieldIsAFormula) {
  std::vector<Entry> entries;
  for (const char* text : {"=1", "+1", "-1", "@x", "\tx", "\rx", "=\"a\",b", "1=1", "'x"}) {
    entries.emplace_back();
    entries.back().description = text;
  }
  std::ostringstream out;
  writeCsv(out, Terminal(), entries);
  std::string expected =
      "category,fruNumber,description,identifyingNumber,vendor,revisionLevel,publishedByMorvik,"
      "problem\r\n";
  for (const char* field :
       {"'=1", "'+1", "'-1", "'@x", "'\tx", "\"'\rx\"", "\"'=\"\"a\"\",b\"", "1=1", "'x"}) {
    expected += std::string(",,") + field + ",,,,false,\r\n";
  }
  EXPECT_EQ(out.str(), expected);
}

TEST(Json, EachEntryIsOnALineOfItsOwn) {
  Entry entry;
  entry.category = "FAN";
  entry.fruNumber = "\"1\\";
  entry.description = "";
  entry.isOurs = true;
  std::ostringstream out;
  writeJson(out, {entry, Entry()});
  EXPECT_EQ(out.str(),
            "{\"format\":1,\"entries\":[\n"
            R"({"category":"FAN","fruNumber":"\"1\\","description":"","identifyingNumber":null,)"
            R"("vendor":null,"revisionLevel":null,"publishedByMorvik":true,"problem":null},)"
            "\n"
            R"({"category":null,"fruNumber":null,"description":null,"identifyingNumber":null,)"
            R"("vendor":null,"revisionLevel":null,"publishedByMorvik":false,"problem":null})"
            "\n]}\n");
}

TEST(Json, ListWithoutEntriesIsEmpty) {
  std::ostringstream out;
  writeJson(out, {});
  EXPECT_EQ(out.str(), "{\"format\":1,\"entries\":[]}\n");
}

TEST(Json, EverythingButPrintableAsciiIsEscaped) {
  Entry entry;
  entry.category = "\n\x01\x7f\u009b\u202e\u00fc\U0001F600";
  std::ostringstream out;
  writeJson(out, {entry});
  EXPECT_NE(out.str().find(R"("\n\u0001\u007f\u009b\u202e\u00fc\ud83d\ude00")"), std::string::npos)
      << out.str();
}

TEST(Json, ExplanationsStandBetweenMachineAndSummary) {
  Machine machine;
  machine.clocks.values = {Pegasus::String("2400"), std::nullopt};
  machine.memorySizes.refusal = "x";
  Explanation explanation;
  explanation.line = 7;
  explanation.reason = {"blank", "blank line"};
  unsetenv("LANG");
  bool isWritten = false;
  std::ostringstream out;
  writeExplanationsJson(out, machine, [&]() -> std::optional<Explanation> {
    return std::exchange(isWritten, true) ? std::nullopt : std::optional(explanation);
  });
  const std::string text = out.str();
  EXPECT_EQ(
      text.substr(0, text.find('\n')),
      R"({"format":1,"machine":{"model":null,"machineType":null,"processorClocks":["2400",null],)"
      R"("memorySizes":null,"languageCode":"","lang":null},"lines":[)");
  EXPECT_EQ(text.substr(text.find('\n') + 1),
            R"({"line":7,"result":"ignored","reason":"blank","words":"blank line","category":null,)"
            R"("fruNumber":null,"name":null,"description":null,"identifyingNumber":null})"
            "\n"
            R"(],"summary":{"lines":1,"published":0,"leftOut":0,"ignored":1}})"
            "\n");
}

}  // namespace
}  // namespace show
