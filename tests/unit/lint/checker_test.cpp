// Findings in a FRU data file, and their places.
#include "checker.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "explainer.h"

namespace lint {
namespace {

using Findings = std::vector<std::string>;

// "LINE:COLUMN SEVERITY CODE" for each finding.
Findings findingsIn(const std::string& text) {
  Findings findings;
  check(text, [&](const Finding& finding) {
    std::ostringstream words;
    words << finding.line << ':' << finding.column << ' '
          << (finding.severity == Severity::error ? "error " : "warning ") << finding.code;
    findings.push_back(words.str());
  });
  return findings;
}

// The findings in one line, after an entry that has nothing wrong: "COLUMN SEVERITY CODE".
Findings findingsOf(const std::string& line) {
  Findings findings = findingsIn("\"A0\",\"FLOPPY\",\"\",\"Drive\"\n" + line + "\n");
  for (std::string& finding : findings) {
    EXPECT_TRUE(finding.starts_with("2:")) << finding;
    finding.erase(0, 2);
  }
  return findings;
}

// The text of the only finding.
std::string textOf(const std::string& lines) {
  std::vector<std::string> texts;
  check(lines + "\n", [&](const Finding& finding) { texts.push_back(finding.text.toUtf8()); });
  EXPECT_EQ(texts.size(), 1U) << lines;
  return texts.empty() ? "" : texts[0];
}

struct Case {
  const char* line;
  Findings findings;
};

void expectFindings(const std::vector<Case>& cases) {
  for (const Case& each : cases) {
    EXPECT_EQ(findingsOf(each.line), each.findings) << each.line;
  }
}

TEST(Checker, EntriesThatSomeMachineTakesAreRight) {
  for (const char* line :
       {R"("1","PROCESSOR","SPEED=2400","x")", R"("1","PROCESSOR","SPEED=10000","x")",
        R"("1","MEMORY","SIZE=512","x")", R"("1","MEMORY","SIZE=4194304","x")",
        R"("1","KEYBOARD","LANGUAGE=en","x")", R"("1","KEYBOARD","LANGUAGE=","x")",
        R"("1","PLANAR","","x")", R"("1","CDROM","","x, y")", R"("1","FLOPPY","","Lüfter 風 😀")",
        R"("1","OPTIONSP","","a	b")", R"("1","FAN","","'19'")", R"("1","BACKPLANE","","x")",
        "\"1\",\"FAN\",\"\",\"x\"\r", "", " ", "# x", "  # \"1\",\"FAN\"", "prose # with a sign"}) {
    EXPECT_EQ(findingsOf(line), Findings{}) << line;
  }
}

TEST(Checker, ConditionsThatNoMachineMeetsAreErrors) {
  expectFindings({
      {R"("1","PROCESSOR","SPEED=2400MHz","x")", {"24 error impossible"}},
      {R"("1","PROCESSOR","SPEED=02400","x")", {"24 error impossible"}},
      {R"("1","PROCESSOR","SPEED= 2400","x")", {"24 error impossible"}},
      {R"("1","PROCESSOR","SPEED=2400 ","x")", {"24 error impossible"}},
      {R"("1","PROCESSOR","SPEED=2.4","x")", {"24 error impossible"}},
      {R"("1","PROCESSOR","SPEED=4294967296","x")", {"24 error impossible"}},
      {R"("1","PROCESSOR","SPEED=","x")", {"24 error impossible"}},
      {R"("1","MEMORY","SIZE=512MB","x")", {"20 error impossible"}},
      {R"("1","MEMORY","SIZE=2147483648","x")", {"20 error impossible"}},
      {R"("1","MEMORY","SIZE=-1","x")", {"20 error impossible"}},
      {R"("1","KEYBOARD","LANGUAGE=ZH_CN","x")", {"26 error impossible"}},
      {R"("1","KEYBOARD","LANGUAGE=es","x")", {"26 error impossible"}},
      {R"("1","KEYBOARD","LANGUAGE=en_US","x")", {"26 error impossible"}},
      {R"("1","KEYBOARD","LANGUAGE=é","x")", {"26 error impossible"}},
  });
}

TEST(Checker, LikelyCorrectionIsNamed) {
  const std::string clock = "no processor can have the clock ";
  for (const auto& [condition, words] : std::vector<std::pair<std::string, std::string>>{
           {R"("PROCESSOR","SPEED=2400MHz")", clock + "\"2400MHz\"; write SPEED=2400"},
           {R"("PROCESSOR","SPEED=2,4 GHz")", clock + "\"2,4 GHz\"; write SPEED=2400"},
           {R"("PROCESSOR","SPEED=2,400 MHz")", clock + "\"2,400 MHz\"; write SPEED=2400"},
           {R"("PROCESSOR","SPEED=2,400GHz")", clock + "\"2,400GHz\"; write SPEED=2400"},
           {R"("PROCESSOR","SPEED=2399.998")", clock + "\"2399.998\"; write SPEED=2400"},
           {R"("PROCESSOR","SPEED=2.4")", clock + "\"2.4\"; write SPEED=2400"},
           {R"("PROCESSOR","SPEED=fast")", clock + "\"fast\""},
           {R"("PROCESSOR","SIZE=512")", "the third field has no SPEED=: SIZE= is for MEMORY only"},
           {R"("PROCESSOR","Speed=1")",
            "the third field has no SPEED=: it must be in capital letters"},
           {R"("MEMORY","SIZE=2GB")",
            "no memory module can have the size \"2GB\"; write SIZE=2048"},
           {R"("MEMORY","SIZE=16000")",
            "SIZE=16000 is in mebibytes of 1048576 bytes: did you mean 16384?"},
           {R"("KEYBOARD","LANGUAGE=DE_de")",
            "no machine can have the language \"DE_de\"; write LANGUAGE=de"},
           {R"("KEYBOARD","LANGUAGE=es")",
            "no machine can have the language \"es\"; only en, de, fr, it, ja and ko have a code, "
            "for all others write LANGUAGE="}}) {
    EXPECT_EQ(textOf("\"1\"," + condition + ",\"x\""), words);
  }
}

TEST(Checker, ConditionsThatAreProbablyInAnotherUnitAreWarnings) {
  expectFindings({
      {R"("1","PROCESSOR","SPEED=99","x")", {"24 warning unlikely"}},
      {R"("1","PROCESSOR","SPEED=100","x")", {}},
      {R"("1","PROCESSOR","SPEED=4294967295","x")", {"24 warning unlikely"}},
      {R"("1","MEMORY","SIZE=2147483647","x")", {"20 warning unlikely"}},
      {R"("1","MEMORY","SIZE=32","x")", {"20 warning unlikely"}},
      {R"("1","MEMORY","SIZE=33","x")", {}},
      {R"("1","MEMORY","SIZE=1000","x")", {"20 warning unlikely"}},
      {R"("1","KEYBOARD","LANGUAGE=EN","x")", {"26 warning unlikely"}},
  });
}

TEST(Checker, ConditionsInTheWrongPlaceAreErrors) {
  expectFindings({
      {R"("1","PROCESSOR","","x")", {"18 error no-qualifier"}},
      {R"("1","PROCESSOR","speed=2400","x")", {"18 error no-qualifier"}},
      {R"("1","PROCESSOR","SIZE=512","x")", {"18 error no-qualifier"}},
      {R"("1","MEMORY","SPEED=2400","x")", {"15 error no-qualifier"}},
      {R"("1","KEYBOARD","en","x")", {"17 error no-qualifier"}},
      {R"("1","MEMORY","","SIZE=512")", {"18 error misplaced-qualifier"}},
      {R"("SIZE=1","MEMORY","SIZE=512","x")", {"2 error misplaced-qualifier"}},
      {R"("1","FAN","SPEED=2400","x")", {"12 error wrong-qualifier"}},
      {R"("1","PLANAR","language=de","x")", {"15 error wrong-qualifier"}},
      {R"("1","FAN","rear","x")", {"12 warning unused-text"}},
      {R"("1","MEMORY","ECC,SIZE=512","x")", {"15 warning unused-text"}},
  });
}

TEST(Checker, QuotesAndCommasInTheWrongPlaceAreErrors) {
  expectFindings({
      {R"("1","FAN","","19" fan")", {"17 error quote-inside"}},
      {R"("1","FAN","","a ""b"" c")", {"17 error quote-inside"}},
      {R"("1","FAN","x"y","fan")", {"13 error quote-inside"}},
      {R"("1"2","FAN","","x")", {"3 error quote-inside"}},
      {R"("1","FAN","","x","y")", {"17 warning more-fields"}},
      {R"("1" ,"FAN","","x")", {"4 error separator"}},
      {R"("1","FAN" ,"","x")", {"10 error separator"}},
      {R"("1","FAN", "","x")", {"11 error separator"}},
      {R"("1","FAN","" ,"x")", {"13 error separator"}},
      {R"("1","FAN","", "x")", {"14 error separator"}},
      {R"("1",,FAN","","x")", {"5 error separator"}},
      {R"(1,"FAN","","x")", {"1 error unquoted"}},
      {R"("1,"FAN","","x")", {"3 error unclosed"}},
      {R"(a"1","FAN","","x")", {"1 error text-before"}},
      {R"("1,FAN","FAN","","x")", {"3 error no-entry"}},
      {R"("1)", {"1 error no-entry"}},
      {R"("FAN")", {"6 error missing-field"}},
      {R"("1","FAN)", {"9 error unclosed"}},
      {R"("1","FAN")", {"10 error missing-field"}},
      {R"("1","FAN",)", {"11 error separator"}},
      {R"("1","FAN",")", {"12 error unclosed"}},
      {R"("1","FAN","")", {"13 error missing-field"}},
      {R"("1","FAN","" )", {"14 error missing-field"}},
      {R"("1","FAN","",)", {"14 error separator"}},
      {R"("1","FAN","",")", {"15 error unclosed"}},
      {R"("1","FAN","","x)", {"16 error unclosed"}},
      {"\"1\",\"FAN\",\"\"\r", {"13 error missing-field"}},
  });
}

TEST(Checker, LinesThatAreNotEntriesAreFound) {
  expectFindings({
      {"a heading", {"1 warning no-entry"}},
      {"<<<<<<< HEAD", {"1 error no-entry"}},
      {"||||||| base", {"1 error no-entry"}},
      {"=======", {"1 error no-entry"}},
      {">>>>>>> branch", {"1 error no-entry"}},
      {"> text", {"1 warning no-entry"}},
      {"1,FAN,,x", {"1 error no-entry"}},
      {"1;fan;;x", {"1 error no-entry"}},
      {"1\tFAN\t\tx", {"1 error no-entry"}},
      {"a fan", {"1 warning no-entry"}},
      {"first, second", {"1 warning no-entry"}},
      {",\"FANS\"", {"1 error no-entry"}},
      {R"("1" ,"FANS","","x")", {"4 error no-entry"}},
      {R"(1,"FANS","","x")", {"1 error no-entry"}},
      {"„1“,„FAN“,„“,„x“", {"1 error no-entry"}},
      {R"("1";"FAN";"";"x")", {"1 error no-entry"}},
      {R"("1", "FAN","","x")", {"5 error no-entry"}},
      {R"("1",FAN,"","x")", {"5 error no-entry"}},
      {"\"1\" \"FAN\"", {"1 error no-entry"}},
      {"“1”,“FAN”,“”,“x”", {"1 error no-entry"}},
      {R"("1","FANS","","x")", {"6 warning unknown-category"}},
      {R"("1","","","x")", {"6 warning unknown-category"}},
      {R"("1","FAN","","no. #2")", {"19 warning comment"}},
      {R"("1","FAN","","x" # y)", {"18 warning comment"}},
  });
}

TEST(Checker, MessageNamesTheMistake) {
  const std::string entry = "\"A\",\"FLOPPY\",\"\",\"x\"\n";
  for (const std::string quote : {"„", "“", "”", "«", "»"}) {
    EXPECT_EQ(textOf(entry + quote + "1"),
              "not an entry: the fields must be in straight double quotes (\")");
  }
  EXPECT_EQ(textOf(entry + R"("1", "FANS","","x")"),
            "not an entry: the fields are separated by one comma, without blanks");
  EXPECT_EQ(textOf(entry + R"("1",FANS,"","x")"),
            "not an entry: the category must be in double quotes");
}

TEST(Checker, LikelyCategoryIsNamed) {
  for (const auto& [category, words] :
       std::vector<std::pair<std::string, std::string>>{{"FANS", "; did you mean FAN?"},
                                                        {"PROCESOR", "; did you mean PROCESSOR?"},
                                                        {"CD-ROM", "; did you mean CDROM?"},
                                                        {"back plane", "; did you mean BACKPLANE?"},
                                                        {"Motherboard", "; did you mean PLANAR?"},
                                                        {"MEMOIR", "; did you mean MEMORY?"},
                                                        {"fan", ": must be in capital letters"},
                                                        {"DISK", ""},
                                                        {"FAQS", ""}}) {
    EXPECT_EQ(textOf("\"A\",\"FLOPPY\",\"\",\"x\"\n\"1\",\"" + category + "\",\"\",\"x\""),
              "unknown category \"" + category + "\"" + words);
  }
}

TEST(Checker, TextsOfAnEntry) {
  expectFindings({
      {R"("","FAN","","x")", {"2 error empty-number"}},
      {R"(" ","FAN","","x")", {"2 error empty-number"}},
      {R"(" 1","FAN","","x")", {"2 warning blanks"}},
      {R"("1 ","FAN","","x")", {"3 warning blanks"}},
      {"\"1\t\",\"FAN\",\"\",\"x\"", {"3 warning blanks"}},
      {"\"1\xC2\xA0\",\"FAN\",\"\",\"x\"", {"3 warning blanks", "3 warning foreign-number"}},
      {R"("А1","FAN","","x")", {"2 warning foreign-number"}},  // Cyrillic
      {R"("1","FAN",""," x")", {"15 warning blanks"}},
      {R"("1","FAN","","x ")", {"16 warning blanks"}},
      {R"("1","FAN","","")", {"15 warning no-description"}},
      {R"("1","FAN",""," ")", {"15 warning no-description"}},
      {R"( "1","FAN","","x")", {"1 warning blanks"}},
      {R"("1","FAN","","x"  )", {"17 warning blanks"}},
      {"\"1\",\"FAN\",\"\",\"x\x01\"", {"16 error not-sendable"}},
      {"\"1\",\"FAN\",\"\",\"L\xFC\"", {"16 warning not-utf-8"}},
  });
}

TEST(Checker, ColumnsAreCharacters) {
  EXPECT_EQ(findingsOf("\"1\",\"FAN\",\"\",\"ü風😀\"x"), (Findings{"18 error quote-inside"}));
  EXPECT_EQ(findingsIn("\xEF\xBB\xBF\"1\",\"FAN\",\"\",\"19\"x\"\n"),
            (Findings{"1:1 warning byte-order-mark", "1:17 error quote-inside"}));
}

TEST(Checker, FindingsOfALineAreInOrder) {
  EXPECT_EQ(findingsOf(R"("","PROCESSOR","SPEED=1x","y"z)"),
            (Findings{"2 error empty-number", "23 error impossible", "29 error quote-inside"}));
}

// --- lengths ---

TEST(Checker, NumberMayHaveAsManyCharactersAsTheClassAllows) {
  std::ifstream file(MORVIK_TEST_DATA_DIR "/../../schema/kvaxdt.mof");
  std::stringstream mof;
  mof << file.rdbuf();
  const std::string text = mof.str();
  const std::size_t property = text.find("string FRUNumber;");
  ASSERT_NE(property, std::string::npos);
  const std::size_t limit = text.rfind("MaxLen ( ", property);
  const std::size_t longest = std::stoul(text.substr(limit + 9));
  const auto entry = [](std::size_t length) {
    return "\"" + std::string(length, '1') + R"(","FAN","","x")";
  };
  EXPECT_EQ(findingsOf(entry(longest)), Findings{});
  EXPECT_EQ(findingsOf(entry(longest + 1)),
            Findings{std::to_string(longest + 2) + " error long-number"});
}

TEST(Checker, LineHasAtMost255Bytes) {
  const std::string begin = R"("1","FAN","",")";
  EXPECT_EQ(findingsOf(begin + std::string(254 - begin.size(), 'x') + "\""), Findings{});
  EXPECT_EQ(findingsOf(begin + std::string(255 - begin.size(), 'x') + "\""),
            Findings{"256 error too-long"});
  EXPECT_EQ(findingsOf(begin + "ü" + std::string(255 - begin.size(), 'x')),
            Findings{"255 error too-long"});
}

TEST(Checker, LinesOfOldMacsAreNamed) {
  std::string text;
  for (int i = 0; i < 20; ++i) {
    text += "\"1\",\"FAN\",\"\",\"x\"\r";
  }
  std::string words;
  check(text + "\n", [&](const Finding& finding) { words += finding.text.toUtf8() + "|"; });
  EXPECT_EQ(words,
            "too long: more than 255 bytes; each line must end with a newline (LF)|"
            "it has no entries: nothing would be published|");
}

// --- entries against each other ---

std::string entry(const std::string& number, const std::string& category,
                  const std::string& condition = "") {
  return "\"" + number + "\",\"" + category + "\",\"" + condition + "\",\"x\"\n";
}

TEST(Checker, SecondPlanarAndSecondCdromAreErrors) {
  EXPECT_EQ(findingsIn(entry("1", "PLANAR") + entry("2", "CDROM") + entry("3", "PLANAR") +
                       entry("4", "CDROM") + entry("5", "PLANAR")),
            (Findings{"3:6 error not-first", "4:6 error not-first", "5:6 error not-first"}));
  EXPECT_EQ(textOf(entry("1", "PLANAR") + entry("3", "PLANAR")),
            "second PLANAR: only that of line 1 is published");
}

TEST(Checker, PlanarThatIsRefusedIsNotTheFirst) {
  EXPECT_EQ(findingsIn(entry("a\x01", "PLANAR") + entry("2", "PLANAR")),
            (Findings{"1:3 error not-sendable"}));
  EXPECT_EQ(findingsIn(entry("1", "FLOPPY") + entry("1", "PLANAR") + entry("2", "PLANAR")),
            (Findings{"2:2 error same-key"}));
}

TEST(Checker, EntriesWithOneKeyOnSomeMachineAreErrors) {
  const Findings second = {"2:2 error same-key"};
  EXPECT_EQ(findingsIn(entry("1", "FLOPPY") + entry("1", "FLOPPY")), second);
  EXPECT_EQ(findingsIn(entry("1", "FLOPPY") + entry("1", "OPTIONSP")), second);
  EXPECT_EQ(findingsIn(entry("1", "FAN") + entry("1", "BACKPLANE")), second);
  EXPECT_EQ(findingsIn(entry("1", "PROCESSOR", "SPEED=2400") + entry("1", "MEMORY", "SIZE=512")),
            second);
  EXPECT_EQ(
      findingsIn(entry("1", "KEYBOARD", "LANGUAGE=en") + entry("1", "KEYBOARD", "LANGUAGE=en")),
      second);
  EXPECT_EQ(findingsIn(entry("1", "KEYBOARD", "LANGUAGE=en") + entry("1", "CDROM")), second);
  EXPECT_EQ(textOf(entry("1", "FAN") + entry("1", "FLOPPY")),
            "same FRU number and identifying number KVAHalvoranFru1 as line 1: the CIM server "
            "refuses the second");
}

TEST(Checker, EntriesAreCountedAmongThoseOfTheSameCondition) {
  EXPECT_EQ(findingsIn(entry("0", "PROCESSOR", "SPEED=2000") +
                       entry("1", "PROCESSOR", "SPEED=2400") + entry("1", "FLOPPY")),
            (Findings{"3:2 error same-key"}));
}

TEST(Checker, EntryWithAnErrorIsNotComparedWithOthers) {
  EXPECT_EQ(findingsIn(entry("1", "FAN", "SPEED=1") + entry("1", "FLOPPY")),
            (Findings{"1:12 error wrong-qualifier"}));
}

TEST(Checker, EntriesThatNeverHaveOneKeyAreNot) {
  EXPECT_EQ(
      findingsIn(entry("1", "KEYBOARD", "LANGUAGE=en") + entry("1", "KEYBOARD", "LANGUAGE=de")),
      Findings{});
  EXPECT_EQ(
      findingsIn(entry("1", "PROCESSOR", "SPEED=2400") + entry("1", "PROCESSOR", "SPEED=2000")),
      Findings{});
  EXPECT_EQ(findingsIn(entry("0", "FAN") + entry("1", "FAN") + entry("1", "FLOPPY")), Findings{});
}

TEST(Checker, PartThatIsPublishedTwiceIsAWarning) {
  EXPECT_EQ(findingsIn(entry("1", "FAN") + entry("1", "FAN")),
            (Findings{"2:2 warning same-number"}));
  EXPECT_EQ(findingsIn(entry("1", "MEMORY", "SIZE=512") + entry("1", "MEMORY", "SIZE=512")),
            (Findings{"2:2 warning same-number"}));
}

// --- the file as a whole ---

TEST(Checker, FileWithoutEntriesIsAnError) {
  EXPECT_EQ(findingsIn("# x\n"), (Findings{"1:1 error no-entries"}));
  EXPECT_EQ(findingsIn(entry("1", "FANS")),
            (Findings{"1:6 warning unknown-category", "1:1 error no-entries"}));
}

TEST(Checker, DamagedFileIsOneErrorAtTheDamage) {
  EXPECT_EQ(findingsIn(entry("1", "FAN") + "a" + std::string(100, '\0') + "\n"),
            (Findings{"2:2 error zero-byte"}));
  EXPECT_EQ(findingsIn("\n <html>\n"), (Findings{"2:2 error markup"}));
  EXPECT_EQ(findingsIn(std::string(show::mostFileBytes, '\n') + entry("1", "FAN")),
            (Findings{"1:1 error too-large"}));
}

TEST(Checker, LastLineWithoutItsEndIsAnError) {
  EXPECT_EQ(findingsIn(entry("1", "FAN") + "\"2\",\"FAN\""), (Findings{"2:10 error unfinished"}));
}

}  // namespace
}  // namespace lint
