#include "mof/lexer.h"
#include <gtest/gtest.h>

#include <vector>

namespace cimd::mof {
namespace {

using Pegasus::String;

std::vector<Token> tokens(std::string_view text) {
  Lexer lexer(std::make_shared<const std::string>("f"), text);
  std::vector<Token> all;
  for (Token token = lexer.next(); token.kind != TokenKind::end; token = lexer.next()) {
    all.push_back(token);
  }
  return all;
}

// Of a text that is one token.
Token only(std::string_view text) {
  const auto all = tokens(text);
  EXPECT_EQ(all.size(), 1U) << text;
  return all.empty() ? Token() : all.front();
}

std::string lexerError(std::string_view text) {
  try {
    tokens(text);
  } catch (const MofError& mofError) {
    return mofError.what();
  }
  return "";
}

TEST(MofLexer, IntegersHaveASignAndOneOfFourBases) {
  struct Case {
    const char* text;
    bool isNegative;
    Pegasus::Uint64 magnitude;
  };
  for (const Case& c : {Case{"0", false, 0},
                        {"42", false, 42},
                        {"+42", false, 42},
                        {"-42", true, 42},
                        {"-0", false, 0},
                        {"017", false, 15},
                        {"-017", true, 15},
                        {"00", false, 0},
                        {"101b", false, 5},
                        {"-101B", true, 5},
                        {"0b", false, 0},
                        {"0x1fB", false, 0x1FB},
                        {"0XFF", false, 255},
                        {"-0x10", true, 16},
                        {"18446744073709551615", false, 0xFFFFFFFFFFFFFFFF},
                        {"0xFFFFFFFFFFFFFFFF", false, 0xFFFFFFFFFFFFFFFF}}) {
    const Token token = only(c.text);
    EXPECT_EQ(token.kind, TokenKind::integer) << c.text;
    EXPECT_EQ(token.integer.isNegative, c.isNegative) << c.text;
    EXPECT_EQ(token.integer.magnitude, c.magnitude) << c.text;
  }
}

TEST(MofLexer, RealsHaveAPointWithADigitAfterIt) {
  struct Case {
    const char* text;
    double value;
  };
  for (const Case& c : {Case{"1.5", 1.5},
                        {"-1.5", -1.5},
                        {"+.25", 0.25},
                        {"6.02e23", 6.02e23},
                        {"1.0E-3", 1e-3},
                        {"1.0e+3", 1e3}}) {
    const Token token = only(c.text);
    EXPECT_EQ(token.kind, TokenKind::real) << c.text;
    EXPECT_EQ(token.real, c.value) << c.text;
  }
}

TEST(MofLexer, MalformedNumbersAreRefusedWhole) {
  for (const char* text : {"12abc", "08", "019", "102b", "0x", "0xG", "1.", "1.e5", ".", "-", "+",
                           "1e5", "1.2.3", "1.0e", "--1", "0x-1", "1.0e999", "b1b+"}) {
    EXPECT_NE(lexerError(text), "") << text;
  }
  EXPECT_EQ(lexerError("x = 12abc;"), "f:1:5: error: expected a number, found '12abc'");
  EXPECT_EQ(lexerError("18446744073709551616"),
            "f:1:1: error: the number 18446744073709551616 is too large");
}

TEST(MofLexer, StringsHaveTheEscapesOfTheStandard) {
  EXPECT_EQ(only(R"("a\b\t\n\f\r\"\'\\z")").string, String("a\b\t\n\f\r\"'\\z"));
  EXPECT_EQ(only(R"("\x41\X0042\xe9g")").string, String("AB\xC3\xA9g"));
  // Four digits at most; two escapes make a character past U+FFFF.
  EXPECT_EQ(only(R"("\x00411")").string, String("A1"));
  EXPECT_EQ(only(R"("\xD83D\xDE00")").string, String("\xF0\x9F\x98\x80"));
  EXPECT_EQ(only("\"caf\xC3\xA9\ttab\"").string, String("caf\xC3\xA9\ttab"));
  EXPECT_EQ(only(R"("")").string, String());
}

TEST(MofLexer, VerbatimStringsHaveNoEscapes) {
  Lexer lexer(std::make_shared<const std::string>("f"), R"("a\tb\\c\"x"\t")");
  lexer.setStringForm(StringForm::verbatim);
  EXPECT_EQ(lexer.next().string, String(R"(a\tb\\c\)"));
  EXPECT_EQ(lexer.next().text, "x");
  lexer.setStringForm(StringForm::escaped);
  EXPECT_EQ(lexer.next().string, String("\t"));
}

TEST(MofLexer, MalformedStringsAreRefused) {
  EXPECT_EQ(lexerError("\"abc"), "f:1:5: error: expected \" before the end of the file");
  EXPECT_EQ(lexerError("\"abc\ndef\""), "f:1:5: error: expected \" before the end of the line");
  EXPECT_EQ(lexerError("\"a\\q\""), "f:1:3: error: unknown escape \\q");
  EXPECT_EQ(lexerError("\"a\\\n\""), "f:1:3: error: unknown escape \\");
  EXPECT_EQ(lexerError("\"\\xZ\""),
            "f:1:2: error: expected one to four hexadecimal digits, not all zero, after \\x");
  EXPECT_EQ(lexerError("\"\\x0\""),
            "f:1:2: error: expected one to four hexadecimal digits, not all zero, after \\x");
  EXPECT_EQ(lexerError(std::string_view("\"a\0b\"", 5)),
            "f:1:3: error: unexpected control character 0x00");
}

TEST(MofLexer, CharactersAreOneCodeUnit) {
  EXPECT_EQ(only("'a'").string, String("a"));
  EXPECT_EQ(only("'\"'").string, String("\""));
  EXPECT_EQ(only("'\\''").string, String("'"));
  EXPECT_EQ(only("'\\x20AC'").string, String("\xE2\x82\xAC"));
  EXPECT_EQ(only("'\xC3\xA9'").string, String("\xC3\xA9"));
  for (const char* text : {"''", "'ab'", "'a", "'", "'\xF0\x9F\x98\x80'", "'\n'"}) {
    EXPECT_NE(lexerError(text), "") << text;
  }
}

TEST(MofLexer, CommentsSeparateTokens) {
  const auto all = tokens("a // x \" y\nb /* \" ** / \n // */c/**/d//");
  std::string names;
  for (const Token& token : all) {
    names += token.text;
  }
  EXPECT_EQ(names, "abcd");
  EXPECT_NE(lexerError("a / b"), "");
}

TEST(MofLexer, UnclosedCommentIsRefusedWhereItBegins) {
  EXPECT_EQ(lexerError("a\n  /* x"), "f:2:3: error: expected '*/' after this, found end of file");
}

TEST(MofLexer, PositionsCountLinesAndCharacters) {
  const auto all = tokens(
      "\xEF\xBB\xBF"
      "a\n\n  b \"\xC3\xA9\xE4\xB8\xAD\" c\r\nd");
  ASSERT_EQ(all.size(), 5U);
  EXPECT_EQ(all[0].position.line, 1U);
  EXPECT_EQ(all[0].position.column, 1U);
  EXPECT_EQ(all[1].position.line, 3U);
  EXPECT_EQ(all[1].position.column, 3U);
  EXPECT_EQ(all[3].position.column, 10U);
  EXPECT_EQ(all[4].position.line, 4U);
}

TEST(MofLexer, AliasesPragmasAndNamesAreTokens) {
  EXPECT_EQ(only("$Fan_1").kind, TokenKind::alias);
  EXPECT_EQ(only("$Fan_1").text, "Fan_1");
  EXPECT_EQ(only("#PRAGMA").kind, TokenKind::pragma);
  EXPECT_EQ(only("Stra\xC3\x9F"
                 "e")
                .kind,
            TokenKind::identifier);
  for (const char* text : {"$", "$1", "#", "#define", "?", "\x01", "a.b"}) {
    EXPECT_NE(lexerError(text), "") << text;
  }
}

// Such a class would make every enumeration of classes fail.
TEST(MofLexer, NamesThatCannotBeSentAreRefused) {
  EXPECT_EQ(only("A\xEF\xBF\xBD").kind, TokenKind::identifier);
  for (const char* name : {"A\xEF\xBF\xBE", "\xEF\xBF\xBFz", "$A\xEF\xBF\xBE"}) {
    EXPECT_NE(lexerError(name).find("cannot be sent"), std::string::npos) << name;
  }
}

}  // namespace
}  // namespace cimd::mof
