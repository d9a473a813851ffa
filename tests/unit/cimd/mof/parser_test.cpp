#include "mof/parser.h"
#include <gtest/gtest.h>

namespace cimd::mof {
namespace {

using Pegasus::String;

std::vector<Production> parse(std::string_view text) {
  Parser parser(std::make_shared<const std::string>("f"), text);
  std::vector<Production> all;
  while (auto production = parser.next()) {
    all.push_back(std::move(*production));
  }
  return all;
}

template <typename T>
T only(std::string_view text) {
  auto all = parse(text);
  EXPECT_EQ(all.size(), 1U);
  return std::get<T>(all.at(0));
}

std::string parserError(std::string_view text) {
  try {
    parse(text);
  } catch (const MofError& mofError) {
    return mofError.what();
  }
  return "";
}

TEST(MofParser, ATextOfBlanksAndCommentsIsEmpty) {
  EXPECT_TRUE(parse(" \n// x\n/* y */").empty());
}

TEST(MofParser, APragmaHasANameAndAParameter) {
  const auto pragma = only<PragmaSyntax>("#pragma Include (\"a/\" \"b.mof\")");
  EXPECT_EQ(pragma.name, String("Include"));
  EXPECT_EQ(pragma.parameter, String("a/b.mof"));
  EXPECT_EQ(only<PragmaSyntax>(R"(#PRAGMA INCLUDE ("new\a" "\b.mof"))").parameter,
            String(R"(new\a\b.mof)"));
  EXPECT_EQ(only<PragmaSyntax>(R"(#pragma source ("a\tb"))").parameter, String("a\tb"));
  EXPECT_EQ(std::get<InstanceSyntax>(
                parse("#pragma include (\"a\\b\")\ninstance of A { k = \"\\t\"; };").at(1))
                .assignments.at(0)
                .value.literals.at(0)
                .text,
            String("\t"));
}

TEST(MofParser, AQualifierDeclarationHasTypeDefaultScopesAndFlavors) {
  const auto qualifier = only<QualifierDeclarationSyntax>(
      "QUALIFIER ArrayType : string = \"Bag\", Scope(property, PARAMETER), "
      "Flavor(DisableOverride, ToSubclass);");
  EXPECT_EQ(qualifier.name, String("ArrayType"));
  EXPECT_EQ(qualifier.type.type, Pegasus::CIMTYPE_STRING);
  EXPECT_EQ(qualifier.defaultValue->literals.at(0).text, String("Bag"));
  EXPECT_EQ(qualifier.scopes, (std::vector<String>{"property", "PARAMETER"}));
  EXPECT_EQ(qualifier.flavors, (std::vector<String>{"DisableOverride", "ToSubclass"}));
  const auto array = only<QualifierDeclarationSyntax>("Qualifier Values : string[], Scope(any);");
  EXPECT_TRUE(array.type.isArray);
  EXPECT_FALSE(array.defaultValue);
  EXPECT_TRUE(array.flavors.empty());
}

TEST(MofParser, AClassHasEveryKindOfFeature) {
  const auto cls = only<ClassSyntax>(R"(
    [Association, Version ( "2.6.0" ) : Restricted ToSubclass, Values{"a", "b"}, Max(3)]
    class My_Class as $alias : My_Base {
        [Key] string Name;
        uint32 Class = 0x10;
        sint8 Many[] = { 1, -2 };
        boolean Fixed [ 4 ];
        My_Other ref Target = NULL;
        [Description("x")] uint32 Run([In] string How[], My_Other Ref Who, [Out] datetime When);
        boolean Stop();
    };)");
  EXPECT_EQ(cls.name, String("My_Class"));
  EXPECT_EQ(cls.superclass, String("My_Base"));
  ASSERT_EQ(cls.qualifiers.size(), 4U);
  EXPECT_FALSE(cls.qualifiers[0].value);
  EXPECT_EQ(cls.qualifiers[1].flavors, (std::vector<String>{"Restricted", "ToSubclass"}));
  EXPECT_TRUE(cls.qualifiers[2].value->isArray);
  EXPECT_EQ(cls.qualifiers[2].value->literals.size(), 2U);
  ASSERT_EQ(cls.properties.size(), 5U);
  EXPECT_EQ(cls.properties[0].qualifiers.size(), 1U);
  EXPECT_EQ(cls.properties[1].name, String("Class"));
  EXPECT_EQ(cls.properties[1].defaultValue->literals.at(0).integer.magnitude, 16U);
  EXPECT_TRUE(cls.properties[2].type.isArray);
  EXPECT_TRUE(cls.properties[2].defaultValue->isArray);
  EXPECT_EQ(cls.properties[3].type.arraySize, 4U);
  EXPECT_EQ(cls.properties[4].type.type, Pegasus::CIMTYPE_REFERENCE);
  EXPECT_EQ(cls.properties[4].type.className, String("My_Other"));
  ASSERT_EQ(cls.methods.size(), 2U);
  ASSERT_EQ(cls.methods[0].parameters.size(), 3U);
  EXPECT_TRUE(cls.methods[0].parameters[0].type.isArray);
  EXPECT_EQ(cls.methods[0].parameters[1].type.className, String("My_Other"));
  EXPECT_TRUE(cls.methods[1].parameters.empty());
}

TEST(MofParser, AnInstanceHasEveryKindOfValue) {
  const auto instance = only<InstanceSyntax>(R"(
    [Description("ignored")] INSTANCE OF My_Class AS $me {
        A = "one" /* joined */ " two"; B = -5; C = 1.5; D = 'x'; E = True; F = nUll;
        G = $other; H = { "a", NULL }; [Key] I = {};
    };)");
  EXPECT_EQ(instance.className, String("My_Class"));
  EXPECT_EQ(instance.alias, String("me"));
  ASSERT_EQ(instance.assignments.size(), 9U);
  const auto literal = [&](std::size_t i) { return instance.assignments[i].value.literals.at(0); };
  EXPECT_EQ(literal(0).text, String("one two"));
  EXPECT_TRUE(literal(1).integer.isNegative);
  EXPECT_EQ(literal(2).real, 1.5);
  EXPECT_EQ(literal(3).kind, Literal::Kind::character);
  EXPECT_TRUE(literal(4).boolean);
  EXPECT_EQ(literal(5).kind, Literal::Kind::null);
  EXPECT_EQ(literal(6).kind, Literal::Kind::alias);
  EXPECT_EQ(literal(6).text, String("other"));
  EXPECT_EQ(instance.assignments[7].value.literals.size(), 2U);
  EXPECT_TRUE(instance.assignments[8].value.literals.empty());
}

TEST(MofParser, ErrorsNameThePositionAndWhatWasExpected) {
  struct Case {
    const char* text;
    const char* message;
  };
  for (const Case& c : {
           Case{"garbage",
                "f:1:1: error: expected a class, an instance, a qualifier or #pragma, "
                "found 'garbage'"},
           {"[Key]",
            "f:1:6: error: expected a class, an instance, a qualifier or #pragma, found "
            "end of file"},
           {"[]class A {};", "f:1:2: error: expected the name of a qualifier, found ']'"},
           {"[Key class A {};", "f:1:6: error: expected ']', found 'class'"},
           {"[Key : ] class A {};", "f:1:8: error: expected a flavor, found ']'"},
           {"[Max(] class A {};", "f:1:6: error: expected a value, found ']'"},
           {"class {};", "f:1:7: error: expected the name of a class, found '{'"},
           {"class A as x {};", "f:1:12: error: expected an alias such as $name, found 'x'"},
           {"class A : {};", "f:1:11: error: expected the name of the superclass, found '{'"},
           {"class A ;", "f:1:9: error: expected '{', found ';'"},
           {"class A {}", "f:1:11: error: expected ';', found end of file"},
           {"class A {", "f:1:10: error: expected a type, found end of file"},
           {"class A {\n string };",
            "f:2:9: error: expected the name of a property or method, "
            "found '}'"},
           {"class A { strong x; };", "f:1:11: error: expected a type, found 'strong'"},
           {"class A { string x };", "f:1:20: error: expected ';', found '}'"},
           {"class A { string x = ; };", "f:1:22: error: expected a value, found ';'"},
           {"class A { string x[0]; };", "f:1:20: error: expected the size of an array, found '0'"},
           {"class A { string x[a]; };", "f:1:20: error: expected ']', found 'a'"},
           {"class A { string x[] = {1, ; };", "f:1:28: error: expected a value, found ';'"},
           {"class A { string f(string); };",
            "f:1:26: error: expected the name of a parameter, found ')'"},
           {"class A { string f(string a,); };", "f:1:29: error: expected a type, found ')'"},
           {"instance A {};", "f:1:10: error: expected 'of', found 'A'"},
           {"instance of A as {};", "f:1:18: error: expected an alias such as $name, found '{'"},
           {"instance of A { x 5; };", "f:1:19: error: expected '=', found '5'"},
           {"instance of A { 5 = 5; };",
            "f:1:17: error: expected the name of a property, found '5'"},
           {"instance of A { x = \"a\" 5; };", "f:1:25: error: expected ';', found '5'"},
           {"qualifier Q;", "f:1:12: error: expected ':', found ';'"},
           {"qualifier Q : string;", "f:1:21: error: expected ',', found ';'"},
           {"qualifier Q : string, flavor(x);", "f:1:23: error: expected 'scope', found 'flavor'"},
           {"qualifier Q : string, scope();", "f:1:29: error: expected a name, found ')'"},
           {"[Key] Qualifier Q : string, Scope(any);",
            "f:1:7: error: expected a class, an instance, a qualifier or #pragma, found "
            "'Qualifier'"},
           {"class A { string x[-1]; };",
            "f:1:20: error: expected the size of an array, found '-1'"},
           {"class A { string x[4294967296]; };",
            "f:1:20: error: expected the size of an array, found '4294967296'"},
           {"class A { uint8 f[](); };", "f:1:20: error: expected ';', found '('"},
           {"class A { A ref f(); };", "f:1:17: error: a method cannot return a reference"},
           {"#pragma locale(\"en\"", "f:1:20: error: expected ')', found end of file"},
           {"#include(\"x\")", "f:1:1: error: expected '#pragma', found '#include'"},
           {"#pragma (\"x\")", "f:1:9: error: expected the name of a pragma, found '('"},
           {"#pragma include \"x\"", "f:1:17: error: expected '(', found a string"},
           {"#pragma include (x)", "f:1:18: error: expected a string, found 'x'"},
       }) {
    EXPECT_EQ(parserError(c.text), c.message) << c.text;
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

}  // namespace
}  // namespace cimd::mof
