// Texts as typed values.
#include "xml/values.h"
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace Pegasus::xml {
namespace {

template <typename T>
T parsed(CIMType type, std::string_view text) {
  T value{};
  parseScalar(type, text).get(value);
  return value;
}

void expectRefused(CIMType type, const std::vector<std::string_view>& texts) {
  for (const std::string_view text : texts) {
    EXPECT_THROW(parseScalar(type, text), XmlValidationError)
        << cimTypeToString(type) << " from '" << text << "'";
  }
}

TEST(ParseType, KnowsEveryTypeInAnyCase) {
  int type = CIMTYPE_BOOLEAN;
  for (const char* name :
       {"boolean", "uint8", "sint8", "uint16", "sint16", "uint32", "sint32", "uint64", "sint64",
        "real32", "real64", "char16", "string", "datetime", "reference"}) {
    EXPECT_EQ(parseType(name), type);
    EXPECT_STREQ(cimTypeToString(static_cast<CIMType>(type++)), name);
  }
  EXPECT_EQ(parseType("UInt32"), CIMTYPE_UINT32);
  EXPECT_EQ(parseType("DateTime"), CIMTYPE_DATETIME);
  for (const char* name : {"", "int", "uint", "uint128", "string ", "uint32x"}) {
    EXPECT_THROW(parseType(name), XmlValidationError) << name;
  }
}

TEST(ParseScalar, IntegersAreBoundedByTheirTypes) {
  struct Case {
    CIMType type;
    const char* tooSmall;
    const char* least;
    const char* largest;
    const char* tooLarge;
  };
  for (const Case& c : {Case{CIMTYPE_UINT8, "-1", "0", "255", "256"},
                        {CIMTYPE_SINT8, "-129", "-128", "127", "128"},
                        {CIMTYPE_UINT16, "-1", "0", "65535", "65536"},
                        {CIMTYPE_SINT16, "-32769", "-32768", "32767", "32768"},
                        {CIMTYPE_UINT32, "-1", "0", "4294967295", "4294967296"},
                        {CIMTYPE_SINT32, "-2147483649", "-2147483648", "2147483647", "2147483648"},
                        {CIMTYPE_UINT64, "-1", "0", "18446744073709551615", "18446744073709551616"},
                        {CIMTYPE_SINT64, "-9223372036854775809", "-9223372036854775808",
                         "9223372036854775807", "9223372036854775808"}}) {
    EXPECT_EQ(parseScalar(c.type, c.least).toString(), c.least);
    EXPECT_EQ(parseScalar(c.type, c.largest).toString(), c.largest);
    expectRefused(c.type, {c.tooSmall, c.tooLarge});
  }
}

TEST(ParseScalar, IntegersMayHaveBlanksSignsAndLeadingZeros) {
  EXPECT_EQ(parsed<Uint32>(CIMTYPE_UINT32, " \n2400\t\r"), 2400U);
  EXPECT_EQ(parsed<Uint32>(CIMTYPE_UINT32, "+7"), 7U);
  EXPECT_EQ(parsed<Uint32>(CIMTYPE_UINT32, "-0"), 0U);
  EXPECT_EQ(parsed<Uint32>(CIMTYPE_UINT32, "0010"), 10U);
}

TEST(ParseScalar, IntegersMayBeHexadecimalOrBinary) {
  EXPECT_EQ(parsed<Uint32>(CIMTYPE_UINT32, "0x1F"), 31U);
  EXPECT_EQ(parsed<Uint32>(CIMTYPE_UINT32, "0X1b"), 27U);
  EXPECT_EQ(parsed<Sint8>(CIMTYPE_SINT8, "-0x80"), -128);
  EXPECT_EQ(parsed<Uint8>(CIMTYPE_UINT8, "101b"), 5);
  EXPECT_EQ(parsed<Sint16>(CIMTYPE_SINT16, "-11B"), -3);
  expectRefused(CIMTYPE_UINT8, {"0x100", "100000000b", "0x", "b", "102b", "0xG", "0x-1", "x1F"});
}

TEST(ParseScalar, OtherTextsAreNotIntegers) {
  expectRefused(CIMTYPE_SINT32, {"", " ", "-", "+", "--1", "+-1", "- 1", "1 2", "1.0", "1e3",
                                 "1,000", "one", "1x", "\u00a01", std::string_view("1\0", 2)});
}

TEST(ParseScalar, RealsAreRead) {
  EXPECT_EQ(parsed<Real64>(CIMTYPE_REAL64, "1.5"), 1.5);
  EXPECT_EQ(parsed<Real64>(CIMTYPE_REAL64, " -1.25E-2\n"), -0.0125);
  EXPECT_EQ(parsed<Real64>(CIMTYPE_REAL64, "+1e300"), 1e300);
  EXPECT_EQ(parsed<Real64>(CIMTYPE_REAL64, "17"), 17.0);
  EXPECT_EQ(parsed<Real64>(CIMTYPE_REAL64, ".5"), 0.5);
  EXPECT_EQ(parsed<Real32>(CIMTYPE_REAL32, "3.4028235e38"), std::numeric_limits<Real32>::max());
  EXPECT_EQ(parsed<Real32>(CIMTYPE_REAL32, "0.1"), 0.1F);
  EXPECT_TRUE(std::signbit(parsed<Real64>(CIMTYPE_REAL64, "-0.0")));
}

TEST(ParseScalar, RealsMayBeInfiniteOrNaN) {
  EXPECT_EQ(parsed<Real64>(CIMTYPE_REAL64, "INF"), std::numeric_limits<Real64>::infinity());
  EXPECT_EQ(parsed<Real32>(CIMTYPE_REAL32, "-INF"), -std::numeric_limits<Real32>::infinity());
  EXPECT_TRUE(std::isnan(parsed<Real64>(CIMTYPE_REAL64, "NaN")));
}

TEST(ParseScalar, OtherTextsAreNotReals) {
  expectRefused(CIMTYPE_REAL64, {"", ".", "e5", "1e", "1.0.0", "1,5", "+-1", "-+1", "0x1p3",
                                 "nan(1)", "infinity", "1e400", "1.5f", "1 2"});
  expectRefused(CIMTYPE_REAL32, {"1e39", "-1e39"});
}

TEST(ParseScalar, BooleansInAnyCase) {
  EXPECT_TRUE(parsed<Boolean>(CIMTYPE_BOOLEAN, "TRUE"));
  EXPECT_TRUE(parsed<Boolean>(CIMTYPE_BOOLEAN, "\ttrue "));
  Boolean value = true;
  parseScalar(CIMTYPE_BOOLEAN, "False").get(value);
  EXPECT_FALSE(value);
  expectRefused(CIMTYPE_BOOLEAN, {"", "1", "0", "yes", "truee", "tru", "true false"});
}

TEST(ParseScalar, Char16IsExactlyOneUnit) {
  EXPECT_EQ(parsed<Char16>(CIMTYPE_CHAR16, "x"), u'x');
  EXPECT_EQ(parsed<Char16>(CIMTYPE_CHAR16, " "), u' ');
  EXPECT_EQ(parsed<Char16>(CIMTYPE_CHAR16, "\u4e2d"), u'\u4e2d');
  expectRefused(CIMTYPE_CHAR16, {"", "ab", "\U0001F600"});
}

TEST(ParseScalar, StringsAreExact) {
  EXPECT_EQ(parsed<String>(CIMTYPE_STRING, "  caf\u00e9 \n"), "  caf\u00e9 \n");
  const CIMValue empty = parseScalar(CIMTYPE_STRING, "");
  EXPECT_FALSE(empty.isNull());
  EXPECT_EQ(empty.toString(), "");
}

TEST(ParseScalar, DateTimes) {
  const std::string_view text = "20260214093000.000000+060";
  EXPECT_EQ(parsed<CIMDateTime>(CIMTYPE_DATETIME, text).toString(), "20260214093000.000000+060");
  EXPECT_EQ(parsed<CIMDateTime>(CIMTYPE_DATETIME, "\n00000001000000.000000:000 ").toString(),
            "00000001000000.000000:000");
  expectRefused(CIMTYPE_DATETIME, {"", "2026-02-14", "20260214093000.000000", "x"});
}

TEST(ParseScalar, ReferencesAreNotTexts) {
  expectRefused(CIMTYPE_REFERENCE, {"", "KVAXDT_FRU.FRUNumber=\"1\""});
}

TEST(ParseScalar, MessagesShowOnlyTheBeginningOfTheText) {
  try {
    parseScalar(CIMTYPE_UINT8, std::string(100'000, '9'));
    FAIL();
  } catch (const XmlValidationError& error) {
    EXPECT_LT(error.getMessage().size(), 200U);
  }
}

}  // namespace
}  // namespace Pegasus::xml
