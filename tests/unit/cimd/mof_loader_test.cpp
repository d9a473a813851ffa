#include "mof/mof_loader.h"
#include <gtest/gtest.h>
#include "model/class.h"

#include "support.h"

namespace cimd {
namespace {

using Pegasus::CIMInstance;
using Pegasus::String;
using test::loadError;

// What the only instance of the class has in this property.
std::string valueOf(const std::string& mof, const char* className, const char* property) {
  Repository repository;
  test::loadText(repository, mof);
  NameSpace& nameSpace = repository.nameSpace(defaultNameSpace);
  const auto instances = nameSpace.instances(nameSpace.classNamed(className));
  EXPECT_EQ(instances.size(), 1U);
  const CIMInstance& instance = instances.at(0)->instance;
  return instance.getProperty(instance.findProperty(property)).getValue().toString().toUtf8();
}

TEST(MofLoader, ValuesOfEveryType) {
  struct Case {
    const char* type;
    const char* value;
    const char* text;
  };
  for (const Case& c : {Case{"boolean", "TRUE", "TRUE"},
                        {"uint8", "255", "255"},
                        {"sint8", "-128", "-128"},
                        {"uint16", "0xFFFF", "65535"},
                        {"sint16", "-32768", "-32768"},
                        {"uint32", "4294967295", "4294967295"},
                        {"sint32", "-2147483648", "-2147483648"},
                        {"uint64", "18446744073709551615", "18446744073709551615"},
                        {"sint64", "-9223372036854775808", "-9223372036854775808"},
                        {"real32", "1.5", "1.5"},
                        {"real64", "-3", "-3"},
                        {"char16", "'x'", "x"},
                        {"char16", "65", "A"},
                        {"string", "\"a\" \"b\"", "ab"},
                        {"datetime", "\"20261121093000.000000+060\"", "20261121093000.000000+060"},
                        {"uint8", "NULL", ""},
                        {"uint8 x[], uint8", "{1, NULL, 3}", "{1, 0, 3}"},
                        {"string x[], string", "{}", "{}"}}) {
    const std::string type = c.type;
    const bool isArray = type.find(',') != std::string::npos;
    const std::string name = isArray ? "v[]" : "v";
    const std::string bare = isArray ? type.substr(type.rfind(' ') + 1) : type;
    EXPECT_EQ(valueOf("class A { [Key] string k; " + bare + " " + name +
                          "; }; instance of A { k = \"1\"; v = " + c.value + "; };",
                      "A", "v"),
              c.text)
        << c.type << ' ' << c.value;
  }
}

TEST(MofLoader, ValuesThatDoNotFitAreRefusedWhereTheyStand) {
  struct Case {
    const char* type;
    const char* value;
    const char* message;
  };
  for (const Case& c :
       {Case{"uint8 v", "256", "the number does not fit in uint8"},
        {"uint8 v", "-1", "the number does not fit in uint8"},
        {"sint8 v", "128", "the number does not fit in sint8"},
        {"sint8 v", "-129", "the number does not fit in sint8"},
        {"sint64 v", "9223372036854775808", "the number does not fit in sint64"},
        {"char16 v", "65536", "the number does not fit in char16"},
        {"real32 v", "1.0e39", "the number does not fit in real32"},
        {"uint8 v", "1.0", "expected a value of type uint8, found a real number"},
        {"uint8 v", "\"1\"", "expected a value of type uint8, found a string"},
        {"string v", "1", "expected a value of type string, found an integer"},
        {"string v", "'a'", "expected a value of type string, found a character"},
        {"boolean v", "1", "expected a value of type boolean, found an integer"},
        {"string v", "$x", "expected a value of type string, found an alias"},
        {"A ref v", "TRUE", "expected a value of type reference, found a boolean"},
        {"string v", "{\"a\"}", "expected a single value, found values in braces"},
        {"string v[]", "\"a\"", "expected values in braces, found a single value"},
        {"datetime v", "\"today\"", "expected a datetime such as \"20261121093000.000000+060\""},
        {"A ref v", "\"no path!\"", "expected an object path such as Class.key=\"text\""},
        {"string v", "\"\\b\"",
         "the text has a character that cannot be sent in CIM-XML (number 8)"},
        {"string v", "\"\\xD800\"",
         "the text has a character that cannot be sent in CIM-XML (number 55296)"},
        {"A ref v", "\"A.k=\\\"\\x19\\\"\"",
         "the text has a character that cannot be sent in CIM-XML (number 25)"},
        {"char16 v", "'\\x19'",
         "the text has a character that cannot be sent in CIM-XML (number 25)"},
        {"char16 v", "25",
         "the text has a character that cannot be sent in CIM-XML (number 25)"}}) {
    EXPECT_EQ(loadError(std::string("class A { [Key] string k; ") + c.type +
                        "; };\ninstance of A { k = \"1\"; v = " + c.value + "; };"),
              std::string("test.mof:2:30: error: ") + c.message)
        << c.type << ' ' << c.value;
  }
}

TEST(MofLoader, ClassesMayStandAfterWhatNeedsThem) {
  Repository repository;
  test::loadText(repository,
                 "instance of C { K = \"1\"; };\nclass c : B {};\nclass B : a { string b; };\n"
                 "class A { [key] string k; };");
  NameSpace& nameSpace = repository.nameSpace(defaultNameSpace);
  const Class& cls = nameSpace.classNamed("C");
  ASSERT_EQ(cls.propertyCount(), 2U);
  EXPECT_EQ(cls.property(0).name, String("k"));
  EXPECT_EQ(cls.superclass()->superclass()->name(), String("A"));
  EXPECT_EQ(nameSpace.instances(nameSpace.classNamed("A")).size(), 1U);
}

TEST(MofLoader, WrongDeclarationsAreRefused) {
  struct Case {
    const char* mof;
    const char* message;
  };
  for (
      const Case& c : {
          Case{"class A : B {};", "1:7: error: CIM_ERR_INVALID_SUPERCLASS: B"},
          {"class A : A {};", "1:7: error: class A is its own superclass in the end"},
          {"class A : B {};\nclass B : A {};",
           "1:7: error: class A is its own superclass in the end"},
          {"class A {};\nclass a {};", "2:7: error: class a is declared already at test.mof:1"},
          {"class A { string x; string X; };",
           "1:28: error: CIM_ERR_INVALID_PARAMETER: property X of class A is declared twice"},
          {"class A { string x; };\nclass B : A { uint8 x; };",
           "2:21: error: CIM_ERR_INVALID_PARAMETER: property x of class B has another type than in "
           "class A"},
          {"class A { string x; };\nclass B : A { string x[]; };",
           "2:22: error: CIM_ERR_INVALID_PARAMETER: property x of class B has another type than in "
           "class A"},
          {"class A { [Key] string x[]; };",
           "1:24: error: CIM_ERR_INVALID_PARAMETER: key property x of class A is an array"},
          {"class A { uint8 x = 256; };", "1:21: error: the number does not fit in uint8"},
          {"class A { A ref x = $i; };", "1:21: error: a class cannot refer to the instance $i"},
          {"class A { [Key(1)] string x; };",
           "1:16: error: expected a value of type boolean, found an integer"},
          {"instance of A {};", "1:13: error: class A is not declared in namespace root/kvasd"},
          {"class A { [Key] string k; };\ninstance of A { k = \"1\"; z = 1; };",
           "2:26: error: class A has no property z"},
          {"class A { [Key] string k; };\ninstance of A { k = \"1\"; K = \"1\"; };",
           "2:26: error: property k has a value already"},
          {"class A { [Key] string k; };\ninstance of A {};",
           "2:13: error: CIM_ERR_INVALID_PARAMETER: key property k of class A has no value"},
          {"[Abstract] class A { [Key] string k; };\ninstance of A { k = \"1\"; };",
           "2:13: error: CIM_ERR_NOT_SUPPORTED: class A is abstract"},
          {"class A { [Key] string k; };\ninstance of A { k = \"1\"; };\n"
           "instance of a { K = \"1\"; };",
           "3:13: error: CIM_ERR_ALREADY_EXISTS: A.k=\"1\""},
          {"class A { [Key] string k; string f[1]; };\n"
           "instance of A { k = \"1\"; f = {\"a\", \"b\"}; };",
           "2:30: error: expected at most 1 values, found 2"},
          {"#pragma namespace(\"\")",
           "1:9: error: expected the name of a namespace on this server, found ''"},
          {"#pragma namespace(\"//host/root/a\")",
           "1:9: error: expected the name of a namespace on this server, found '//host/root/a'"},
          {"#pragma namespace(\"//localhost\")",
           "1:9: error: expected the name of a namespace on this server, found '//localhost'"},
          {"#pragma namespace(\"root/a:b\")",
           "1:9: error: expected the name of a namespace on this server, found 'root/a:b'"},
      }) {
    EXPECT_EQ(loadError(c.mof), std::string("test.mof:") + c.message) << c.mof;
  }
}

TEST(MofLoader, DefaultsFillWhatIsNotGivenAndNullOverridesThem) {
  const std::string cls = "class A { [Key] string k = \"dk\"; string d = \"dflt\"; };";
  EXPECT_EQ(valueOf(cls + "instance of A {};", "A", "d"), "dflt");
  EXPECT_EQ(valueOf(cls + "instance of A {};", "A", "k"), "dk");
  EXPECT_EQ(valueOf(cls + "instance of A { d = NULL; };", "A", "d"), "");
}

TEST(MofLoader, QualifiersNeedNoDeclarationAndMayBeOff) {
  EXPECT_EQ(loadError("[Whatever(5)] class A { [Key(FALSE)] string x; [Key(NULL)] string y; };"
                      "instance of A {};"),
            "");
}

TEST(MofLoader, AliasesGiveObjectPathsInAnyOrder) {
  const std::string classes =
      "class A { [Key] string k; A ref other; };"
      "class L { [Key] A ref from; [Key] L ref to; };";
  EXPECT_EQ(valueOf(classes + "instance of A as $a { k = \"1\"; other = $A; };", "A", "other"),
            "root/kvasd:A.k=\"1\"");
  EXPECT_EQ(valueOf(classes + "instance of L { from = $a; to = \"L.x=1\"; };"
                              "instance of A as $a { k = \"1\"; };",
                    "L", "from"),
            "root/kvasd:A.k=\"1\"");
}

TEST(MofLoader, WrongAliasesAreRefused) {
  const std::string classes = "class A { [Key] string k; A ref r; }; class L { [Key] L ref r; };\n";
  EXPECT_EQ(loadError(classes + "instance of A { k = \"1\"; r = $none; };"),
            "test.mof:2:30: error: no instance has the alias $none");
  EXPECT_EQ(loadError(classes + "instance of A as $x { k = \"1\"; };\n"
                                "instance of A as $X { k = \"2\"; };"),
            "test.mof:3:13: error: the alias $X stands for another instance already");
  EXPECT_EQ(loadError(classes + "instance of L as $x { r = $x; };"),
            "test.mof:2:27: error: keys refer to each other in a circle or too deep");
}

// Two keys that refer to the same instance, level upon level: names of twice the length each time.
TEST(MofLoader, KeysThatGrowWithoutBoundAreRefused) {
  std::string mof = "class A { [Key] A ref x; [Key] A ref y; };\n";
  mof += "instance of A as $a0 { x = \"A.x=1\"; y = \"A.x=2\"; };\n";
  for (int i = 1; i < 30; ++i) {
    const std::string before = std::to_string(i - 1);
    mof += "instance of A as $a" + std::to_string(i) + " { x = $a" + before + "; y = $a" + before +
           "; };\n";
  }
  EXPECT_NE(loadError(mof).find("the name of the instance is too long"), std::string::npos);
}

TEST(MofLoader, ReferencesMayBeWrittenAsPaths) {
  const std::string cls = "class A { [Key] string k; A ref r; };";
  struct Case {
    const char* text;
    const char* path;
  };
  for (const Case& c :
       {Case{R"(A.k=\"x\")", R"(A.k="x")"},
        {R"(root/other:A.k=\"a:b.c=\\\"d\\\"\")", R"(root/other:A.k="a:b.c=\"d\"")"},
        {R"(//host:5988/root/x:A.n=0x10,b=TRUE,m=-5)", R"(//host:5988/root/x:A.n=16,b=TRUE,m=-5)"},
        {R"(A=@)", "A"},
        {R"(A)", "A"}}) {
    EXPECT_EQ(valueOf(cls + "instance of A { k = \"1\"; r = \"" + c.text + "\"; };", "A", "r"),
              c.path);
  }
  for (const char* wrong : {"", "A.", "A.k", "A.k=", "A.k=\\\"x", "A.k=x", "A.k=1,", "A.k=1 ",
                            "//host", "//host/A", ":A", "1A.k=1", "A.k=\\\"a\\\"b", "A.=1",
                            "///root/x:A.k=1", "//host /root/x:A.k=1", "A.k=1,K=2"}) {
    EXPECT_NE(loadError(cls + "instance of A { k = \"1\"; r = \"" + wrong + "\"; };"), "") << wrong;
  }
}

TEST(MofLoader, NamespacePragmaMayNameThisHost) {
  for (const char* host : {"localhost", "127.0.0.1:5988", "[::1]"}) {
    Repository repository;
    test::loadText(repository, "#pragma namespace(\"//" + std::string(host) +
                                   "/root/own\")\nclass A { [Key] string k; };");
    EXPECT_NE(repository.nameSpace("root/own").schema().find("A"), nullptr) << host;
  }
}

TEST(MofLoader, NullElementsOfArraysStayNull) {
  Repository repository;
  test::loadText(repository,
                 "class A { [Key] string k; string d[] = {NULL, \"\"}; uint8 v[]; };"
                 "instance of A { k = \"1\"; v = {1, NULL, 0}; };");
  NameSpace& nameSpace = repository.nameSpace("root/kvasd");
  const StoredInstance& stored = nameSpace.instance(test::path("A", {{"k", "1"}}));
  EXPECT_NE(stored.instanceXml.find("<VALUE.ARRAY><VALUE.NULL/><VALUE></VALUE></VALUE.ARRAY>"),
            std::string::npos);
  EXPECT_NE(stored.instanceXml.find(
                "<VALUE.ARRAY><VALUE>1</VALUE><VALUE.NULL/><VALUE>0</VALUE></VALUE.ARRAY>"),
            std::string::npos);
}

// Its instances could be created and not be read.
TEST(MofLoader, AClassThatClientsWouldRefuseIsRefused) {
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

TEST(MofLoader, NamespacePragmaHoldsForTheRestOfItsFile) {
  const test::TemporaryFolder folder;
  folder.write("sub/inner.mof",
               "#pragma namespace(\"/root/inner/\")\nclass I { [Key] string k; };");
  const auto outer =
      folder.write("outer.mof",
                   "class A { [Key] string k; };\n#pragma NAMESPACE(\"root/outer\")\n"
                   "#pragma include(\"sub/inner.mof\")\nclass O { [Key] string k; };");
  Repository repository;
  mof::loadMof({outer}, repository);
  EXPECT_NE(repository.nameSpace("ROOT/kvasd").schema().find("A"), nullptr);
  EXPECT_NE(repository.nameSpace("root/outer").schema().find("O"), nullptr);
  EXPECT_NE(repository.nameSpace("root/Inner").schema().find("I"), nullptr);
  EXPECT_EQ(repository.nameSpace("root/outer").schema().find("I"), nullptr);
}

TEST(MofLoader, FilesAreOneLoadButAliasesAreTheirOwn) {
  const test::TemporaryFolder folder;
  const auto first = folder.write("1.mof", "instance of A as $a { k = \"1\"; };");
  const auto second = folder.write("2.mof", "instance of A as $a { k = \"2\"; };");
  const auto classes = folder.write("3.mof", "class A { [Key] string k; };");
  Repository repository;
  mof::loadMof({first, second, classes}, repository);
  NameSpace& nameSpace = repository.nameSpace(defaultNameSpace);
  EXPECT_EQ(nameSpace.instances(nameSpace.classNamed("A")).size(), 2U);
}

TEST(MofLoader, BackslashesInTheNameOfAnIncludeSeparateDirectories) {
  const test::TemporaryFolder folder;
  folder.write("new/tools/a.mof", "class A { [Key] string k; };");
  const auto top = folder.write("top.mof",
                                "#pragma include(\"new\\tools\" \"\\a.mof\")\n"
                                "instance of A { k = \"\\x41\"; };");
  Repository repository;
  mof::loadMof({top}, repository);
  EXPECT_NO_THROW(repository.nameSpace(defaultNameSpace).instance(test::path("A", {{"k", "A"}})));
}

TEST(MofLoader, IncludesAreLookedForBesideTheirFileThenTheFirstOneThenInFurtherDirectories) {
  const test::TemporaryFolder folder;
  const auto declare = [&](const char* name, std::initializer_list<const char*> files) {
    for (const char* file : files) {
      folder.write(file, std::string("class ") + name + " {};");
    }
  };
  declare("BesideIt", {"first/sub/1.mof"});
  declare("BesideTheFirst", {"first/2.mof"});
  declare("FromOne", {"one/3.mof"});
  declare("FromTwo", {"two/4.mof"});
  declare("Hidden", {"first/1.mof", "one/1.mof", "one/2.mof", "two/3.mof"});
  folder.write("first/sub/all.mof",
               "#pragma include(\"1.mof\")\n#pragma include(\"2.mof\")\n"
               "#pragma include(\"3.mof\")\n#pragma include(\"4.mof\")");
  const auto first = folder.write("first/first.mof", "#pragma include(\"sub/all.mof\")");
  Repository repository;
  mof::loadMof({first}, repository, {folder.path() / "one", folder.path() / "two"});
  const Schema& schema = repository.nameSpace(defaultNameSpace).schema();
  EXPECT_EQ(schema.size(), 4U);
  for (const char* name : {"BesideIt", "BesideTheFirst", "FromOne", "FromTwo"}) {
    EXPECT_NE(schema.find(name), nullptr) << name;
  }
}

// The file that was meant is there, so no other one is taken for it.
TEST(MofLoader, AnIncludeThatCannotBeOpenedIsNotLookedForElsewhere) {
  const test::TemporaryFolder folder;
  std::filesystem::create_symlink("loop.mof", folder.path() / "loop.mof");
  folder.write("other/loop.mof", "");
  Repository repository;
  EXPECT_THROW(mof::loadMof({folder.write("a.mof", "#pragma include(\"loop.mof\")")}, repository,
                            {folder.path() / "other"}),
               mof::MofError);
}

TEST(MofLoader, FilesThatCannotBeReadAreErrors) {
  EXPECT_EQ(loadError("\n#pragma include(\"none.mof\")"),
            "test.mof:2:9: error: cannot open none.mof: No such file or directory");
  EXPECT_EQ(loadError("#pragma include(\"test.mof\")"),
            "test.mof:1:9: error: test.mof includes itself");
  EXPECT_NE(loadError("#pragma include(\".\")").find("cannot read"), std::string::npos);
}

TEST(MofLoader, ErrorsInIncludedFilesNameThem) {
  const test::TemporaryFolder folder;
  folder.write("b.mof", "class");
  Repository repository;
  try {
    mof::loadMof({folder.write("a.mof", "#pragma include(\"b.mof\")")}, repository);
    FAIL();
  } catch (const mof::MofError& error) {
    EXPECT_NE(std::string(error.what()).find("b.mof:1:6: error: expected the name of a class"),
              std::string::npos);
  }
}

TEST(MofLoader, IncludesAreBoundedInDepth) {
  const test::TemporaryFolder folder;
  for (int i = 0; i < 40; ++i) {
    folder.write(std::to_string(i) + ".mof",
                 "#pragma include(\"" + std::to_string(i + 1) + ".mof\")");
  }
  folder.write("40.mof", "");
  Repository repository;
  EXPECT_THROW(mof::loadMof({folder.path() / "0.mof"}, repository), mof::MofError);
  Repository other;
  EXPECT_NO_THROW(mof::loadMof({folder.path() / "20.mof"}, other));
}

}  // namespace
}  // namespace cimd
