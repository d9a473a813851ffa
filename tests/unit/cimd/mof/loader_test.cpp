// Files, pragmas, instances and aliases.
#include "mof/loader.h"

#include <algorithm>

#include "support.h"

namespace cimd::test {
namespace {

namespace fs = std::filesystem;

TEST(MofLoader, ValuesThatAreNotGivenAreTheDefaults) {
  Server server(
      "class A { [Key] string k = \"dk\"; string d = \"dflt\"; };"
      "instance of A {}; instance of A { k = \"2\"; d = NULL; };");
  const auto valueIn = [&](const char* key) {
    return server.ask("GetProperty", {{"InstanceName", instanceName("A", "k", key)},
                                      {"PropertyName", value("d")}});
  };
  EXPECT_EQ(valueIn("dk"), value("dflt"));
  EXPECT_EQ(valueIn("2"), "");
}

TEST(MofLoader, WrongInstancesAreRefusedAtTheirPosition) {
  expectErrors(
      "class A { [Key] string k; uint8 n; A ref r; };\n[Abstract] class N : A {};\n",
      {{"instance of A { k = \"1\";\n n = 256; };", "4:6: error: the number does not fit in uint8"},
       {"instance of A { k = \"1\";\n m = 1; };", "4:2: error: class A has no property m"},
       {"instance of A { k = \"1\";\n n = 1; N = 2; };",
        "4:9: error: duplicate value of property n"},
       {"instance of A { n = 1; };", "3:13: *key property k of class A has no value"},
       {"instance of N { k = \"1\"; };", "3:13: error: CIM_ERR_NOT_SUPPORTED: class N is abstract"},
       {"instance of M { k = \"1\"; };",
        "3:13: error: class M is not declared in namespace root/kvasd"},
       {"instance of A { k = \"1\"; };\ninstance of A { k = \"1\"; };",
        "4:13: error: CIM_ERR_ALREADY_EXISTS: A.k=\"1\""},
       {"instance of A { k = \"1\"; r = $b; };", "3:30: error: no instance has the alias $b"},
       {"instance of A as $x { k = \"1\"; };\ninstance of A as $X { k = \"2\"; };",
        "4:13: error: duplicate alias $X"},
       {"class L { [Key] L ref r; }; instance of L as $x { r = $x; };",
        "3:55: error: keys refer to each other in a circle, or too deeply"}});
}

TEST(MofLoader, AliasesStandForInstancesBeforeAndAfter) {
  Server server(
      "instance of Link as $l { from = $one; to = $TWO; };\n"
      "[Description(\"ignored\")] instance of Box as $One { [Key] id = 1; };\n"
      "instance of Box as $two { id = 2; next = $l; };\n"
      "class Box { [Key] uint16 id; Link ref next; };\n"
      "[Association] class Link { [Key] Box ref from; [Key] Box ref to; };");
  const std::string names =
      server.ask("EnumerateInstanceNames", {{"ClassName", className("Link")}});
  EXPECT_EQ(attributes(names, "INSTANCENAME", "CLASSNAME"), "Link Box Box ");
  EXPECT_NE(names.find(">2</KEYVALUE>"), std::string::npos);
  const std::string box =
      server.ask("GetInstance", {{"InstanceName",
                                  "<INSTANCENAME CLASSNAME=\"Box\"><KEYVALUE VALUETYPE="
                                  "\"numeric\">2</KEYVALUE></INSTANCENAME>"}});
  EXPECT_EQ(attributes(box, "INSTANCENAME", "CLASSNAME"), "Link Box Box ");
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

// --- pragmas and files

class MofFiles : public Test {
 protected:
  void load(const std::vector<fs::path>& files, const std::vector<fs::path>& directories = {}) {
    mof::loadMof(files, repository_, directories);
  }
  // The error without the directory of the files; empty for none.
  std::string errorOf(const fs::path& file, const std::vector<fs::path>& directories = {}) {
    try {
      Repository repository;
      mof::loadMof({file}, repository, directories);
    } catch (const mof::MofError& error) {
      return withoutDirectory(error.what(), directory_.path());
    }
    return "";
  }
  bool hasClass(const char* nameSpace, const char* name) {
    return repository_.nameSpace(nameSpace).schema().find(name) != nullptr;
  }
  std::size_t instances(const char* nameSpace) {
    const NameSpace& found = repository_.nameSpace(nameSpace);
    return found.instances(found.classNamed("A")).size();
  }

  TemporaryDirectory directory_;
  Repository repository_;
};

TEST_F(MofFiles, OtherPragmasAreIgnored) {
  EXPECT_EQ(loadError("#pragma locale(\"en_US\")\n#pragma instancelocale (\"de_DE\")\n"
                      "#pragma source(\"x\")\n#pragma nonlocal(\"y\")\n#pragma Site_Own(\"\")\n"
                      "#PRAGMA Class(\"any\" \" text\")"),
            "");
}

TEST_F(MofFiles, NamespacePragmaMayNameThisHost) {
  for (const char* host : {"localhost", "127.0.0.1:5988", "[::1]"}) {
    repository_ = Repository();
    loadText(repository_, "#pragma namespace(\"//" + std::string(host) +
                              "/root/\\x6Fwn\")\nclass A { [Key] string k; };");
    EXPECT_TRUE(hasClass("root/own", "A")) << host;
  }
}

TEST_F(MofFiles, NamespacePragmaMustNameANamespaceOfThisHost) {
  for (const char* wrong : {"", "//host/root/a", "//localhost", "root/a:b", "root//x"}) {
    EXPECT_EQ(loadError(std::string("#pragma namespace(\"") + wrong + "\")"),
              std::string("test.mof:1:9: error: expected the name of a namespace on this server, "
                          "found '") +
                  wrong + "'");
  }
}

TEST_F(MofFiles, NamespacePragmaHoldsForTheRestOfItsFileAndTheFilesIncludedThere) {
  directory_.write("sub/same.mof", "class S {};");
  directory_.write("sub/inner.mof", "#pragma namespace(\"/root/inner/\")\nclass I {};");
  load({directory_.write("outer.mof",
                         "class A {};\n#pragma NAMESPACE(\"root/outer\")\n"
                         "#pragma include(\"sub/same.mof\")\n#pragma include(\"sub/inner.mof\")\n"
                         "class O {};")});
  EXPECT_TRUE(hasClass("ROOT/kvasd", "A"));
  EXPECT_TRUE(hasClass("root/outer", "S"));
  EXPECT_TRUE(hasClass("root/outer", "O"));
  EXPECT_TRUE(hasClass("root/Inner", "I"));
  EXPECT_FALSE(hasClass("root/outer", "I"));
}

TEST_F(MofFiles, AnIncludedFileSharesAliases) {
  directory_.write("classes/a.mof", "class A { [Key] string k; A ref r; };");
  directory_.write("more.mof", "instance of A as $inner { k = \"i\"; r = $outer; };");
  load({directory_.write("top.mof",
                         "#pragma include(\"classes/\" \"a.mof\")\n#pragma include(\"more.mof\")\n"
                         "instance of A as $outer { k = \"o\"; r = $inner; };")});
  EXPECT_EQ(instances("root/kvasd"), 2U);
}

TEST_F(MofFiles, FilesAreOneLoadButAliasesAreTheirOwn) {
  load({directory_.write("1.mof", "instance of A as $a { k = \"1\"; };"),
        directory_.write("2.mof", "instance of A as $a { k = \"2\"; };"),
        directory_.write("3.mof", "class A { [Key] string k; };")});
  EXPECT_EQ(instances("root/kvasd"), 2U);
}

TEST_F(MofFiles, BackslashesInTheNameOfAnIncludeSeparateDirectories) {
  directory_.write("new/tools/a.mof", "class A { [Key] string k; };");
  load({directory_.write("top.mof",
                         "#PRAGMA INCLUDE (\"new\\tools\" \"\\a.mof\")\n"
                         "instance of A { k = \"\\x41\"; };")});
  EXPECT_NO_THROW(repository_.nameSpace(defaultNameSpace).instance(path("A", {{"k", "A"}})));
}

TEST_F(MofFiles, IncludesAreLookedForBesideTheirFileThenTheFirstOneThenInFurtherDirectories) {
  const auto declare = [&](const char* name, std::initializer_list<const char*> files) {
    for (const char* file : files) {
      directory_.write(file, std::string("class ") + name + " {};");
    }
  };
  declare("BesideIt", {"first/sub/1.mof"});
  declare("BesideTheFirst", {"first/2.mof"});
  declare("FromOne", {"one/3.mof"});
  declare("FromTwo", {"two/4.mof"});
  declare("Hidden", {"first/1.mof", "one/1.mof", "one/2.mof", "two/3.mof"});
  directory_.write("first/sub/all.mof",
                   "#pragma include(\"1.mof\")\n#pragma include(\"2.mof\")\n"
                   "#pragma include(\"3.mof\")\n#pragma include(\"4.mof\")");
  load({directory_.write("first/first.mof", "#pragma include(\"sub/all.mof\")")},
       {directory_.path() / "one", directory_.path() / "two"});
  EXPECT_EQ(repository_.nameSpace(defaultNameSpace).schema().size(), 4U);
  for (const char* name : {"BesideIt", "BesideTheFirst", "FromOne", "FromTwo"}) {
    EXPECT_TRUE(hasClass("root/kvasd", name)) << name;
  }
}

// The file that was meant is there, so no other one is taken for it.
TEST_F(MofFiles, AnIncludeThatCannotBeOpenedIsNotLookedForElsewhere) {
  fs::create_symlink("loop.mof", directory_.path() / "loop.mof");
  directory_.write("other/loop.mof", "");
  EXPECT_NE(errorOf(directory_.write("a.mof", "#pragma include(\"loop.mof\")"),
                    {directory_.path() / "other"}),
            "");
}

TEST_F(MofFiles, FilesThatCannotBeReadAreErrors) {
  EXPECT_EQ(loadError("\n#pragma include(\"none.mof\")"),
            "test.mof:2:9: error: cannot open none.mof: No such file or directory");
  EXPECT_EQ(loadError("#pragma include(\"test.mof\")"),
            "test.mof:1:9: error: test.mof includes itself");
  EXPECT_NE(loadError("#pragma include(\".\")").find("cannot read"), std::string::npos);
}

TEST_F(MofFiles, ThereIsALimitOnIncludedFiles) {
  directory_.write("empty.mof", "");
  std::string includes;
  for (int i = 1; i < 20000; ++i) {
    includes += "#pragma include(\"empty.mof\")\n";
  }
  EXPECT_EQ(errorOf(directory_.write("most.mof", includes)), "");
  EXPECT_EQ(errorOf(directory_.write("more.mof", includes + "#pragma include(\"empty.mof\")\n")),
            "more.mof:20000:9: error: too many included files");
}

TEST_F(MofFiles, ErrorsInIncludedFilesNameThem) {
  directory_.write("b.mof", "class");
  EXPECT_THAT(errorOf(directory_.write("a.mof", "#pragma include(\"b.mof\")")),
              StartsWith("b.mof:1:6: error: expected the name of a class"));
}

TEST_F(MofFiles, IncludesAreBoundedInDepth) {
  for (int i = 0; i < 40; ++i) {
    directory_.write(std::to_string(i) + ".mof",
                     "#pragma include(\"" + std::to_string(i + 1) + ".mof\")");
  }
  directory_.write("40.mof", "");
  EXPECT_NE(errorOf(directory_.path() / "0.mof"), "");
  EXPECT_EQ(errorOf(directory_.path() / "20.mof"), "");
}

}  // namespace
}  // namespace cimd::test
