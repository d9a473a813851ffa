// Classes and qualifiers from MOF: their features, what they inherit, and what is refused where.
#include "mof/loader.h"
#include "operations/operations.h"

#include "support.h"

namespace cimd::test {
namespace {

// The class as a client gets it.
std::string classXml(const std::string& mof, const std::string& name) {
  Server server(mof);
  return server.ask("GetClass", {{"ClassName", className(name)},
                                 {"LocalOnly", value("false")},
                                 {"IncludeQualifiers", value("false")}});
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

// A word is a keyword in some places only.
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
                      "ClAsS Sub AS $s : BASE { [OVERRIDE(\"k\")] STRING k = \"1\"; };\n"
                      "INSTANCE OF sub AS $One { R = $ONE; };\n#PRAGMA LOCALE (\"en_US\")"),
            "");
}

TEST(MofSchema, SubclassesMayComeBeforeTheirSuperclass) {
  const std::string xml =
      classXml("class C : B { string c; }; class B : A { string b; }; class A { string a; };", "C");
  EXPECT_EQ(attributes(xml, "PROPERTY", "NAME"), "a b c ");
  EXPECT_EQ(attributes(xml, "PROPERTY", "PROPAGATED"), "true true ");
}

TEST(MofSchema, KeysAreInheritedAndAbstractIsNot) {
  Server server(
      "[Abstract] class A { [Key] string k; [Key] uint8 n; }; class B : A { string x; };"
      "class C : B {}; instance of C { k = \"1\"; n = 2; };");
  EXPECT_EQ(attributes(server.ask("EnumerateInstanceNames", {{"ClassName", className("A")}}),
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
  expectErrors(base, {{"class B : A {\n [Override(\"y\")] string y; };",
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
                       "3:24: *method x of class B overrides x, which no superclass has"}});
}

TEST(MofSchema, WrongDeclarationsAreRefusedAtTheirPosition) {
  expectErrors(
      "class A { [Key] string k; string x; uint8 m(); A ref r; };\nclass Z { string z; };\n",
      {{"class B {\n string y;\n uint8 Y; };", "5:8: *property Y of class B is declared twice"},
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
        "3:7: error: class C is its own superclass"}});
}

TEST(MofSchema, EachClassThatIsReferredToAndNotDeclaredGivesOneWarning) {
  const TemporaryDirectory directory;
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

// The XML of the declaration of Q, without its name.
std::string declared(const std::string& mof) {
  Repository repository;
  loadText(repository, mof);
  std::string xml;
  appendQualifierDeclaration(xml,
                             *repository.nameSpace(defaultNameSpace).schema().findQualifier("Q"));
  const std::string begin = "<QUALIFIER.DECLARATION NAME=\"Q\"";
  EXPECT_TRUE(xml.starts_with(begin));
  return xml.substr(begin.size() + 1, xml.find("</QUALIFIER.D") - begin.size() - 1);
}

// Type, value and flavors of the only qualifier of class A.
std::string used(const std::string& mof) {
  Repository repository;
  loadText(repository, mof);
  const auto& qualifiers = repository.nameSpace(defaultNameSpace).classNamed("A").qualifiers();
  EXPECT_EQ(qualifiers.size(), 1U) << mof;
  const Qualifier& qualifier = *qualifiers.at(0).qualifier;
  return std::string(Pegasus::cimTypeToString(qualifier.value.getType())) +
         (qualifier.value.isArray() ? "[] " : " ") +
         (qualifier.value.isNull() ? "null" : qualifier.value.toString().toUtf8()) +
         (qualifier.flavors.isOverridable ? "" : " DisableOverride") +
         (qualifier.flavors.isForSubclasses ? "" : " Restricted") +
         (qualifier.flavors.isTranslatable ? " Translatable" : "");
}

TEST(MofQualifiers, ADeclarationHasTypeSizeDefaultScopesAndFlavors) {
  struct Case {
    const char* rest;
    const char* xml;
  };
  for (const Case& c :
       {Case{"boolean, Scope(any)",
             "TYPE=\"boolean\" ISARRAY=\"false\"><SCOPE CLASS=\"true\" ASSOCIATION=\"true\" "
             "REFERENCE=\"true\" PROPERTY=\"true\" METHOD=\"true\" PARAMETER=\"true\" "
             "INDICATION=\"true\"/>"},
        {"string = \"a\" \"b\", SCOPE(Class, ASSOCIATION, indication)",
         "TYPE=\"string\" ISARRAY=\"false\"><SCOPE CLASS=\"true\" ASSOCIATION=\"true\" "
         "INDICATION=\"true\"/><VALUE>ab</VALUE>"},
        {"uint8[2] = {1, 2}, scope(reference, method, parameter)",
         "TYPE=\"uint8\" ISARRAY=\"true\" ARRAYSIZE=\"2\"><SCOPE REFERENCE=\"true\" "
         "METHOD=\"true\" PARAMETER=\"true\"/><VALUE.ARRAY><VALUE>1</VALUE><VALUE>2</VALUE>"
         "</VALUE.ARRAY>"},
        {"uint8 = null, Scope(qualifier, schema, property)",
         "TYPE=\"uint8\" ISARRAY=\"false\"><SCOPE PROPERTY=\"true\"/>"},
        {"uint8, Scope(class), Flavor(EnableOverride, ToSubclass, ToInstance)",
         "TYPE=\"uint8\" ISARRAY=\"false\"><SCOPE CLASS=\"true\"/>"},
        {"uint8, Scope(class), FLAVOR(disableoverride, RESTRICTED, Restricted, Translatable)",
         "TYPE=\"uint8\" ISARRAY=\"false\" OVERRIDABLE=\"false\" TOSUBCLASS=\"false\" "
         "TRANSLATABLE=\"true\"><SCOPE CLASS=\"true\"/>"}}) {
    EXPECT_EQ(declared(std::string("Qualifier Q : ") + c.rest + ";"), c.xml) << c.rest;
  }
}

TEST(MofQualifiers, MalformedDeclarationsAreRefused) {
  expectErrors(
      "Qualifier Q : ",
      {{"boolean, Scope(nothing);",
        "1:11: error: expected a scope such as property, found nothing"},
       {"boolean, Scope(any), Flavor(sour);",
        "1:11: error: expected a flavor such as ToSubclass, found sour"},
       {"boolean, Scope(any), Flavor(EnableOverride, DisableOverride);",
        "1:11: error: flavor DisableOverride contradicts the one before it"},
       {"boolean, Scope(any), Flavor(Restricted, ToSubclass);",
        "1:11: error: flavor ToSubclass contradicts the one before it"},
       {"A ref, Scope(any);", "1:11: error: a qualifier cannot be a reference"},
       {"uint8 = 256, Scope(any);", "1:23: error: the number does not fit in uint8"},
       {"uint8[1] = {1, 2}, Scope(any);", "1:26: error: expected at most 1 values, found 2"}});
}

TEST(MofQualifiers, ADeclarationHoldsFromThereOnAndTheFirstOneBeforeItToo) {
  const std::string first = "Qualifier q : uint8 = 3, Scope(class);\n";
  const std::string second = "Qualifier Q : string, Scope(class), Flavor(Restricted);\n";
  EXPECT_EQ(used("[Q] class A {};\n" + first + second), "uint8 3");
  EXPECT_EQ(used(first + "[Q] class A {};\n" + second), "uint8 3");
  EXPECT_EQ(used(first + second + "[Q(\"x\")] class A {};\n"), "string x Restricted");
  EXPECT_EQ(loadError(first + "[Q(\"x\")] class A {};\n" + second),
            "test.mof:2:4: error: expected a value of type uint8, found a string");
  // Another namespace has its own.
  EXPECT_EQ(used(first + "#pragma namespace(\"root/x\")\n" + second +
                 "#pragma namespace(\"root/kvasd\")\n[Q] class A {};\n"),
            "uint8 3");
}

TEST(MofQualifiers, ClientsSeeTheLastDeclaration) {
  EXPECT_EQ(declared("Qualifier Q : boolean, Scope(class);\nQualifier Q : uint8, Scope(class);"),
            "TYPE=\"uint8\" ISARRAY=\"false\"><SCOPE CLASS=\"true\"/>");
}

TEST(MofQualifiers, ValuesHaveTheDeclaredType) {
  struct Case {
    const char* type;
    const char* use;
    const char* value;
  };
  for (const Case& c : {Case{"boolean", "", "boolean TRUE"},
                        {"boolean", "(false)", "boolean FALSE"},
                        {"boolean", "(null)", "boolean null"},
                        {"string = \"dflt\"", "", "string dflt"},
                        {"string", "", "string null"},
                        {"string[]", "{\"a\", \"b\"}", "string[] a b "},
                        {"string[]", "({\"a\"})", "string[] a "},
                        {"uint8", "(7)", "uint8 7"}}) {
    EXPECT_EQ(used(std::string("Qualifier Q : ") + c.type + ", Scope(class);\n[q" + c.use +
                   "] class A {};"),
              c.value)
        << c.type << ' ' << c.use;
  }
}

TEST(MofQualifiers, AnUndeclaredQualifierHasTheTypeOfItsValue) {
  struct Case {
    const char* use;
    const char* value;
  };
  for (const Case& c : {Case{"", "boolean TRUE"},
                        {"(\"a\")", "string a"},
                        {"(5)", "uint64 5"},
                        {"(-5)", "sint64 -5"},
                        {"(1.5)", "real64 1.5000000000000000e+00"},
                        {"('x')", "char16 x"},
                        {"(FALSE)", "boolean FALSE"},
                        {"(NULL)", "string null"},
                        {"{\"a\", \"b\"}", "string[] a b "},
                        {"{}", "string[] "},
                        {"{1, -1}", "sint64[] 1 -1 "},
                        {"{NULL, 1}", "uint64[] 0 1 "}}) {
    EXPECT_EQ(used(std::string("[Site_Own") + c.use + "] class A {};"), c.value) << c.use;
  }
}

TEST(MofQualifiers, FlavorsAtTheUseAddToThoseOfTheDeclaration) {
  const std::string q = "Qualifier Q : boolean, Scope(any), Flavor(DisableOverride, Translatable);";
  EXPECT_EQ(used(q + "[Q] class A {};"), "boolean TRUE DisableOverride Translatable");
  EXPECT_EQ(used(q + "[Q : EnableOverride Restricted] class A {};"),
            "boolean TRUE Restricted Translatable");
  EXPECT_EQ(used(q + "[Q(false):RESTRICTED] class A {};"),
            "boolean FALSE DisableOverride Restricted Translatable");
  EXPECT_EQ(used("[Own : DisableOverride ToInstance] class A {};"), "boolean TRUE DisableOverride");
}

TEST(MofQualifiers, WrongUsesAreRefusedAtTheirPosition) {
  expectErrors(
      "Qualifier C : string, Scope(class); Qualifier P : uint8, Scope(property);\n",
      {{"[C(\"a\"), c(\"b\")] class A {};", "2:10: error: duplicate qualifier c"},
       {"[Own, own] class A {};", "2:7: error: duplicate qualifier own"},
       {"[C(1)] class A {};", "2:4: error: expected a value of type string, found an integer"},
       {"[P(1)] class A {};", "2:2: error: qualifier P is not allowed here"},
       {"class A { [C(\"a\")] string x; };", "2:12: error: qualifier C is not allowed here"},
       {"class A { [P(1)] string m(); };", "2:12: error: qualifier P is not allowed here"},
       {"class A { string m([P(1)] string x); };", "2:21: error: qualifier P is not allowed here"},
       {"class A { [P(1):sour] string x; };",
        "2:12: error: expected a flavor such as ToSubclass, found sour"},
       {"class A { [P(1):ToSubclass Restricted] string x; };",
        "2:12: error: flavor Restricted contradicts the one before it"},
       // The qualifiers that change what the server does are known without declaration.
       {"[Key] class A {};", "2:2: error: qualifier Key is not allowed here"},
       {"class A { [Key] string m(); };", "2:12: error: qualifier Key is not allowed here"},
       {"class A { [Abstract] string x; };", "2:12: error: qualifier Abstract is not allowed here"},
       {"[Override(\"B\")] class A {};", "2:2: error: qualifier Override is not allowed here"},
       {"[Abstract(\"yes\")] class A {};",
        "2:11: error: expected a value of type boolean, found a string"}});
}

TEST(MofQualifiers, EachScopeAllowsItsElements) {
  struct Case {
    const char* scope;
    const char* mof;
  };
  const std::string other = "class B { [Key] string k; };";
  for (const Case& c :
       {Case{"class", "[Q] class A {};"},
        {"class", "[Association, Q] class A { B ref x; B ref y; };"},
        {"association", "[Association, Q] class A { B ref x; B ref y; };"},
        {"association", "[Association] class A { B ref x; B ref y; }; [Q] class D : A {};"},
        {"indication", "[Indication, Q] class A {};"},
        {"property", "class A { [Q] string x; };"},
        {"property", "class A { [Q] B ref x; };"},
        {"reference", "class A { [Q] B ref x; };"},
        {"method", "class A { [Q] uint8 m(); };"},
        {"parameter", "class A { uint8 m([Q] string x); };"},
        {"parameter", "class A { uint8 m([Q] B ref x); };"},
        {"reference", "class A { uint8 m([Q] B ref x); };"}}) {
    EXPECT_EQ(
        loadError("Qualifier Q : boolean, Scope(" + std::string(c.scope) + ");" + other + c.mof),
        "")
        << c.scope << ' ' << c.mof;
  }
  EXPECT_NE(loadError("Qualifier Q : boolean, Scope(association); [Q] class A {};"), "");
  EXPECT_NE(loadError("Qualifier Q : boolean, Scope(reference); class A { [Q] string x; };"), "");
}

constexpr const char* inheritedQualifiers = R"(
Qualifier Fixed : string, Scope(any), Flavor(DisableOverride);
Qualifier Free : string, Scope(any);
Qualifier Here : string, Scope(any), Flavor(Restricted);
[Fixed("f"), Free("o"), Here("h")] class A {
  [Fixed("f"), Free("o"), Here("h")] string x;
  [Fixed("f"), Free("o"), Here("h")] string m([Fixed("f"), Free("o"), Here("h")] string p);
};
)";

TEST(MofQualifiers, SubclassesInheritUnlessRestrictedAndMayChangeUnlessFixed) {
  Repository repository;
  loadText(repository, std::string(inheritedQualifiers) + R"(
[Free("own"), Fixed("f")] class B : A {
  [Free("own")] string x;
  [Free("own")] string m([Free("own")] string P);
};)");
  const Class& cls = repository.nameSpace(defaultNameSpace).classNamed("B");
  for (const Qualifiers& qualifiers :
       {cls.qualifiers(), cls.property(0).qualifiers, cls.methods().at(0)->qualifiers,
        cls.methods().at(0)->parameters.at(0).qualifiers}) {
    ASSERT_EQ(qualifiers.size(), 2U);
    EXPECT_EQ(findQualifier(qualifiers, "free")->value.toString(), String("own"));
    EXPECT_EQ(findQualifier(qualifiers, "Fixed")->value.toString(), String("f"));
    EXPECT_EQ(findQualifier(qualifiers, "Here"), nullptr);
  }
  EXPECT_FALSE(cls.qualifiers()[1].isPropagated);
  EXPECT_TRUE(cls.property(0).qualifiers[1].isPropagated);
}

TEST(MofQualifiers, FixedQualifiersCannotChange) {
  const std::string where = " cannot have another value than in the superclass";
  expectErrors(inheritedQualifiers,
               {{"[Fixed(\"g\")] class B : A {};", "9:20: *qualifier Fixed of class B" + where},
                {"class B : A { [Fixed(\"g\")] string x; };",
                 "9:35: *qualifier Fixed of property x of class B" + where},
                {"class B : A { [Fixed(\"g\")] string m([Fixed(\"f\")] string p); };",
                 "9:35: *qualifier Fixed of method m of class B" + where},
                {"class B : A { string m([Fixed(\"g\")] string p); };",
                 "9:22: *qualifier Fixed of parameter p of method m of class B" + where}});
}

}  // namespace
}  // namespace cimd::test
