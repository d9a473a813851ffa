// Schemas as large as the DMTF's load in reasonable time.
#include <chrono>

#include "support.h"

namespace cimd::test {
namespace {

// Generous: a schema takes a fraction of this, a sanitizer some times as much, and what grows with
// the square of the number of classes more.
constexpr std::chrono::seconds mostTime{20};

constexpr int chainLength = 40;
constexpr int chains = 30;
constexpr int leaves = 260;
constexpr int associations = 40;
// Root, the chains, the leaves below it, and the associations.
constexpr int classCount = 1 + chains * chainLength + leaves + associations;

// Texts as schemas have them: paragraphs, in pieces of a line each.
std::string description(const std::string& subject) {
  std::string text = "Description ( \n";
  for (int line = 0; line < 12; ++line) {
    text += "  \"" + subject + " is part of a model that was made up for this purpose. \\n\" \n";
  }
  return text + "  \"\\tIt\\'s \\\"large\\\".\" )";
}

std::string classText(const std::string& name, const std::string& superclass,
                      const std::string& suffix) {
  return "   [Version ( \"2.7.0\" ), \n" + description("The class " + name) + "]\nclass " + name +
         (superclass.empty() ? "" : " : " + superclass) + " {\n      [" +
         description("The property") + ", MaxLen ( 256 )]\n   string Text" + suffix + ";\n      [" +
         description("The state") +
         ", ValueMap { \"0\", \"1\", \"2..\" }, \n       Values { \"Unknown\", \"On\", "
         "\"Reserved\" }]\n   uint16 State" +
         suffix + "[] = { 0, 1 };\n      [" + description("The method") + "]\n   uint32 Change" +
         suffix + "(\n      [In, " + description("The parameter") +
         "] string Names[], \n      [In ( "
         "false ), Out] My_Root ref Result);\n};\n\n";
}

// A root; below it chains of classes, each below the one before, and leaves side by side; and
// associations. Subclasses come first, so that each refers forward.
std::string largeSchema() {
  std::string mof;
  for (int i = 0; i < associations; ++i) {
    mof += "[Association, Version ( \"1.0\" )]\nclass My_Link" + std::to_string(i) +
           " {\n   [Key, "
           "Min ( 1 )] My_Root ref Antecedent;\n   [Key] My_Leaf" +
           std::to_string(i) + " ref Dependent;\n};\n";
  }
  for (int i = 0; i < leaves; ++i) {
    const std::string number = std::to_string(i);
    mof += classText("My_Leaf" + number, "My_Root", "L" + number);
  }
  for (int chain = 0; chain < chains; ++chain) {
    for (int level = chainLength - 1; level >= 0; --level) {
      const std::string name = "My_Chain" + std::to_string(chain) + "_";
      const std::string number = std::to_string(level);
      mof += classText(name + number, level == 0 ? "My_Root" : name + std::to_string(level - 1),
                       "C" + number);
    }
  }
  return mof +
         "class My_Root { [Key, MaxLen(64)] string InstanceID; };\n"
         "Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride);\n"
         "Qualifier Description : string = null, Scope(any), Flavor(Translatable);\n"
         "Qualifier Version : string = null, Scope(class, association), Flavor(Restricted);\n"
         "Qualifier MaxLen : uint32 = null, Scope(property, method, parameter);\n"
         "Qualifier Min : uint32 = 0, Scope(reference);\n"
         "Qualifier In : boolean = true, Scope(parameter), Flavor(DisableOverride);\n"
         "Qualifier Out : boolean = false, Scope(parameter), Flavor(DisableOverride);\n"
         "Qualifier ValueMap : string[], Scope(property, method, parameter);\n"
         "Qualifier Values : string[], Scope(property, method), Flavor(Translatable);\n"
         "Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride);\n";
}

std::size_t words(const std::string& text) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), ' '));
}

template <typename Action>
void inTime(const char* what, Action action) {
  const auto start = std::chrono::steady_clock::now();
  action();
  const auto taken = std::chrono::steady_clock::now() - start;
  EXPECT_LT(taken, mostTime) << what;
  Test::RecordProperty(
      what,
      std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(taken).count()) + " ms");
}

class LargeSchema : public Test {
 protected:
  static void SetUpTestSuite() {
    inTime("load", [] { server = new Server(largeSchema()); });
  }
  static void TearDownTestSuite() {
    delete server;
    server = nullptr;
  }

  static Server* server;
};

Server* LargeSchema::server = nullptr;

TEST_F(LargeSchema, HasEveryClass) {
  EXPECT_EQ(server->repository.counts().classes, std::size_t{classCount});
  const std::string top = server->ask("EnumerateClassNames", {});
  EXPECT_EQ(words(attributes(top, "CLASSNAME", "NAME")), std::size_t{associations} + 1);
  const std::string below =
      server->ask("EnumerateClassNames", {{"ClassName", className("My_Root")}});
  EXPECT_EQ(words(attributes(below, "CLASSNAME", "NAME")), std::size_t{chains} + leaves);
  const std::string all = server->ask("EnumerateClassNames", {{"DeepInheritance", value("true")}});
  EXPECT_EQ(words(attributes(all, "CLASSNAME", "NAME")), std::size_t{classCount});
  inTime("enumerate", [] {
    const std::string whole = server->ask("EnumerateClasses", {{"DeepInheritance", value("true")}});
    EXPECT_EQ(words(attributes(whole, "CLASS", "NAME")), std::size_t{classCount});
  });
}

}  // namespace
}  // namespace cimd::test
