// Instances and pragmas from MOF, and the texts and comments between.
#include <gtest/gtest.h>
#include "mof/mof_loader.h"

#include "requests.h"

namespace cimd {
namespace {

using test::loadError;

// What the property v of the only instance of A is, as text.
std::string valueOf(const std::string& type, const std::string& value) {
  Repository repository;
  test::loadText(repository, "class A { [Key] string k = \"1\"; " + type +
                                 "; };\ninstance of A { v = " + value + "; };");
  const NameSpace& nameSpace = repository.nameSpace(defaultNameSpace);
  const auto instances = nameSpace.instances(nameSpace.classNamed("A"));
  const auto& instance = instances.at(0)->instance;
  const auto& v = instance.getProperty(instance.findProperty("v")).getValue();
  return v.isNull() ? "null" : v.toString().toUtf8();
}

TEST(MofInstances, StringsInPiecesWithEveryEscape) {
  struct Case {
    const char* mof;
    const char* text;
  };
  for (const Case& c : {Case{R"("one " "two" /* between */ // and
             " three")",
                             "one two three"},
                        {R"("\t\n\r\"\'\\")", "\t\n\r\"'\\"},
                        {R"("\x41\X42\x043\x0044\x45G")", "ABCDEG"},
                        {R"("// no comment /* either */")", "// no comment /* either */"},
                        {"\"caf\xC3\xA9\"", "caf\xC3\xA9"},
                        {R"("\xD83D" "\xDE00")", "\xF0\x9F\x98\x80"},
                        {R"("")", ""},
                        {R"("" "" "a")", "a"},
                        {"NULL", "null"}}) {
    EXPECT_EQ(valueOf("string v", c.mof), c.text) << c.mof;
  }
}

TEST(MofInstances, NumbersOfEveryForm) {
  struct Case {
    const char* type;
    const char* mof;
    const char* text;
  };
  for (const Case& c : {Case{"uint64 v", "0xffffFFFFffffFFFF", "18446744073709551615"},
                        {"uint64 v", "01777777777777777777777", "18446744073709551615"},
                        {"sint64 v", "-0x8000000000000000", "-9223372036854775808"},
                        {"sint8 v", "-10000000b", "-128"},
                        {"uint8 v", "11111111B", "255"},
                        {"uint8 v", "-0", "0"},
                        {"uint8 v", "+255", "255"},
                        {"uint8 v", "00", "0"},
                        {"sint16 v[]", "{1, -1, 0x10, 010, 10b}", "{1, -1, 16, 8, 2}"},
                        {"real64 v", "0x10", "16"},
                        {"real64 v", ".5e1", "5"},
                        {"real32 v[]", "{1, -2.5}", "{1, -2.5}"},
                        {"char16 v[]", "{'a', 'b', 67}", "{a, b, C}"}}) {
    EXPECT_EQ(valueOf(c.type, c.mof), c.text) << c.mof;
  }
}

TEST(MofInstances, DateTimes) {
  for (const char* good : {"20261121093000.000000+060", "20261121093000.000000-300",
                           "00000012103000.123456:000", "20261121******.******+000"}) {
    EXPECT_EQ(valueOf("datetime v", std::string("\"") + good + "\""), good);
  }
  for (const char* wrong : {"", "20261121", "20261121093000.000000", "20261121093000.000000*060",
                            "20261121253000.000000+060", "2026112109300a.000000+060",
                            "20261121093000.000000+0600", " 20261121093000.000000+060"}) {
    EXPECT_NE(loadError(std::string("class A { [Key] string k = \"1\"; datetime v = \"") + wrong +
                        "\"; };"),
              "")
        << wrong;
  }
}

TEST(MofInstances, TheirValuesAreCheckedWhereTheyStand) {
  struct Case {
    const char* mof;
    const char* message;
  };
  const std::string classes =
      "class A { [Key] string k; uint8 n; string two[2]; A ref r; };\n[Abstract] class N : A {};\n";
  for (const Case& c :
       {Case{"instance of A { k = \"1\";\n two = {\"a\", \"b\", \"c\"}; };",
             "4:8: error: expected at most 2 values, found 3"},
        {"instance of A { k = \"1\";\n n = 256; };",
         "4:6: error: the number does not fit in uint8"},
        {"instance of A { k = \"1\";\n m = 1; };", "4:2: error: class A has no property m"},
        {"instance of A { k = \"1\";\n n = 1; N = 2; };",
         "4:9: error: property n has a value already"},
        {"instance of A { k = NULL; };",
         "3:13: error: CIM_ERR_INVALID_PARAMETER: key property k of class A has no value"},
        {"instance of A { n = 1; };",
         "3:13: error: CIM_ERR_INVALID_PARAMETER: key property k of class A has no value"},
        {"instance of N { k = \"1\"; };",
         "3:13: error: CIM_ERR_NOT_SUPPORTED: class N is abstract"},
        {"instance of M { k = \"1\"; };",
         "3:13: error: class M is not declared in namespace root/kvasd"},
        {"instance of A { k = \"1\"; };\ninstance of A { k = \"1\"; };",
         "4:13: error: CIM_ERR_ALREADY_EXISTS: A.k=\"1\""},
        {"instance of A { k = \"1\"; r = $b; };", "3:30: error: no instance has the alias $b"},
        {"instance of A { k = $b; };",
         "3:21: error: expected a value of type string, found an alias"},
        {"instance of A as a { k = \"1\"; };",
         "3:18: error: expected an alias such as $name, found 'a'"},
        {"instance of A { k = ; };", "3:21: error: expected a value, found ';'"},
        {"instance of A { k = yes; };", "3:21: error: expected a value, found 'yes'"},
        {"instance of A { k = \"1\" };", "3:25: error: expected ';', found '}'"},
        {"instance of A { k = \"1\"; }", "3:27: error: expected ';', found end of file"},
        {"instance of A { two = {\"a\" \"b\", }; };",
         "3:33: error: expected a value, found '}'"}}) {
    EXPECT_EQ(loadError(classes + c.mof), std::string("test.mof:") + c.message) << c.mof;
  }
}

TEST(MofInstances, AliasesStandForInstancesBeforeAndAfter) {
  test::Server server(
      "instance of Link as $l { from = $one; to = $TWO; };\n"
      "[Description(\"passed over\")] instance of Box as $One { [Key] id = 1; };\n"
      "instance of Box as $two { id = 2; next = $l; };\n"
      "class Box { [Key] uint16 id; Link ref next; };\n"
      "[Association] class Link { [Key] Box ref from; [Key] Box ref to; };");
  const std::string names =
      server.ask("EnumerateInstanceNames", {{"ClassName", test::className("Link")}});
  EXPECT_EQ(test::attributes(names, "INSTANCENAME", "CLASSNAME"), "Link Box Box ");
  EXPECT_NE(names.find(">2</KEYVALUE>"), std::string::npos);
  const std::string box =
      server.ask("GetInstance", {{"InstanceName",
                                  "<INSTANCENAME CLASSNAME=\"Box\"><KEYVALUE VALUETYPE="
                                  "\"numeric\">2</KEYVALUE></INSTANCENAME>"}});
  EXPECT_EQ(test::attributes(box, "INSTANCENAME", "CLASSNAME"), "Link Box Box ");
}

TEST(MofPragmas, OthersThanIncludeAndNamespaceMeanNothing) {
  EXPECT_EQ(loadError("#pragma locale(\"en_US\")\n#pragma instancelocale (\"de_DE\")\n"
                      "#pragma source(\"x\")\n#pragma nonlocal(\"y\")\n#pragma Site_Own(\"\")\n"
                      "#PRAGMA Class(\"any\" \" text\")"),
            "");
}

TEST(MofPragmas, WrongOnesAreRefused) {
  struct Case {
    const char* mof;
    const char* message;
  };
  for (const Case& c :
       {Case{"#pragma", "1:8: error: expected the name of a pragma, found end of file"},
        {"#pragma locale", "1:15: error: expected '(', found end of file"},
        {"#pragma locale(en)", "1:16: error: expected a string, found 'en'"},
        {"#pragma locale(\"en\"", "1:20: error: expected ')', found end of file"},
        {"#pragma locale(\"en\");",
         "1:21: error: expected a class, an instance, a qualifier or #pragma, found ';'"},
        {"#include(\"x\")", "1:1: error: expected '#pragma', found '#include'"},
        {"# pragma locale(\"en\")", "1:1: error: expected '#pragma', found '#'"},
        {"#pragma namespace(\"root//x\")",
         "1:9: error: expected the name of a namespace on this server, found 'root//x'"},
        {"class A { #pragma locale(\"en\") };", "1:11: error: expected a type, found '#pragma'"}}) {
    EXPECT_EQ(loadError(c.mof), std::string("test.mof:") + c.message) << c.mof;
  }
}

TEST(MofPragmas, WhatIsIncludedGoesWhereThePragmaStandsAndKnowsItsAliases) {
  const test::TemporaryFolder folder;
  folder.write("classes/a.mof", "class A { [Key] string k; A ref r; };");
  folder.write("more.mof", "instance of A as $inner { k = \"i\"; r = $outer; };");
  const auto top = folder.write(
      "top.mof",
      "#pragma namespace(\"root/x\")\n#pragma include(\"classes/\" \"a.mof\")\n"
      "#pragma include(\"more.mof\")\ninstance of A as $outer { k = \"o\"; r = $inner; };");
  Repository repository;
  mof::loadMof({top}, repository);
  const NameSpace& nameSpace = repository.nameSpace("root/x");
  EXPECT_EQ(nameSpace.instances(nameSpace.classNamed("A")).size(), 2U);
}

TEST(MofComments, StandBetweenAnyTwoTokens) {
  const std::string mof =
      "#pragma locale ( \"en\" ) Qualifier Q : boolean = false , Scope ( any ) , Flavor ( "
      "Restricted ) ; [ Q ( true ) : Restricted ] class A : B { [ Key ] string k [ 2 ] = { \"a\" , "
      "\"b\" } ; uint8 m ( A ref p [ ] ) ; } ; class B { [ Key ] uint8 n ; } ; instance of B as $b "
      "{ n = 1 ; } ;";
  std::string commented = mof;
  for (std::size_t at = commented.find(' '); at != std::string::npos;
       at = commented.find(' ', at + 1)) {
    const std::string comment = at % 2 == 0 ? "/*;*/" : "// }\n";
    commented.replace(at, 1, comment);
    at += comment.size() - 1;
  }
  const std::string expected = "key property k of class A is an array";
  EXPECT_NE(loadError(mof).find(expected), std::string::npos);
  EXPECT_NE(loadError(commented).find(expected), std::string::npos) << loadError(commented);
}

}  // namespace
}  // namespace cimd
