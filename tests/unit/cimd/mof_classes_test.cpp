// Classes from MOF: their features, what they inherit, and what is refused where.
#include <gtest/gtest.h>
#include "mof/mof_loader.h"

#include "requests.h"

namespace cimd {
namespace {

using test::loadError;

// The class as a client gets it.
std::string classXml(const std::string& mof, const std::string& name) {
  test::Server server(mof);
  return server.ask("GetClass", {{"ClassName", test::className(name)},
                                 {"LocalOnly", test::value("false")},
                                 {"IncludeQualifiers", test::value("false")}});
}

TEST(MofClasses, PropertiesOfEveryKind) {
  struct Case {
    const char* mof;
    const char* xml;
  };
  for (const Case& c :
       {Case{"boolean x;", "<PROPERTY NAME=\"x\" TYPE=\"boolean\"></PROPERTY>"},
        {"STRING x = \"a\" \"b\";",
         "<PROPERTY NAME=\"x\" TYPE=\"string\"><VALUE>ab</VALUE></PROPERTY>"},
        {"uInt8 x = 0x1F;", "<PROPERTY NAME=\"x\" TYPE=\"uint8\"><VALUE>31</VALUE></PROPERTY>"},
        {"sint8 x = -0x10;", "<PROPERTY NAME=\"x\" TYPE=\"sint8\"><VALUE>-16</VALUE></PROPERTY>"},
        {"uint16 x = 017;", "<PROPERTY NAME=\"x\" TYPE=\"uint16\"><VALUE>15</VALUE></PROPERTY>"},
        {"sint16 x = +5;", "<PROPERTY NAME=\"x\" TYPE=\"sint16\"><VALUE>5</VALUE></PROPERTY>"},
        {"uint32 x = 11b;", "<PROPERTY NAME=\"x\" TYPE=\"uint32\"><VALUE>3</VALUE></PROPERTY>"},
        {"sint32 x = -11B;", "<PROPERTY NAME=\"x\" TYPE=\"sint32\"><VALUE>-3</VALUE></PROPERTY>"},
        {"uint64 x = 0;", "<PROPERTY NAME=\"x\" TYPE=\"uint64\"><VALUE>0</VALUE></PROPERTY>"},
        {"sint64 x = NULL;", "<PROPERTY NAME=\"x\" TYPE=\"sint64\"></PROPERTY>"},
        {"real32 x = -.5;", "<PROPERTY NAME=\"x\" TYPE=\"real32\"><VALUE>-0.5</VALUE></PROPERTY>"},
        {"real64 x = 1.25E1;",
         "<PROPERTY NAME=\"x\" TYPE=\"real64\"><VALUE>12.5</VALUE></PROPERTY>"},
        {"char16 x = '\\x41';", "<PROPERTY NAME=\"x\" TYPE=\"char16\"><VALUE>A</VALUE></PROPERTY>"},
        {"datetime x = \"19990102030405.000000-300\";",
         "<PROPERTY NAME=\"x\" TYPE=\"datetime\"><VALUE>19990102030405.000000-300</VALUE>"
         "</PROPERTY>"},
        {"boolean x[] = {true, FALSE};",
         "<PROPERTY.ARRAY NAME=\"x\" TYPE=\"boolean\"><VALUE.ARRAY><VALUE>true</VALUE>"
         "<VALUE>false</VALUE></VALUE.ARRAY></PROPERTY.ARRAY>"},
        {"string x[ 3 ] = {\"a\"};",
         "<PROPERTY.ARRAY NAME=\"x\" TYPE=\"string\" ARRAYSIZE=\"3\"><VALUE.ARRAY>"
         "<VALUE>a</VALUE></VALUE.ARRAY></PROPERTY.ARRAY>"},
        {"B ref x;", "<PROPERTY.REFERENCE NAME=\"x\" REFERENCECLASS=\"B\"></PROPERTY.REFERENCE>"},
        {"b REF x = \"B.k=\\\"1\\\"\";",
         "<PROPERTY.REFERENCE NAME=\"x\" REFERENCECLASS=\"b\"><VALUE.REFERENCE><INSTANCENAME "
         "CLASSNAME=\"B\"><KEYBINDING NAME=\"k\"><KEYVALUE VALUETYPE=\"string\">1</KEYVALUE>"
         "</KEYBINDING></INSTANCENAME></VALUE.REFERENCE></PROPERTY.REFERENCE>"}}) {
    EXPECT_EQ(classXml(std::string("class A { ") + c.mof + " }; class B { [Key] string k; };", "A"),
              std::string("<CLASS NAME=\"A\">") + c.xml + "</CLASS>")
        << c.mof;
  }
}

TEST(MofClasses, MethodsWithParametersOfEveryKind) {
  const std::string xml = classXml(
      "class A { uint32 Go(boolean a, string b[], uint8 c[4], A ref d, A ref e[], a REF f[2]);"
      "datetime Stop(); STRING Say ( [In] string what ) ; };",
      "A");
  EXPECT_EQ(xml,
            "<CLASS NAME=\"A\"><METHOD NAME=\"Go\" TYPE=\"uint32\">"
            "<PARAMETER NAME=\"a\" TYPE=\"boolean\"></PARAMETER>"
            "<PARAMETER.ARRAY NAME=\"b\" TYPE=\"string\"></PARAMETER.ARRAY>"
            "<PARAMETER.ARRAY NAME=\"c\" TYPE=\"uint8\" ARRAYSIZE=\"4\"></PARAMETER.ARRAY>"
            "<PARAMETER.REFERENCE NAME=\"d\" REFERENCECLASS=\"A\"></PARAMETER.REFERENCE>"
            "<PARAMETER.REFARRAY NAME=\"e\" REFERENCECLASS=\"A\"></PARAMETER.REFARRAY>"
            "<PARAMETER.REFARRAY NAME=\"f\" REFERENCECLASS=\"a\" ARRAYSIZE=\"2\">"
            "</PARAMETER.REFARRAY></METHOD><METHOD NAME=\"Stop\" TYPE=\"datetime\"></METHOD>"
            "<METHOD NAME=\"Say\" TYPE=\"string\"><PARAMETER NAME=\"what\" TYPE=\"string\">"
            "</PARAMETER></METHOD></CLASS>");
}

// Which words are keywords depends on the place.
TEST(MofClasses, NamesMayBeKeywords) {
  for (const char* name : {"class", "Instance", "of", "as", "ref", "qualifier", "scope", "flavor",
                           "true", "null", "any", "string", "uint8", "pragma", "key"}) {
    const std::string n = name;
    EXPECT_EQ(loadError("class A { [Key] string " + n + "; uint8 m" + n + "(string " + n +
                        "); };\ninstance of A { " + n + " = \"1\"; };"),
              "")
        << n;
    EXPECT_EQ(loadError("class B { string " + n + "(); };"), "") << n;
  }
  for (const char* name : {"class", "instance", "of", "ref", "qualifier"}) {
    const std::string n = name;
    EXPECT_EQ(loadError("class " + n + " { [Key] string k; " + n + " ref r; };\nclass D : " + n +
                        " {}; instance of " + n + " as $" + n + " { k = \"1\"; r = $" + n + "; };"),
              "")
        << n;
  }
}

TEST(MofClasses, KeywordsAndNamesHaveNoLetterCase) {
  EXPECT_EQ(loadError("QUALIFIER Q : STRING = NULL, SCOPE(ANY), FLAVOR(RESTRICTED);\n"
                      "[q(\"x\")] CLASS Base { [KEY] String K; base REF R; };\n"
                      "ClAsS Sub : BASE { [OVERRIDE(\"k\")] STRING k = \"1\"; };\n"
                      "INSTANCE OF sub AS $One { R = $ONE; };\n#PRAGMA LOCALE (\"en_US\")"),
            "");
}

TEST(MofClasses, SubclassesMayStandBeforeTheirSuperclass) {
  const std::string xml =
      classXml("class C : B { string c; }; class B : A { string b; }; class A { string a; };", "C");
  EXPECT_EQ(test::attributes(xml, "PROPERTY", "NAME"), "a b c ");
  EXPECT_EQ(test::attributes(xml, "PROPERTY", "PROPAGATED"), "true true ");
}

TEST(MofClasses, KeysAreInheritedAndAbstractIsNot) {
  test::Server server(
      "[Abstract] class A { [Key] string k; [Key] uint8 n; }; class B : A { string x; };"
      "class C : B {}; instance of C { k = \"1\"; n = 2; };");
  EXPECT_EQ(
      test::attributes(server.ask("EnumerateInstanceNames", {{"ClassName", test::className("A")}}),
                       "KEYBINDING", "NAME"),
      "k n ");
}

TEST(MofClasses, AnOverrideHasItsOwnDefaultOrNone) {
  const std::string base = "class A { string x = \"a\"; };";
  const auto value = [&](const std::string& sub) {
    const std::string xml = classXml(base + sub, "B");
    const std::size_t at = xml.find("<VALUE>");
    return at == std::string::npos ? "" : xml.substr(at + 7, xml.find("</VALUE>") - at - 7);
  };
  EXPECT_EQ(value("class B : A {};"), "a");
  EXPECT_EQ(value("class B : A { [Override(\"x\")] string x; };"), "");
  EXPECT_EQ(value("class B : A { string x; };"), "");
  EXPECT_EQ(value("class B : A { [Override(\"x\")] string x = \"b\"; };"), "b");
  EXPECT_EQ(value("class B : A { [Override(\"x\")] string x = NULL; };"), "");
}

TEST(MofClasses, OverrideNamesWhatASuperclassHas) {
  const std::string base = "class A { string x; uint8 m(); }; class M : A {};\n";
  for (const char* good :
       {"class B : A { [Override] string x; };", "class B : A { [Override(\"X\")] string x; };",
        "class B : M { [Override(\"A.x\")] string x; };",
        "class B : M { [Override(\"m\")] uint8 M(); };",
        "class B : A { [Override(NULL)] string y; };",
        // Without the qualifier as well.
        "class B : M { string x; uint8 m(); };"}) {
    EXPECT_EQ(loadError(base + good), "") << good;
  }
  struct Case {
    const char* mof;
    const char* message;
  };
  const std::string refused = "error: CIM_ERR_INVALID_PARAMETER: ";
  for (const Case& c : {Case{"class B : A {\n [Override(\"y\")] string y; };",
                             "3:25: *property y of class B overrides y, which no superclass has"},
                        {"class B : A {\n [Override(\"x\")] string y; };",
                         "3:25: *property y of class B overrides x, which has another name"},
                        {"class B : A {\n [Override(\"y\")] string x; };",
                         "3:25: *property x of class B overrides y, which has another name"},
                        {"class B {\n [Override(\"x\")] string x; };",
                         "3:25: *property x of class B overrides x, which no superclass has"},
                        {"class B : A {\n [Override(\"n\")] uint8 n(); };",
                         "3:24: *method n of class B overrides n, which no superclass has"},
                        {"class B : A {\n [Override(\"x\")] uint8 x(); };",
                         "3:24: *method x of class B overrides x, which no superclass has"}}) {
    std::string expected = std::string("test.mof:") + c.message;
    expected.replace(expected.find('*'), 1, refused);
    EXPECT_EQ(loadError(base + c.mof), expected) << c.mof;
  }
}

TEST(MofClasses, WrongFeaturesAreRefusedWhereTheyStand) {
  struct Case {
    const char* mof;
    const char* message;
  };
  const std::string model = "error: CIM_ERR_INVALID_PARAMETER: ";
  const std::string base =
      "class A { [Key] string k; string x; uint8 m(); A ref r; };\nclass Z { string z; };\n";
  for (const Case& c :
       {Case{"class B {\n string y;\n uint8 Y; };",
             "5:8: *property Y of class B is declared twice"},
        {"class B {\n string f();\n uint8 F(); };", "5:8: *method F of class B is declared twice"},
        {"class B : A {\n uint8 x; };",
         "4:8: *property x of class B has another type than in class A"},
        {"class B : A {\n string x[]; };",
         "4:9: *property x of class B has another type than in class A"},
        {"class B : A {\n A ref x; };",
         "4:8: *property x of class B has another type than in class A"},
        {"class B : A {\n string m(); };",
         "4:9: *method m of class B returns another type than in class A"},
        {"class B {\n [Key] string k[]; };", "4:15: *key property k of class B is an array"},
        {"class B {\n uint8 f(string p, uint8 P); };", "4:26: error: parameter P is there already"},
        {"class B {\n A ref rs[]; };", "4:8: error: a property cannot be an array of references"},
        {"class B {\n A ref rs[2]; };", "4:8: error: a property cannot be an array of references"},
        {"class B {\n A ref f(); };", "4:8: error: a method cannot return a reference"},
        {"class B {\n uint8 f[](); };", "4:11: error: expected ';', found '('"},
        {"class B {\n uint8 f(string p = \"x\"); };", "4:19: error: expected ')', found '='"},
        {"class B {\n string y[2] = {\"a\", \"b\", \"c\"}; };",
         "4:16: error: expected at most 2 values, found 3"},
        {"class B {\n string y[] = \"a\"; };",
         "4:15: error: expected values in braces, found a single value"},
        {"class B {\n string y = {\"a\"}; };",
         "4:13: error: expected a single value, found values in braces"},
        {"class B {\n string y[-1]; };", "4:11: error: expected the size of an array, found '-1'"},
        {"class B {\n string y[4294967296]; };",
         "4:11: error: expected the size of an array, found '4294967296'"},
        {"class B {\n string y[1.5]; };", "4:11: error: expected ']', found '1.5'"},
        {"class B {\n real32 y = 1.0e-400; };",
         "4:13: error: the number 1.0e-400 is too large or too small"},
        {"class B {\n datetime y = \"20261301000000.000000+000\"; };",
         "4:15: error: expected a datetime such as \"20261121093000.000000+060\""},
        {"class B : A {\n Z ref r; };",
         "4:8: error: r refers to class Z, which is not below class A"},
        {"class B : C {};", "3:7: error: CIM_ERR_INVALID_SUPERCLASS: C"},
        {"class C : B {};\nclass B : D {};\nclass D : C {};",
         "3:7: error: class C is its own superclass in the end"}}) {
    std::string expected = std::string("test.mof:") + c.message;
    if (const std::size_t at = expected.find('*'); at != std::string::npos) {
      expected.replace(at, 1, model);
    }
    EXPECT_EQ(loadError(base + c.mof), expected) << c.mof;
  }
}

TEST(MofClasses, EachClassThatIsReferredToAndNotDeclaredGivesOneWarning) {
  const test::TemporaryFolder folder;
  const auto file = folder.write("test.mof",
                                 "class A { [Key] string k; C ref x; c ref again; };\n"
                                 "class B : A { A ref known;\n uint8 f(D ref y); };\n"
                                 "class E : A { B ref x; };\n"
                                 "instance of B { k = \"1\"; x = \"A.k=\\\"1\\\"\"; };");
  Repository repository;
  const std::string name = file.string();
  EXPECT_EQ(mof::loadMof({file}, repository),
            (std::vector<std::string>{
                name + ":1:33: warning: x refers to class C, which is not declared",
                name + ":3:16: warning: y refers to class D, which is not declared"}));
}

TEST(MofClasses, ReferencesMayNarrowAndMayPointToWhatComesLater) {
  EXPECT_EQ(loadError("[Association] class L { C ref x; D ref y; uint8 m(D ref z); };\n"
                      "[Association] class M : L { D ref x; c ref X2; };\n"
                      "class D : C {}; class C { [Key] string k; };"),
            "");
}

}  // namespace
}  // namespace cimd
