// MOF files up to typed values: tokens, syntax, constants.
#include "mof/parser.h"
#include "mof/values.h"

#include "support.h"

namespace cimd::test {
namespace {

using namespace mof;

std::vector<Token> tokens(std::string_view text) {
  Lexer lexer(std::make_shared<const std::string>("f"), text);
  std::vector<Token> all;
  for (Token token = lexer.next(); token.kind != TokenKind::end; token = lexer.next()) {
    all.push_back(token);
  }
  return all;
}

// The only token of a text.
Token only(std::string_view text) {
  const auto all = tokens(text);
  EXPECT_EQ(all.size(), 1U) << text;
  return all.empty() ? Token() : all.front();
}

std::string lexerError(std::string_view text) {
  try {
    tokens(text);
  } catch (const MofError& error) {
    return error.what();
  }
  return "";
}

TEST(MofLexer, IntegersHaveASignAndOneOfFourBases) {
  struct Case {
    const char* text;
    bool isNegative;
    Uint64 magnitude;
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

// The message for the text; empty when it is well-formed.
std::string parserError(std::string_view text) {
  try {
    Parser parser(std::make_shared<const std::string>("f"), text);
    while (parser.next()) {
    }
  } catch (const MofError& error) {
    return error.what();
  }
  return "";
}

TEST(MofParser, ErrorsNameThePositionAndWhatWasExpected) {
  struct Case {
    const char* text;
    const char* message;
  };
  for (const Case& c : {
           Case{"garbage", "1:1: a class, an instance, a qualifier or #pragma, found 'garbage'"},
           {"[Key]", "1:6: a class, an instance, a qualifier or #pragma, found end of file"},
           {"[]class A {};", "1:2: the name of a qualifier, found ']'"},
           {"[Key class A {};", "1:6: ']', found 'class'"},
           {"[Key : ] class A {};", "1:8: a flavor, found ']'"},
           {"[Max(] class A {};", "1:6: a value, found ']'"},
           {"class {};", "1:7: the name of a class, found '{'"},
           {"class A as x {};", "1:12: an alias such as $name, found 'x'"},
           {"class A : {};", "1:11: the name of the superclass, found '{'"},
           {"class A ;", "1:9: '{', found ';'"},
           {"class A {}", "1:11: ';', found end of file"},
           {"class A {", "1:10: a type, found end of file"},
           {"class A {\n string };", "2:9: the name of a property or method, found '}'"},
           {"class A { strong x; };", "1:11: a type, found 'strong'"},
           {"class A { string x };", "1:20: ';', found '}'"},
           {"class A { string x = ; };", "1:22: a value, found ';'"},
           {"class A { string x[0]; };", "1:20: the size of an array, found '0'"},
           {"class A { string x[a]; };", "1:20: ']', found 'a'"},
           {"class A { string x[] = {1, ; };", "1:28: a value, found ';'"},
           {"class A { string f(string); };", "1:26: the name of a parameter, found ')'"},
           {"class A { string f(string a,); };", "1:29: a type, found ')'"},
           {"instance A {};", "1:10: 'of', found 'A'"},
           {"instance of A as {};", "1:18: an alias such as $name, found '{'"},
           {"instance of A { x 5; };", "1:19: '=', found '5'"},
           {"instance of A { 5 = 5; };", "1:17: the name of a property, found '5'"},
           {"instance of A { x = \"a\" 5; };", "1:25: ';', found '5'"},
           {"qualifier Q;", "1:12: ':', found ';'"},
           {"qualifier Q : string;", "1:21: ',', found ';'"},
           {"qualifier Q : string, flavor(x);", "1:23: 'scope', found 'flavor'"},
           {"qualifier Q : string, scope();", "1:29: a name, found ')'"},
           {"[Key] Qualifier Q : string, Scope(any);",
            "1:7: a class, an instance, a qualifier or #pragma, found 'Qualifier'"},
           {"class A { string x[-1]; };", "1:20: the size of an array, found '-1'"},
           {"class A { string x[4294967296]; };", "1:20: the size of an array, found '4294967296'"},
           {"class A { uint8 f[](); };", "1:20: ';', found '('"},
           {"#pragma locale(\"en\"", "1:20: ')', found end of file"},
           {"#include(\"x\")", "1:1: '#pragma', found '#include'"},
           {"#pragma (\"x\")", "1:9: the name of a pragma, found '('"},
           {"#pragma include \"x\"", "1:17: '(', found a string"},
           {"#pragma include (x)", "1:18: a string, found 'x'"},
       }) {
    const std::string message = c.message;
    const std::size_t colon = message.find(": ");
    EXPECT_EQ(parserError(c.text),
              "f:" + message.substr(0, colon) + ": error: expected" + message.substr(colon + 1))
        << c.text;
  }
}

// A cut-off file is an error or fewer productions, wherever it is cut.
TEST(MofParser, EveryPrefixHasADefinedOutcome) {
  const std::string whole =
      "#pragma locale(\"en\")\nQualifier K : boolean = false, Scope(any), Flavor(ToSubclass);\n"
      "[K, V{\"x\\x41\"}:Restricted] class A : B { [K(TRUE)] uint8 a[2] = {1, 0x2}; B ref b; "
      "string m([In] string c); };\n/* c */ instance of A as $i { a = {1b, 07}; b = $i; c = 'x'; "
      "d = 1.5e1; };";
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const std::string prefix = whole.substr(0, length);
    const std::string message = parserError(prefix);
    EXPECT_TRUE(message.empty() || message.starts_with("f:")) << prefix;
  }
  EXPECT_EQ(parserError(whole), "");
}

// The value that the text is for a property of this type, which "uint8[]" or "uint8[2]" can be.
CIMValue valueOf(const std::string& type, const std::string& text) {
  const std::size_t bracket = std::min(type.find('['), type.size());
  const std::string mof =
      "class A { " + type.substr(0, bracket) + " v" + type.substr(bracket) + " = " + text + "; };";
  Parser parser(std::make_shared<const std::string>("f"), mof);
  const auto cls = std::get<ClassSyntax>(*parser.next());
  const PropertySyntax& v = cls.properties.at(0);
  return typedValue(*v.defaultValue, v.type, [](const Literal& alias) {
    return CIMObjectPath("", "", "To_" + alias.text, {});
  });
}

// The message without its position.
std::string valueError(const std::string& type, const std::string& text) {
  try {
    valueOf(type, text);
  } catch (const MofError& error) {
    const std::string message = error.what();
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
       {Case{"boolean", "True", "TRUE"},
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
    EXPECT_TRUE(valueOf(type, "nUll").isNull()) << type;
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
}  // namespace cimd::test
