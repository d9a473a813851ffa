// Qualifiers from MOF: how they are declared, used, and passed on to subclasses.
#include <gtest/gtest.h>
#include "operations/schema_operations.h"

#include "support.h"

namespace cimd {
namespace {

using test::loadError;

// The XML of the declaration of Q, without its name.
std::string declared(const std::string& mof) {
  Repository repository;
  test::loadText(repository, mof);
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
  test::loadText(repository, mof);
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
  struct Case {
    const char* mof;
    const char* message;
  };
  for (const Case& c :
       {Case{"boolean, Scope(nothing);",
             "1:11: error: expected a scope such as property, found nothing"},
        {"boolean, Scope(any), Flavor(sour);",
         "1:11: error: expected a flavor such as ToSubclass, found sour"},
        {"boolean, Scope(any), Flavor(EnableOverride, DisableOverride);",
         "1:11: error: flavor DisableOverride contradicts the one before it"},
        {"boolean, Scope(any), Flavor(Restricted, ToSubclass);",
         "1:11: error: flavor ToSubclass contradicts the one before it"},
        {"A ref, Scope(any);", "1:11: error: a qualifier cannot be a reference"},
        {"uint8 = 256, Scope(any);", "1:23: error: the number does not fit in uint8"},
        {"uint8[1] = {1, 2}, Scope(any);", "1:26: error: expected at most 1 values, found 2"}}) {
    EXPECT_EQ(loadError(std::string("Qualifier Q : ") + c.mof),
              std::string("test.mof:") + c.message)
        << c.mof;
  }
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
  struct Case {
    const char* mof;
    const char* message;
  };
  const std::string declarations =
      "Qualifier C : string, Scope(class); Qualifier P : uint8, Scope(property);\n";
  for (const Case& c :
       {Case{"[C(\"a\"), c(\"b\")] class A {};", "2:10: error: duplicate qualifier c"},
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
        {"class A { [Abstract] string x; };",
         "2:12: error: qualifier Abstract is not allowed here"},
        {"[Override(\"B\")] class A {};", "2:2: error: qualifier Override is not allowed here"},
        {"[Abstract(\"yes\")] class A {};",
         "2:11: error: expected a value of type boolean, found a string"}}) {
    EXPECT_EQ(loadError(declarations + c.mof), std::string("test.mof:") + c.message) << c.mof;
  }
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
  test::loadText(repository, std::string(inheritedQualifiers) + R"(
[Free("own"), Fixed("f")] class B : A {
  [Free("own")] string x;
  [Free("own")] string m([Free("own")] string P);
};)");
  const Class& cls = repository.nameSpace(defaultNameSpace).classNamed("B");
  for (const Qualifiers& qualifiers :
       {cls.qualifiers(), cls.property(0).qualifiers, cls.methods().at(0)->qualifiers,
        cls.methods().at(0)->parameters.at(0).qualifiers}) {
    ASSERT_EQ(qualifiers.size(), 2U);
    EXPECT_EQ(findQualifier(qualifiers, "free")->value.toString(), Pegasus::String("own"));
    EXPECT_EQ(findQualifier(qualifiers, "Fixed")->value.toString(), Pegasus::String("f"));
    EXPECT_EQ(findQualifier(qualifiers, "Here"), nullptr);
  }
  EXPECT_FALSE(cls.qualifiers()[1].isPropagated);
  EXPECT_TRUE(cls.property(0).qualifiers[1].isPropagated);
}

TEST(MofQualifiers, FixedQualifiersCannotChange) {
  const std::string refused = " cannot have another value than in the superclass";
  const std::string mof = inheritedQualifiers;
  EXPECT_EQ(
      loadError(mof + "[Fixed(\"g\")] class B : A {};"),
      "test.mof:9:20: error: CIM_ERR_INVALID_PARAMETER: qualifier Fixed of class B" + refused);
  EXPECT_EQ(loadError(mof + "class B : A { [Fixed(\"g\")] string x; };"),
            "test.mof:9:35: error: CIM_ERR_INVALID_PARAMETER: qualifier Fixed of property x of "
            "class B" +
                refused);
  EXPECT_EQ(loadError(mof + "class B : A { [Fixed(\"g\")] string m([Fixed(\"f\")] string p); };"),
            "test.mof:9:35: error: CIM_ERR_INVALID_PARAMETER: qualifier Fixed of method m of "
            "class B" +
                refused);
  EXPECT_EQ(loadError(mof + "class B : A { string m([Fixed(\"g\")] string p); };"),
            "test.mof:9:22: error: CIM_ERR_INVALID_PARAMETER: qualifier Fixed of parameter p of "
            "method m of class B" +
                refused);
}

}  // namespace
}  // namespace cimd
