#include "text/ascii.h"

#include <gtest/gtest.h>

namespace Pegasus::text {

namespace {

TEST(Ascii, CharactersPastAsciiAreOfNoKind) {
  for (const char16_t c : {u'\u0660', u'\u00C4', u'\u00A0', u'\uFF21'}) {
    EXPECT_FALSE(isDigit(c) || isLetter(c) || isSpace(c));
    EXPECT_EQ(lowered(c), c);
    EXPECT_EQ(raised(c), c);
  }
  EXPECT_FALSE(isDigit('\xB2') || isLetter('\xC4') || isSpace('\xA0'));
}

TEST(Ascii, NeighboursOfLettersAndDigitsAreNeither) {
  for (const char c : {'/', ':', '@', '[', '`', '{'}) {
    EXPECT_FALSE(isDigit(c) || isLetter(c)) << c;
    EXPECT_EQ(lowered(c), c);
    EXPECT_EQ(raised(c), c);
  }
}

TEST(Ascii, LettersAreEqualInEitherCase) {
  EXPECT_TRUE(equalNoCase("KVAXDT_Fru", "kvaxdt_fRU"));
  EXPECT_FALSE(equalNoCase("FRU", "FRUs"));
  EXPECT_FALSE(equalNoCase("\xC3\x84", "\xC3\xA4"));
  EXPECT_TRUE(equalNoCase(u"Z\u00C4", u"z\u00C4"));
  EXPECT_FALSE(equalNoCase(u"\u00C4", u"\u00E4"));
}

TEST(Ascii, TrimmingTakesWhiteSpaceAtTheEndsOnly) {
  EXPECT_EQ(trimmed(" \t\r\na b\n"), "a b");
  EXPECT_EQ(trimmed(" \t"), "");
  EXPECT_EQ(trimmed("\va\f"), "\va\f");
}

}  // namespace

}  // namespace Pegasus::text
