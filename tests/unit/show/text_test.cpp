// Text of others on a terminal: what is let through, how wide it is, where it is cut.
#include "text.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

using Pegasus::String;

namespace show {
namespace {

const Terminal file;
const Terminal asciiTerminal = {.isTerminal = true, .hasOnlyAscii = true};

TEST(Text, PrintableCharactersOfAllKindsStay) {
  for (const char* text : {"", "a b~", "é", "e\u0301", "日本語", "한국어", "\U0001F600", "€ £"}) {
    EXPECT_EQ(harmless(text, file), text);
  }
}

TEST(Text, WhatATerminalObeysIsReplaced) {
  for (const char* bad : {"\x1b", "\x07", "\t", "\n", "\r", "\x7f", "\u0080", "\u009b", "\u0085"}) {
    EXPECT_EQ(harmless(String("a") + bad + "b", file), "a\uFFFDb") << bad;
  }
  EXPECT_EQ(harmless(String(std::string_view("a\0b", 3)), file), "a\uFFFDb");
}

TEST(Text, WhatTurnsTheDirectionIsReplaced) {
  for (const char* bad :
       {"\u061c", "\u200e", "\u200f", "\u202a", "\u202e", "\u2066", "\u2069", "\u2028", "\u2029"}) {
    EXPECT_EQ(harmless(bad, file), "\uFFFD");
  }
}

TEST(Text, BytesThatAreNoUtf8AreTakenAsLatin1) {
  EXPECT_EQ(harmless("L\xfc"
                     "fter\x9b",
                     file),
            "Lüfter\uFFFD");
}

TEST(Text, ATerminalForAsciiGetsNothingElse) {
  EXPECT_EQ(harmless("aé日\x1b\u202e~", asciiTerminal), "a????~");
}

TEST(Text, WidthCountsColumnsNotBytes) {
  EXPECT_EQ(columnsOf(""), 0U);
  EXPECT_EQ(columnsOf("abc"), 3U);
  EXPECT_EQ(columnsOf("für"), 3U);
  EXPECT_EQ(columnsOf("日本語"), 6U);
  EXPECT_EQ(columnsOf("한국어"), 6U);
  EXPECT_EQ(columnsOf("e\u0301a\u0308"), 2U);
  EXPECT_EQ(columnsOf("\uFFFD"), 1U);
}

TEST(Text, TheWidthDoesNotDependOnTheLocale) {
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

TEST(Text, AWideCharacterIsNotCutInTwo) {
  EXPECT_EQ(cutTo(6, "日本語", file), "日本語");
  EXPECT_EQ(cutTo(5, "日本語", file), "日本…");
  EXPECT_EQ(cutTo(4, "日本語", file), "日…");
}

TEST(Text, CombiningMarksStayWithTheirLetter) {
  EXPECT_EQ(cutTo(2, "e\u0301e\u0301e\u0301", file), "e\u0301…");
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
