// Constants of MOF as typed values. The forms of numbers and strings are the lexer's.
#include "mof/values.h"
#include <gtest/gtest.h>

#include "mof/parser.h"

namespace cimd::mof {
namespace {

using Pegasus::CIMValue;

// The value that the text is for a property of this type, which "uint8[]" or "uint8[2]" can be.
CIMValue valueOf(const std::string& type, const std::string& text) {
  const std::size_t bracket = std::min(type.find('['), type.size());
  const std::string mof =
      "class A { " + type.substr(0, bracket) + " v" + type.substr(bracket) + " = " + text + "; };";
  Parser parser(std::make_shared<const std::string>("f"), mof);
  const auto cls = std::get<ClassSyntax>(*parser.next());
  const PropertySyntax& v = cls.properties.at(0);
  return typedValue(
      *v.defaultValue, v.type.type, v.type.isArray, v.type.arraySize,
      [](const Literal& alias) { return Pegasus::CIMObjectPath("", "", "To_" + alias.text, {}); });
}

// The message without its position.
std::string valueError(const std::string& type, const std::string& text) {
  try {
    valueOf(type, text);
  } catch (const MofError& mofError) {
    const std::string message = mofError.what();
    return message.substr(message.find("error: ") + 7);
  }
  return "";
}

TEST(MofValues, EveryTypeTakesItsLeastAndLargestValue) {
  struct Case {
    const char* type;
    const char* mof;
    const char* text;
  };
  for (const Case& c :
       {Case{"boolean", "TRUE", "TRUE"},
        {"boolean", "false", "FALSE"},
        {"uint8", "255", "255"},
        {"uint8", "-0", "0"},
        {"sint8", "-128", "-128"},
        {"uint16", "0xFFFF", "65535"},
        {"sint16", "-32768", "-32768"},
        {"uint32", "4294967295", "4294967295"},
        {"sint32", "-2147483648", "-2147483648"},
        {"uint64", "18446744073709551615", "18446744073709551615"},
        {"sint64", "-9223372036854775808", "-9223372036854775808"},
        {"real32", "1.5", "1.5000000000000000e+00"},
        {"real64", "-3", "-3.0000000000000000e+00"},
        {"char16", "'x'", "x"},
        {"char16", "65", "A"},
        {"string", "\"a\" \"b\"", "ab"},
        {"string", R"("\xD83D" "\xDE00")", "\xF0\x9F\x98\x80"},
        {"datetime", "\"20261121093000.000000-300\"", "20261121093000.000000-300"},
        {"datetime", "\"00000012103000.123456:000\"", "00000012103000.123456:000"},
        {"datetime", "\"20261121******.******+000\"", "20261121******.******+000"},
        {"A ref", R"("A.k=\"x\"")", R"(A.k="x")"},
        {"A ref", "$b", "To_b"},
        {"string[]", "{}", ""},
        {"real32[2]", "{1, -2.5}", "1.0000000000000000e+00 -2.5000000000000000e+00 "},
        {"char16[]", "{'a', 67}", "a C "}}) {
    const CIMValue value = valueOf(c.type, c.mof);
    EXPECT_EQ(value.toString().toUtf8(), c.text) << c.type << ' ' << c.mof;
    EXPECT_FALSE(value.isNull());
  }
}

TEST(MofValues, NullFitsEveryTypeAndEveryElement) {
  for (const char* type : {"uint8", "string", "A ref", "datetime[]"}) {
    EXPECT_TRUE(valueOf(type, "NULL").isNull()) << type;
  }
  const CIMValue array = valueOf("uint8[]", "{1, NULL, 0}");
  EXPECT_EQ(array.toString().toUtf8(), "1 0 0 ");
  EXPECT_FALSE(array.isNullElement(0));
  EXPECT_TRUE(array.isNullElement(1));
  EXPECT_FALSE(array.isNullElement(2));
}

TEST(MofValues, ValuesOfAnotherTypeOrRangeAreRefused) {
  struct Case {
    const char* type;
    const char* mof;
    const char* message;
  };
  for (const Case& c :
       {Case{"uint8", "256", "the number does not fit in uint8"},
        {"uint8", "-1", "the number does not fit in uint8"},
        {"sint8", "128", "the number does not fit in sint8"},
        {"sint8", "-129", "the number does not fit in sint8"},
        {"sint64", "9223372036854775808", "the number does not fit in sint64"},
        {"char16", "65536", "the number does not fit in char16"},
        {"real32", "1.0e39", "the number does not fit in real32"},
        {"uint8", "1.0", "expected a value of type uint8, found a real number"},
        {"uint8", "\"1\"", "expected a value of type uint8, found a string"},
        {"string", "1", "expected a value of type string, found an integer"},
        {"string", "'a'", "expected a value of type string, found a character"},
        {"boolean", "1", "expected a value of type boolean, found an integer"},
        {"string", "$x", "expected a value of type string, found an alias"},
        {"A ref", "TRUE", "expected a value of type reference, found a boolean"},
        {"char16", "\"a\"", "expected a value of type char16, found a string"},
        {"datetime", "1", "expected a value of type datetime, found an integer"},
        {"string", "{\"a\"}", "expected a single value, found values in braces"},
        {"string[]", "\"a\"", "expected values in braces, found a single value"},
        {"string[1]", "{\"a\", \"b\"}", "expected at most 1 values, found 2"},
        {"A ref", "\"no path!\"", "expected an object path such as Class.key=\"text\""}}) {
    EXPECT_EQ(valueError(c.type, c.mof), c.message) << c.type << ' ' << c.mof;
  }
  std::string keys = "A.k0=0";
  for (int i = 1; i <= 100; ++i) {
    keys += ",k" + std::to_string(i) + "=0";
  }
  EXPECT_EQ(valueError("A ref", "\"" + keys + "\""), "the object path has too many keys");
}

TEST(MofValues, DatetimesThatNoClockOrCalendarHasAreRefused) {
  for (const char* wrong :
       {"", "today", "20261121093000.000000", "20261121093000.000000*060",
        "2026112109300a.000000+060", "20261121093000.000000+0600", " 20261121093000.000000+060",
        "20261301000000.000000+000", "20261132000000.000000+000", "20261121240000.000000+000",
        "20261121006000.000000+000", "20261121000061.000000+000", "00000001240000.000000:000"}) {
    EXPECT_EQ(valueError("datetime", std::string("\"") + wrong + "\""),
              "expected a datetime such as \"20261121093000.000000+060\"")
        << wrong;
  }
}

// Such a value could be loaded and not be read by any client.
TEST(MofValues, CharactersThatCannotBeSentAreRefused) {
  struct Case {
    const char* type;
    const char* mof;
    const char* number;
  };
  for (const Case& c : {Case{"string", "\"\\b\"", "8"},
                        {"string", "\"\\xD800\"", "55296"},
                        {"A ref", "\"A.k=\\\"\\x19\\\"\"", "25"},
                        {"char16", "'\\x19'", "25"},
                        {"char16", "25", "25"}}) {
    EXPECT_EQ(valueError(c.type, c.mof),
              std::string("the text has a character that cannot be sent in CIM-XML (number ") +
                  c.number + ")")
        << c.type << ' ' << c.mof;
  }
}

}  // namespace
}  // namespace cimd::mof
