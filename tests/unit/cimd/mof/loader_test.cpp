// Files, pragmas, instances and aliases.
#include "mof/loader.h"
#include <gtest/gtest.h>

#include <algorithm>

#include "requests.h"

namespace cimd {
namespace {

using test::loadError;

// The property of the only instance of the class.
std::string valueOf(const std::string& mof, const char* className, const char* property) {
  Repository repository;
  test::loadText(repository, mof);
  NameSpace& nameSpace = repository.nameSpace(defaultNameSpace);
  const auto instances = nameSpace.instances(nameSpace.classNamed(className));
  EXPECT_EQ(instances.size(), 1U);
  const Pegasus::CIMInstance& instance = instances.at(0)->instance;
  return instance.getProperty(instance.findProperty(property)).getValue().toString().toUtf8();
}

TEST(MofLoader, InstancesMayComeBeforeTheirClass) {
  Repository repository;
  test::loadText(repository,
                 "instance of C { K = \"1\"; };\nclass c : B {};\nclass B : a { string b; };\n"
                 "class A { [key] string k; };");
  NameSpace& nameSpace = repository.nameSpace(defaultNameSpace);
  EXPECT_EQ(nameSpace.instances(nameSpace.classNamed("A")).size(), 1U);
}

TEST(MofLoader, ValuesThatAreNotGivenAreTheDefaults) {
  const std::string cls = "class A { [Key] string k = \"dk\"; string d = \"dflt\"; };";
  EXPECT_EQ(valueOf(cls + "instance of A {};", "A", "d"), "dflt");
  EXPECT_EQ(valueOf(cls + "instance of A {};", "A", "k"), "dk");
  EXPECT_EQ(valueOf(cls + "instance of A { d = NULL; };", "A", "d"), "");
}

TEST(MofLoader, WrongInstancesAreRefusedAtTheirPosition) {
  struct Case {
    const char* mof;
    const char* message;
  };
  const std::string classes =
      "class A { [Key] string k; uint8 n; A ref r; };\n[Abstract] class N : A {};\n";
  for (const Case& c :
       {Case{"instance of A { k = \"1\";\n n = 256; };",
             "4:6: error: the number does not fit in uint8"},
        {"instance of A { k = \"1\";\n m = 1; };", "4:2: error: class A has no property m"},
        {"instance of A { k = \"1\";\n n = 1; N = 2; };",
         "4:9: error: duplicate value of property n"},
        {"instance of A { n = 1; };",
         "3:13: error: CIM_ERR_INVALID_PARAMETER: key property k of class A has no value"},
        {"instance of N { k = \"1\"; };",
         "3:13: error: CIM_ERR_NOT_SUPPORTED: class N is abstract"},
        {"instance of M { k = \"1\"; };",
         "3:13: error: class M is not declared in namespace root/kvasd"},
        {"instance of A { k = \"1\"; };\ninstance of A { k = \"1\"; };",
         "4:13: error: CIM_ERR_ALREADY_EXISTS: A.k=\"1\""},
        {"instance of A { k = \"1\"; r = $b; };", "3:30: error: no instance has the alias $b"}}) {
    EXPECT_EQ(loadError(classes + c.mof), std::string("test.mof:") + c.message) << c.mof;
  }
}

TEST(MofLoader, AliasesStandForInstancesBeforeAndAfter) {
  test::Server server(
      "instance of Link as $l { from = $one; to = $TWO; };\n"
      "[Description(\"ignored\")] instance of Box as $One { [Key] id = 1; };\n"
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

TEST(MofLoader, DuplicateAndCircularAliasesAreRefused) {
  const std::string classes = "class A { [Key] string k; A ref r; }; class L { [Key] L ref r; };\n";
  EXPECT_EQ(loadError(classes + "instance of A as $x { k = \"1\"; };\n"
                                "instance of A as $X { k = \"2\"; };"),
            "test.mof:3:13: error: duplicate alias $X");
  EXPECT_EQ(loadError(classes + "instance of L as $x { r = $x; };"),
            "test.mof:2:27: error: keys refer to each other in a circle, or too deeply");
}

// Two keys that refer to the same instance, level upon level: names of twice the length each time.
// The first one that is too long is refused, before any longer one is made.
TEST(MofLoader, KeysThatGrowWithoutBoundAreRefused) {
  std::vector<std::string> levels{"instance of A as $a0 { x = \"A.x=1\"; y = \"A.x=2\"; };\n"};
  for (int i = 1; i < 15; ++i) {
    const std::string below = "$a" + std::to_string(i - 1);
    levels.push_back("instance of A as $a" + std::to_string(i) + " { x = " + below +
                     "; y = " + below + "; };\n");
  }
  const auto errorOf = [&] {
    std::string mof = "class A { [Key] A ref x; [Key] A ref y; };\n";
    for (const std::string& level : levels) {
      mof += level;
    }
    return loadError(mof);
  };
  const std::string tooLong =
      ":13: error: CIM_ERR_INVALID_PARAMETER: the name of the instance is too long";
  EXPECT_EQ(errorOf(), "test.mof:12" + tooLong);
  std::reverse(levels.begin(), levels.end());
  EXPECT_EQ(errorOf(), "test.mof:6" + tooLong);
}

TEST(MofLoader, OtherPragmasAreIgnored) {
  EXPECT_EQ(loadError("#pragma locale(\"en_US\")\n#pragma instancelocale (\"de_DE\")\n"
                      "#pragma source(\"x\")\n#pragma nonlocal(\"y\")\n#pragma Site_Own(\"\")\n"
                      "#PRAGMA Class(\"any\" \" text\")"),
            "");
}

TEST(MofLoader, NamespacePragmaMayNameThisHost) {
  for (const char* host : {"localhost", "127.0.0.1:5988", "[::1]"}) {
    Repository repository;
    test::loadText(repository, "#pragma namespace(\"//" + std::string(host) +
                                   "/root/own\")\nclass A { [Key] string k; };");
    EXPECT_NE(repository.nameSpace("root/own").schema().find("A"), nullptr) << host;
  }
}

TEST(MofLoader, NamespacePragmaMustNameANamespaceOfThisHost) {
  for (const char* wrong : {"", "//host/root/a", "//localhost", "root/a:b", "root//x"}) {
    EXPECT_EQ(loadError(std::string("#pragma namespace(\"") + wrong + "\")"),
              std::string("test.mof:1:9: error: expected the name of a namespace on this server, "
                          "found '") +
                  wrong + "'");
  }
}

TEST(MofLoader, NamespacePragmaHoldsForTheRestOfItsFile) {
  const test::TemporaryDirectory directory;
  directory.write("sub/inner.mof",
                  "#pragma namespace(\"/root/inner/\")\nclass I { [Key] string k; };");
  const auto outer =
      directory.write("outer.mof",
                      "class A { [Key] string k; };\n#pragma NAMESPACE(\"root/outer\")\n"
                      "#pragma include(\"sub/inner.mof\")\nclass O { [Key] string k; };");
  Repository repository;
  mof::loadMof({outer}, repository);
  EXPECT_NE(repository.nameSpace("ROOT/kvasd").schema().find("A"), nullptr);
  EXPECT_NE(repository.nameSpace("root/outer").schema().find("O"), nullptr);
  EXPECT_NE(repository.nameSpace("root/Inner").schema().find("I"), nullptr);
  EXPECT_EQ(repository.nameSpace("root/outer").schema().find("I"), nullptr);
}

TEST(MofLoader, AnIncludedFileSharesNamespaceAndAliases) {
  const test::TemporaryDirectory directory;
  directory.write("classes/a.mof", "class A { [Key] string k; A ref r; };");
  directory.write("more.mof", "instance of A as $inner { k = \"i\"; r = $outer; };");
  const auto top = directory.write(
      "top.mof",
      "#pragma namespace(\"root/x\")\n#pragma include(\"classes/\" \"a.mof\")\n"
      "#pragma include(\"more.mof\")\ninstance of A as $outer { k = \"o\"; r = $inner; };");
  Repository repository;
  mof::loadMof({top}, repository);
  const NameSpace& nameSpace = repository.nameSpace("root/x");
  EXPECT_EQ(nameSpace.instances(nameSpace.classNamed("A")).size(), 2U);
}

TEST(MofLoader, FilesAreOneLoadButAliasesAreTheirOwn) {
  const test::TemporaryDirectory directory;
  const auto first = directory.write("1.mof", "instance of A as $a { k = \"1\"; };");
  const auto second = directory.write("2.mof", "instance of A as $a { k = \"2\"; };");
  const auto classes = directory.write("3.mof", "class A { [Key] string k; };");
  Repository repository;
  mof::loadMof({first, second, classes}, repository);
  NameSpace& nameSpace = repository.nameSpace(defaultNameSpace);
  EXPECT_EQ(nameSpace.instances(nameSpace.classNamed("A")).size(), 2U);
}

TEST(MofLoader, BackslashesInTheNameOfAnIncludeSeparateDirectories) {
  const test::TemporaryDirectory directory;
  directory.write("new/tools/a.mof", "class A { [Key] string k; };");
  const auto top = directory.write("top.mof",
                                   "#pragma include(\"new\\tools\" \"\\a.mof\")\n"
                                   "instance of A { k = \"\\x41\"; };");
  Repository repository;
  mof::loadMof({top}, repository);
  EXPECT_NO_THROW(repository.nameSpace(defaultNameSpace).instance(test::path("A", {{"k", "A"}})));
}

TEST(MofLoader, IncludesAreLookedForBesideTheirFileThenTheFirstOneThenInFurtherDirectories) {
  const test::TemporaryDirectory directory;
  const auto declare = [&](const char* name, std::initializer_list<const char*> files) {
    for (const char* file : files) {
      directory.write(file, std::string("class ") + name + " {};");
    }
  };
  declare("BesideIt", {"first/sub/1.mof"});
  declare("BesideTheFirst", {"first/2.mof"});
  declare("FromOne", {"one/3.mof"});
  declare("FromTwo", {"two/4.mof"});
  declare("Hidden", {"first/1.mof", "one/1.mof", "one/2.mof", "two/3.mof"});
  directory.write("first/sub/all.mof",
                  "#pragma include(\"1.mof\")\n#pragma include(\"2.mof\")\n"
                  "#pragma include(\"3.mof\")\n#pragma include(\"4.mof\")");
  const auto first = directory.write("first/first.mof", "#pragma include(\"sub/all.mof\")");
  Repository repository;
  mof::loadMof({first}, repository, {directory.path() / "one", directory.path() / "two"});
  const Schema& schema = repository.nameSpace(defaultNameSpace).schema();
  EXPECT_EQ(schema.size(), 4U);
  for (const char* name : {"BesideIt", "BesideTheFirst", "FromOne", "FromTwo"}) {
    EXPECT_NE(schema.find(name), nullptr) << name;
  }
}

// The file that was meant is there, so no other one is taken for it.
TEST(MofLoader, AnIncludeThatCannotBeOpenedIsNotLookedForElsewhere) {
  const test::TemporaryDirectory directory;
  std::filesystem::create_symlink("loop.mof", directory.path() / "loop.mof");
  directory.write("other/loop.mof", "");
  Repository repository;
  EXPECT_THROW(mof::loadMof({directory.write("a.mof", "#pragma include(\"loop.mof\")")}, repository,
                            {directory.path() / "other"}),
               mof::MofError);
}

TEST(MofLoader, FilesThatCannotBeReadAreErrors) {
  EXPECT_EQ(loadError("\n#pragma include(\"none.mof\")"),
            "test.mof:2:9: error: cannot open none.mof: No such file or directory");
  EXPECT_EQ(loadError("#pragma include(\"test.mof\")"),
            "test.mof:1:9: error: test.mof includes itself");
  EXPECT_NE(loadError("#pragma include(\".\")").find("cannot read"), std::string::npos);
}

TEST(MofLoader, ThereIsALimitOnIncludedFiles) {
  const test::TemporaryDirectory directory;
  directory.write("empty.mof", "");
  std::string includes;
  for (int i = 1; i < 20000; ++i) {
    includes += "#pragma include(\"empty.mof\")\n";
  }
  Repository repository;
  const auto most = directory.write("most.mof", includes);
  EXPECT_NO_THROW(mof::loadMof({most}, repository));
  const auto more = directory.write("more.mof", includes + "#pragma include(\"empty.mof\")\n");
  try {
    mof::loadMof({more}, repository);
    ADD_FAILURE();
  } catch (const mof::MofError& error) {
    EXPECT_EQ(error.what(), more.string() + ":20000:9: error: too many included files");
  }
}

TEST(MofLoader, ErrorsInIncludedFilesNameThem) {
  const test::TemporaryDirectory directory;
  directory.write("b.mof", "class");
  Repository repository;
  try {
    mof::loadMof({directory.write("a.mof", "#pragma include(\"b.mof\")")}, repository);
    FAIL();
  } catch (const mof::MofError& error) {
    EXPECT_NE(std::string(error.what()).find("b.mof:1:6: error: expected the name of a class"),
              std::string::npos);
  }
}

TEST(MofLoader, IncludesAreBoundedInDepth) {
  const test::TemporaryDirectory directory;
  for (int i = 0; i < 40; ++i) {
    directory.write(std::to_string(i) + ".mof",
                    "#pragma include(\"" + std::to_string(i + 1) + ".mof\")");
  }
  directory.write("40.mof", "");
  Repository repository;
  EXPECT_THROW(mof::loadMof({directory.path() / "0.mof"}, repository), mof::MofError);
  Repository other;
  EXPECT_NO_THROW(mof::loadMof({directory.path() / "20.mof"}, other));
}

TEST(MofLoader, CommentsMayStandBetweenAnyTwoTokens) {
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
