#include <gtest/gtest.h>
#include "text/ascii.h"
#include "text/host_port.h"
#include "text/percent.h"

#include <string>

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

// The parts with a bar between them, "-" for no port.
std::string parts(std::string_view text) {
  const auto split = splitHostPort(text);
  if (!split) {
    return "nothing";
  }
  return std::string(split->isBracketed ? "[]" : "") + std::string(split->host) + "|" +
         std::string(split->port.value_or("-"));
}

TEST(HostPort, PortMayBeMissingOrEmpty) {
  EXPECT_EQ(parts("localhost:5988"), "localhost|5988");
  EXPECT_EQ(parts("localhost"), "localhost|-");
  EXPECT_EQ(parts("localhost:"), "localhost|");
}

TEST(HostPort, Ipv6AddressIsInBrackets) {
  EXPECT_EQ(parts("[::1]:5988"), "[]::1|5988");
  EXPECT_EQ(parts("[::1]"), "[]::1|-");
  for (const char* text :
       {"::1", "::1:5988", "[::1", "::1]", "[]", "[]:1", "[::1]5988", "[::1] :1"}) {
    EXPECT_EQ(parts(text), "nothing") << text;
  }
}

TEST(HostPort, PortHasDigitsOnlyAndHostIsNotEmpty) {
  for (const char* text : {"", ":5988", "a:b", "a:+1", "a:1 ", "a:1:2", "a]:1", "a[b]"}) {
    EXPECT_EQ(parts(text), "nothing") << text;
  }
}

TEST(HostPort, PortIsANumberOf16Bits) {
  EXPECT_EQ(parsePort("0"), 0);
  EXPECT_EQ(parsePort("65535"), 65535);
  EXPECT_EQ(parsePort("065535"), 65535);
  for (const char* text : {"", "65536", "99999999999999999999", "-1", "1x", " 1"}) {
    EXPECT_FALSE(parsePort(text)) << text;
  }
}

TEST(Percent, EverythingButUnreservedCharactersIsEncoded) {
  EXPECT_EQ(percentEncoded("aZ09-._~"), "aZ09-._~");
  EXPECT_EQ(percentEncoded("root/kvasd\r\n%\xC3\xA9"), "root%2Fkvasd%0D%0A%25%C3%A9");
}

TEST(Percent, EscapesAreDecodedInEitherCase) {
  EXPECT_EQ(percentDecoded("a%2Fb%2fc%41+"), "a/b/cA+");
  EXPECT_EQ(percentDecoded("%C3%A9"), "\xC3\xA9");
}

TEST(Percent, IncompleteEscapeStandsForItself) {
  for (const char* text : {"%", "a%", "a%2", "%zz", "%2g", "%%", "100% sure", "%-1", "%+1"}) {
    EXPECT_EQ(percentDecoded(text), text);
    EXPECT_FALSE(isPercentEncoded(text)) << text;
  }
  EXPECT_EQ(percentDecoded("%%41"), "%A");
}

TEST(Percent, TextWithCompleteEscapesIsEncoded) {
  for (const char* text : {"", "plain", "%41", "a%2Fb%2f"}) {
    EXPECT_TRUE(isPercentEncoded(text)) << text;
  }
}

}  // namespace

}  // namespace Pegasus::text
