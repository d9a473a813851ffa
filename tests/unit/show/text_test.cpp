// Text on a terminal: what is let through, how wide it is, where it is cut.
#include "text.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

using Pegasus::String;

namespace show {
namespace {

const Terminal file;
const Terminal asciiTerminal = {.isTerminal = true, .hasOnlyAscii = true};

TEST(Text, PrintableCharactersAreKept) {
  for (const char* text : {"", "a b~", "é", "e\u0301", "日本語", "한국어", "\U0001F600", "€ £"}) {
    EXPECT_EQ(sanitized(text, file), text);
  }
}

TEST(Text, ControlCharactersAreReplaced) {
  for (const char* bad : {"\x1b", "\x07", "\t", "\n", "\r", "\x7f", "\u0080", "\u009b", "\u0085"}) {
    EXPECT_EQ(sanitized(String("a") + bad + "b", file), "a\uFFFDb") << bad;
  }
  EXPECT_EQ(sanitized(String(std::string_view("a\0b", 3)), file), "a\uFFFDb");
}

TEST(Text, MarksThatTurnTheDirectionAreReplaced) {
  for (const char* bad :
       {"\u061c", "\u200e", "\u200f", "\u202a", "\u202e", "\u2066", "\u2069", "\u2028", "\u2029"}) {
    EXPECT_EQ(sanitized(bad, file), "\uFFFD");
  }
}

TEST(Text, BytesThatAreNotUtf8AreReadAsLatin1) {
  EXPECT_EQ(sanitized("L\xfc"
                      "fter\x9b",
                      file),
            "Lüfter\uFFFD");
}

TEST(Text, AsciiTerminalGetsOnlyAscii) {
  EXPECT_EQ(sanitized("aé日\x1b\u202e~", asciiTerminal), "a????~");
}

TEST(Text, HarmlessTextIsSanitizedAndCutAfter400Characters) {
  const std::string text = "\x1b" + std::string(398, 'x') + "é";
  const std::string whole = "\uFFFD" + std::string(398, 'x') + "é";
  EXPECT_EQ(harmless(text), whole);
  EXPECT_EQ(harmless(text + " and more"), whole + "...");
}

TEST(Text, TimeIsWrittenInUtcAndReadAgain) {
  const auto time = std::chrono::system_clock::from_time_t(1764000000);
  EXPECT_EQ(timeText(time), "2025-11-24T16:00:00Z");
  EXPECT_EQ(timeIn("2025-11-24T16:00:00Z"), time);
  EXPECT_EQ(timeIn("2025-11-24 16:00:00"), std::nullopt);
  EXPECT_EQ(timeIn("2025-11-24T16:00:00Zx"), std::nullopt);
  EXPECT_EQ(timeIn(""), std::nullopt);
  EXPECT_EQ(timeIn("9999-12-31T23:59:59Z"), std::nullopt);
  EXPECT_EQ(timeIn("1899-12-31T23:59:59Z"), std::nullopt);
  EXPECT_EQ(timeText(timeIn("2126-11-22T02:03:04Z").value()), "2126-11-22T02:03:04Z");
}

TEST(Text, NameOfAnErrorIsShownOnce) {
  const auto once = [](const char* message) { return withNameOnce(message).toUtf8(); };
  EXPECT_EQ(once("CIM_ERR_FAILED: CIM_ERR_FAILED: no room"), "CIM_ERR_FAILED: no room");
  EXPECT_EQ(once("CIM_ERR_FAILED: CIM_ERR_NOT_FOUND: no room"),
            "CIM_ERR_FAILED: CIM_ERR_NOT_FOUND: no room");
  EXPECT_EQ(once("no room"), "no room");
  EXPECT_EQ(once(""), "");
}

TEST(Text, WidthIsCountedInColumns) {
  EXPECT_EQ(columnsOf(""), 0U);
  EXPECT_EQ(columnsOf("abc"), 3U);
  EXPECT_EQ(columnsOf("für"), 3U);
  EXPECT_EQ(columnsOf("日本語"), 6U);
  EXPECT_EQ(columnsOf("한국어"), 6U);
  EXPECT_EQ(columnsOf("e\u0301a\u0308"), 2U);
  EXPECT_EQ(columnsOf("\uFFFD"), 1U);
}

TEST(Text, SmallLettersDoNotDependOnTheLocale) {
  EXPECT_EQ(lowered("ABC für FÜR \u0416 日\U0001F600").toUtf8(), "abc für für \u0436 日\U0001F600");
}

TEST(Text, WidthDoesNotDependOnTheLocale) {
  ASSERT_STREQ(setlocale(LC_CTYPE, nullptr), "C");
  EXPECT_EQ(columnsOf("日"), 2U);
}

TEST(Text, CutTextEndsWithAnEllipsisAndFits) {
  EXPECT_EQ(cutTo(5, "abcde", file), "abcde");
  EXPECT_EQ(cutTo(4, "abcde", file), "abc…");
  EXPECT_EQ(cutTo(1, "abcde", file), "…");
  EXPECT_EQ(cutTo(0, "abcde", file), "abcde");
  EXPECT_EQ(cutTo(4, "abcde", asciiTerminal), "abc~");
}

TEST(Text, WideCharacterIsNotCutInTwo) {
  EXPECT_EQ(cutTo(6, "日本語", file), "日本語");
  EXPECT_EQ(cutTo(5, "日本語", file), "日本…");
  EXPECT_EQ(cutTo(4, "日本語", file), "日…");
}

TEST(Text, CombiningMarksStayWithTheirLetter) {
  EXPECT_EQ(cutTo(2, "e\u0301e\u0301e\u0301", file), "e\u0301…");
}

TEST(Text, LongTextIsWrappedAtBlanksWherePossible) {
  using Lines = std::vector<std::string>;
  EXPECT_EQ(wrapTo(5, ""), Lines{""});
  EXPECT_EQ(wrapTo(5, "ab cd"), Lines{"ab cd"});
  EXPECT_EQ(wrapTo(5, "ab cd ef"), (Lines{"ab cd", "ef"}));
  EXPECT_EQ(wrapTo(5, "ab cdef g"), (Lines{"ab", "cdef", "g"}));
  EXPECT_EQ(wrapTo(3, "abcdefgh"), (Lines{"abc", "def", "gh"}));
  EXPECT_EQ(wrapTo(5, "日本語x"), (Lines{"日本", "語x"}));
  EXPECT_EQ(wrapTo(1, "日本"), (Lines{"日", "本"}));
}

TEST(Text, PaddingFillsColumns) {
  EXPECT_EQ(padTo(4, "日"), "日  ");
  EXPECT_EQ(padTo(2, "abc"), "abc");
}

TEST(Text, OnlyATerminalWithColoursGetsThem) {
  EXPECT_EQ(styled(Style::bold, "a", file), "a");
  const Terminal coloured = {.isTerminal = true, .hasColours = true};
  EXPECT_EQ(styled(Style::bold, "a", coloured), "\x1b[1ma\x1b[0m");
  EXPECT_EQ(styled(Style::plain, "a", coloured), "a");
}

}  // namespace
}  // namespace show
