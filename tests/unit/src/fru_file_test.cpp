// The FRU data file: its lines, and the fields that are cut out of them, well-formed or not.
#include "import/fru_file.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

#include "import/publication.h"

using Pegasus::CIMInstance;
using Pegasus::String;
using Pegasus::Uint32;

namespace {

std::vector<String> readAll(std::istream& file) {
  std::vector<String> lines;
  String line;
  while (readLine(file, line)) {
    lines.push_back(line);
  }
  return lines;
}

std::vector<String> linesOf(const std::string& text) {
  std::istringstream file(text);
  return readAll(file);
}

using Lines = std::vector<String>;

TEST(Lines, EndAtNewlinesWhichAreNotPartOfThem) {
  EXPECT_EQ(linesOf("a\nbc\n"), (Lines{"a", "bc"}));
}

TEST(Lines, AnEmptyFileHasNone) {
  EXPECT_EQ(linesOf(""), Lines{});
}

TEST(Lines, EmptyLinesAreLines) {
  EXPECT_EQ(linesOf("\n\na\n"), (Lines{"", "", "a"}));
}

TEST(Lines, ALastLineWithoutNewlineIsNotRead) {
  EXPECT_EQ(linesOf("a\nb"), Lines{"a"});
  EXPECT_EQ(linesOf("a"), Lines{});
}

TEST(Lines, ACarriageReturnStays) {
  EXPECT_EQ(linesOf("a\r\n"), Lines{"a\r"});
}

TEST(Lines, TwoHundredFiftyFiveBytesFit) {
  const std::string longest(255, 'x');
  EXPECT_EQ(linesOf(longest + "\nb\n"), (Lines{String(longest.c_str()), "b"}));
}

TEST(Lines, LongerOnesAreSkippedAsAWhole) {
  for (const std::size_t length : {256U, 257U, 510U, 511U, 512U, 100000U}) {
    EXPECT_EQ(linesOf("a\n" + std::string(length, 'x') + "\nb\n"), (Lines{"a", "b"})) << length;
  }
}

TEST(Lines, SeveralLongOnesInARowAreSkipped) {
  const std::string tooLong = std::string(300, 'x') + "\n";
  EXPECT_EQ(linesOf(tooLong + tooLong + "a\n" + tooLong), Lines{"a"});
}

TEST(Lines, ALongLastLineWithoutNewlineEndsTheFile) {
  EXPECT_EQ(linesOf("a\n" + std::string(300, 'x')), Lines{"a"});
  EXPECT_EQ(linesOf("a\n" + std::string(255, 'x')), Lines{"a"});
}

TEST(Lines, AZeroByteEndsTheTextOfItsLine) {
  EXPECT_EQ(linesOf(std::string("a\0b\nc\n", 6)), (Lines{"a", "c"}));
}

TEST(Lines, TextIsUtf8WhereValidElseByteForByte) {
  EXPECT_EQ(linesOf("caf\xC3\xA9\ncaf\xE9\n"), (Lines{"café", "café"}));
}

TEST(Lines, ADirectoryHasNone) {
  std::ifstream directory("/");
  EXPECT_EQ(readAll(directory), Lines{});
}

// A disk that stops answering after the first bytes.
class FailingBuffer : public std::streambuf {
 public:
  explicit FailingBuffer(std::string text) : text_(std::move(text)) {
    setg(text_.data(), text_.data(), text_.data() + text_.size());
  }

 private:
  int_type underflow() override { throw std::ios_base::failure("input/output error"); }
  std::string text_;
};

TEST(Lines, AnInputErrorEndsTheFile) {
  FailingBuffer buffer("a\nbcd");
  std::istream file(&buffer);
  EXPECT_EQ(readAll(file), Lines{"a"});
}

TEST(Lines, AnInputErrorAfterAsManyBytesAsFitIsNotALongLine) {
  FailingBuffer buffer(std::string(255, 'x'));
  std::istream file(&buffer);
  String line;
  EXPECT_EQ(readAnyLine(file, line), LineRead::end);
}

TEST(Lines, ALastLineWithoutNewlineIsReportedAsUnfinished) {
  std::istringstream file("a");
  String line;
  EXPECT_EQ(readAnyLine(file, line), LineRead::unfinished);
  EXPECT_EQ(line, "a");
}

TEST(Lines, NoUnfinishedLineFollowsTheLastNewline) {
  std::istringstream file("a\n");
  String line;
  EXPECT_EQ(readAnyLine(file, line), LineRead::complete);
  EXPECT_EQ(readAnyLine(file, line), LineRead::end);
}

TEST(Comment, AnyLineWithANumberSignIsOne) {
  EXPECT_TRUE(isComment("#"));
  EXPECT_TRUE(isComment("# text"));
  EXPECT_TRUE(isComment(R"("1","FAN","","fan #2")"));
  EXPECT_FALSE(isComment(""));
  EXPECT_FALSE(isComment(R"("1","FAN","","fan 2")"));
}

const String wellFormed(R"("25P2885","PROCESSOR","SPEED=2400","Processor, 2.4 GHz")");

TEST(CategoryToken, IsTheSecondField) {
  EXPECT_EQ(cutCategoryToken(wellFormed), "PROCESSOR");
}

TEST(CategoryToken, MalformedLinesGiveWhatTheCutGives) {
  EXPECT_EQ(cutCategoryToken(""), "");
  EXPECT_EQ(cutCategoryToken(","), "");
  EXPECT_EQ(cutCategoryToken("a,"), "");
  EXPECT_EQ(cutCategoryToken(R"("1","FAN)"), "FAN") << "no closing quote: up to the end";
  EXPECT_EQ(cutCategoryToken(R"("1", "FAN","","x")"), "") << "a blank before the quote";
  EXPECT_EQ(cutCategoryToken(R"("FAN")"), "FAN") << "no comma: the marker wraps to position 1";
}

TEST(Category, IsFoundForTheNineKeywordsOnly) {
  const char* keywords[] = {"PROCESSOR", "MEMORY",   "KEYBOARD", "PLANAR",   "CDROM",
                            "FLOPPY",    "OPTIONSP", "FAN",      "BACKPLANE"};
  int position = 0;
  for (const char* keyword : keywords) {
    ASSERT_TRUE(findCategory(keyword)) << keyword;
    EXPECT_EQ(static_cast<int>(*findCategory(keyword)), position++) << keyword;
  }
  for (const char* other : {"", "fan", "Fan", "FAN ", " FAN", "FANS", "FA", "DISK"}) {
    EXPECT_FALSE(findCategory(other)) << other;
  }
}

TEST(EntryFields, AWellFormedLineGivesThreeFields) {
  const EntryFields fields = cutEntryFields(wellFormed);
  EXPECT_EQ(fields.fruNumber, "25P2885");
  EXPECT_EQ(fields.name, "PROCESSOR");
  EXPECT_EQ(fields.description, "Processor, 2.4 GHz");
}

TEST(EntryFields, MayBeEmpty) {
  const EntryFields fields = cutEntryFields(R"("","FAN","","")");
  EXPECT_EQ(fields.fruNumber, "");
  EXPECT_EQ(fields.name, "FAN");
  EXPECT_EQ(fields.description, "");
}

TEST(EntryFields, QualifierAndDescriptionMayHoldCommas) {
  const EntryFields fields = cutEntryFields(R"("1","FAN","a,b","x, y,z"trailing,"text")");
  EXPECT_EQ(fields.name, "FAN");
  EXPECT_EQ(fields.description, "x, y,z");
}

TEST(EntryFields, TextAfterTheFourthFieldIsIgnored) {
  EXPECT_EQ(cutEntryFields("\"1\",\"FAN\",\"\",\"x\"\r").description, "x");
}

TEST(EntryFields, TextBeforeTheFirstQuoteIsIgnored) {
  EXPECT_EQ(cutEntryFields(R"(  "1","FAN","","x")").fruNumber, "1");
}

// The character after the first comma is taken for the opening quote, whatever it is.
TEST(EntryFields, TheSecondCommaIsSearchedAfterThePlaceOfTheOpeningQuote) {
  const String line(R"("1",,FAN","","x")");
  EXPECT_EQ(cutCategoryToken(line), "FAN");
  EXPECT_EQ(cutEntryFields(line).name, "FAN");
  EXPECT_EQ(cutEntryFields(line).description, "x");
}

TEST(EntryFields, ABlankBeforeACommaLeavesTheQuoteInTheField) {
  const EntryFields first = cutEntryFields(R"("F1" ,"FAN","","x")");
  EXPECT_EQ(first.fruNumber, "F1\"");
  EXPECT_EQ(first.name, "FAN");
  EXPECT_EQ(first.description, "x");
  const EntryFields second = cutEntryFields(R"("F1","FAN" ,"","x")");
  EXPECT_EQ(second.fruNumber, "F1");
  EXPECT_EQ(second.name, "FAN\"");
  EXPECT_EQ(second.description, "x");
}

TEST(EntryFields, ABlankBesideTheThirdFieldEmptiesTheDescription) {
  EXPECT_EQ(cutEntryFields(R"("1","FAN", "","x")").description, "");
  EXPECT_EQ(cutEntryFields(R"("1","FAN","" ,"x")").description, "");
}

TEST(EntryFields, AccentsAndOtherScriptsAreKept) {
  EXPECT_EQ(cutEntryFields("\"1\",\"FAN\",\"\",\"Lüfter 风\"").description, String("Lüfter 风"));
  EXPECT_EQ(cutEntryFields("\"1\",\"FAN\",\"\",\"L\xFC"
                           "fter\"")
                .description,
            String("Lüfter"));
}

TEST(EntryFields, CutsOfEveryPrefixLieInsideTheLine) {
  for (Pegasus::Uint32 length = 0; length <= wellFormed.size(); length++) {
    const String line = wellFormed.subString(0, length);
    const EntryFields fields = cutEntryFields(line);
    for (const String& cut :
         {fields.fruNumber, fields.name, fields.description, cutCategoryToken(line)}) {
      EXPECT_LE(cut.size(), length);
      EXPECT_NE(line.find(cut), PEG_NOT_FOUND) << length;
    }
  }
}

TEST(EntryFields, CutsOfLinesWithoutCommasOrQuotesAreClamped) {
  const EntryFields noComma = cutEntryFields(R"("FAN")");
  EXPECT_EQ(noComma.fruNumber, "FAN\"");
  const EntryFields noDescription = cutEntryFields(R"("1","FAN")");
  EXPECT_EQ(noDescription.fruNumber, "1");
  EXPECT_EQ(noDescription.name, "FAN\"");
}

TEST(FruProperties, AreAddedInOrderAsStrings) {
  CIMInstance instance(String("KVAXDT_FRU"));
  addFruProperties(wellFormed, instance);
  ASSERT_EQ(instance.getPropertyCount(), 3U);
  const char* names[] = {"FRUNumber", "Name", "Description"};
  const char* values[] = {"25P2885", "PROCESSOR", "Processor, 2.4 GHz"};
  for (Pegasus::Uint32 i = 0; i < 3; i++) {
    const auto& property = instance.getProperty(i);
    EXPECT_EQ(property.getName(), names[i]);
    EXPECT_EQ(property.getType(), Pegasus::CIMTYPE_STRING);
    EXPECT_FALSE(property.isArray());
    EXPECT_EQ(property.getArraySize(), 0U);
    EXPECT_FALSE(property.getPropagated());
    EXPECT_EQ(property.getValue().toString(), values[i]);
  }
}

}  // namespace
