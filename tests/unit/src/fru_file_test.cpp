// Lines of the FRU data file.
#include "import/fru_file.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

using Pegasus::String;

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

TEST(Lines, SeveralLongOnesInARow) {
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

TEST(Lines, AnInputErrorBehindAsManyBytesAsFitIsNoLongLine) {
  FailingBuffer buffer(std::string(255, 'x'));
  std::istream file(&buffer);
  String line;
  EXPECT_EQ(readAnyLine(file, line), LineRead::end);
}

TEST(Lines, BehindTheLastNewlineIsNoUnfinishedLine) {
  std::istringstream file("a\n");
  String line;
  EXPECT_EQ(readAnyLine(file, line), LineRead::complete);
  EXPECT_EQ(readAnyLine(file, line), LineRead::end);
}

TEST(Comment, IsAnyLineWithANumberSign) {
  EXPECT_TRUE(isComment("#"));
  EXPECT_TRUE(isComment("# text"));
  EXPECT_TRUE(isComment(R"("1","FAN","","fan #2")"));
  EXPECT_FALSE(isComment(""));
  EXPECT_FALSE(isComment(R"("1","FAN","","fan 2")"));
}

}  // namespace
