// Classes from MOF: their features, what they inherit, and what is refused where.
#include <gtest/gtest.h>
#include "mof/loader.h"

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

TEST(MofSchema, PropertiesKeepTypeSizeClassAndDefault) {
  EXPECT_EQ(classXml("class A { uInt8 n = 0x1F; string s[3] = {\"a\"}; b REF r = \"B.k=1\"; "
                     "boolean none = NULL; }; class B { [Key] uint8 k; };",
                     "A"),
            "<CLASS NAME=\"A\"><PROPERTY NAME=\"n\" TYPE=\"uint8\"><VALUE>31</VALUE></PROPERTY>"
            "<PROPERTY.ARRAY NAME=\"s\" TYPE=\"string\" ARRAYSIZE=\"3\"><VALUE.ARRAY>"
            "<VALUE>a</VALUE></VALUE.ARRAY></PROPERTY.ARRAY>"
            "<PROPERTY.REFERENCE NAME=\"r\" REFERENCECLASS=\"b\"><VALUE.REFERENCE><INSTANCENAME "
            "CLASSNAME=\"B\"><KEYBINDING NAME=\"k\"><KEYVALUE VALUETYPE=\"numeric\">1</KEYVALUE>"
            "</KEYBINDING></INSTANCENAME></VALUE.REFERENCE></PROPERTY.REFERENCE>"
            "<PROPERTY NAME=\"none\" TYPE=\"boolean\"></PROPERTY></CLASS>");
}

TEST(MofSchema, MethodsKeepTheTypesOfTheirParameters) {
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
TEST(MofSchema, NamesMayBeKeywords) {
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

TEST(MofSchema, LetterCaseOfKeywordsAndNamesIsIgnored) {
  EXPECT_EQ(loadError("QUALIFIER Q : STRING = NULL, SCOPE(ANY), FLAVOR(RESTRICTED);\n"
                      "[q(\"x\")] CLASS Base { [KEY] String K; base REF R; };\n"
                      "ClAsS Sub : BASE { [OVERRIDE(\"k\")] STRING k = \"1\"; };\n"
                      "INSTANCE OF sub AS $One { R = $ONE; };\n#PRAGMA LOCALE (\"en_US\")"),
            "");
}

TEST(MofSchema, SubclassesMayComeBeforeTheirSuperclass) {
  const std::string xml =
      classXml("class C : B { string c; }; class B : A { string b; }; class A { string a; };", "C");
  EXPECT_EQ(test::attributes(xml, "PROPERTY", "NAME"), "a b c ");
  EXPECT_EQ(test::attributes(xml, "PROPERTY", "PROPAGATED"), "true true ");
}

TEST(MofSchema, KeysAreInheritedAndAbstractIsNot) {
  test::Server server(
      "[Abstract] class A { [Key] string k; [Key] uint8 n; }; class B : A { string x; };"
      "class C : B {}; instance of C { k = \"1\"; n = 2; };");
  EXPECT_EQ(
      test::attributes(server.ask("EnumerateInstanceNames", {{"ClassName", test::className("A")}}),
                       "KEYBINDING", "NAME"),
      "k n ");
}

TEST(MofSchema, AnOverrideHasItsOwnDefaultOrNone) {
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

TEST(MofSchema, OverrideMustNameAFeatureOfASuperclass) {
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

TEST(MofSchema, WrongDeclarationsAreRefusedAtTheirPosition) {
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
        {"class B : A {\n string m(); };",
         "4:9: *method m of class B returns another type than in class A"},
        {"class B {\n [Key] string k[]; };", "4:15: *key property k of class B is an array"},
        {"class B {\n uint8 f(string p, uint8 P); };", "4:26: error: duplicate parameter P"},
        {"class B {\n A ref rs[]; };", "4:8: error: a property cannot be an array of references"},
        {"class B {\n A ref f(); };", "4:8: error: a method cannot return a reference"},
        {"class B {\n string y[2] = {\"a\", \"b\", \"c\"}; };",
         "4:16: error: expected at most 2 values, found 3"},
        {"class B : A {\n Z ref r; };",
         "4:8: error: r refers to class Z, which is not a subclass of A"},
        {"class B {\n A ref y = $i; };", "4:12: error: a class cannot refer to the instance $i"},
        {"class B : C {};", "3:7: error: CIM_ERR_INVALID_SUPERCLASS: C"},
        {"class C : C {};", "3:7: error: class C is its own superclass"},
        {"class C {};\nclass c {};", "4:7: error: class c is already declared at test.mof:3"},
        {"class C : B {};\nclass B : D {};\nclass D : C {};",
         "3:7: error: class C is its own superclass"}}) {
    std::string expected = std::string("test.mof:") + c.message;
    if (const std::size_t at = expected.find('*'); at != std::string::npos) {
      expected.replace(at, 1, model);
    }
    EXPECT_EQ(loadError(base + c.mof), expected) << c.mof;
  }
}

TEST(MofSchema, EachClassThatIsReferredToAndNotDeclaredGivesOneWarning) {
  const test::TemporaryDirectory directory;
  const auto file = directory.write("test.mof",
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

TEST(MofSchema, ReferencesMayNarrowAndPointToLaterClasses) {
  EXPECT_EQ(loadError("[Association] class L { C ref x; D ref y; uint8 m(D ref z); };\n"
                      "[Association] class M : L { D ref x; c ref X2; };\n"
                      "class D : C {}; class C { [Key] string k; };"),
            "");
}

// Its instances could be created and not be read.
TEST(MofSchema, AClassThatClientsWouldRefuseIsRefused) {
  const auto declaring = [](int count, const std::string& qualifiers) {
    std::string mof = "class A {";
    for (int i = 0; i < count; ++i) {
      mof += qualifiers + " string p" + std::to_string(i) + ";";
    }
    return loadError(mof + "};");
  };
  EXPECT_EQ(declaring(100, "[Key]"), "");
  EXPECT_NE(declaring(101, "[Key]").find("more keys than clients read"), std::string::npos);
  EXPECT_EQ(declaring(1000, ""), "");
  EXPECT_NE(declaring(1001, "").find("more properties than clients read"), std::string::npos);
}

}  // namespace
}  // namespace cimd
