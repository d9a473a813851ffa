// The command line: which arguments are accepted, and what the two locations become.
#include "driver/command_line.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct Parsed {
  bool accepted;
  std::string server;
  std::string directory;
};

constexpr const char* untouched = "(untouched)";
constexpr const char* noValue = "";

Parsed parse(std::vector<std::string> words) {
  words.insert(words.begin(), "morvik");
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) {
    arguments.push_back(word.data());
  }
  arguments.push_back(nullptr);
  const char* server = untouched;
  const char* directory = untouched;
  const bool accepted = parseCommandLine(0, arguments.data(), server, directory);
  return {accepted, server, directory};
}

void expectLocations(const std::vector<std::string>& words, const std::string& server,
                     const std::string& directory) {
  const Parsed parsed = parse(words);
  EXPECT_TRUE(parsed.accepted);
  EXPECT_EQ(parsed.server, server);
  EXPECT_EQ(parsed.directory, directory);
}

TEST(CommandLine, NoArgumentsGiveBothDefaults) {
  expectLocations({}, MORVIK_DEFAULT_PARTS_SERVER, "/pc/dolmex/bp_server");
}

TEST(CommandLine, AnEmptyArgumentListGivesBothDefaults) {
  char* arguments[] = {nullptr};
  const char* server = untouched;
  const char* directory = untouched;
  EXPECT_TRUE(parseCommandLine(0, arguments, server, directory));
  EXPECT_STREQ(directory, "/pc/dolmex/bp_server");
}

TEST(CommandLine, FirstArgumentWithoutDashIsRejectedAndNothingIsSet) {
  for (const auto& words :
       std::vector<std::vector<std::string>>{{"host"}, {""}, {"host", "-s", "a"}, {"s"}}) {
    const Parsed parsed = parse(words);
    EXPECT_FALSE(parsed.accepted);
    EXPECT_EQ(parsed.server, untouched);
    EXPECT_EQ(parsed.directory, untouched);
  }
}

TEST(CommandLine, UnknownLettersAndALoneDashAreRejected) {
  for (const char* word : {"-h", "-?", "-x", "-xs", "-", "--", "---", "--help", "--x"}) {
    EXPECT_FALSE(parse({word}).accepted) << word;
  }
}

TEST(CommandLine, AnUnknownLetterDoesNotTakeTheNextArgument) {
  const Parsed parsed = parse({"-x", "-s", "host"});
  EXPECT_FALSE(parsed.accepted);
  EXPECT_EQ(parsed.server, untouched);
}

TEST(CommandLine, BothOptionsAreTakenInEitherOrderAndCase) {
  expectLocations({"-s", "host", "-d", "dir"}, "host", "dir");
  expectLocations({"-d", "dir", "-s", "host"}, "host", "dir");
  expectLocations({"-S", "host", "-D", "dir"}, "host", "dir");
}

TEST(CommandLine, OnlyTheFirstLetterAfterTheDashCounts) {
  expectLocations({"-server", "host", "-directory", "dir"}, "host", "dir");
}

TEST(CommandLine, ExtraDashesAreSkipped) {
  expectLocations({"--d", "dir"}, untouched, "dir");
  expectLocations({"----server", "host"}, "host", untouched);
}

TEST(CommandLine, AValueIsNeverExamined) {
  expectLocations({"-s", "-d"}, "-d", untouched);
  expectLocations({"-s", "-d", "-d", "-s"}, "-d", "-s");
}

TEST(CommandLine, TheLastValueWins) {
  expectLocations({"-s", "a", "-s", "b"}, "b", untouched);
}

TEST(CommandLine, AWordWithoutDashEndsTheParse) {
  expectLocations({"-s", "host", "extra", "-d", "dir"}, "host", untouched);
}

TEST(CommandLine, AnUnknownOptionAfterAGoodOneRejects) {
  EXPECT_FALSE(parse({"-s", "host", "-x"}).accepted);
  EXPECT_FALSE(parse({"-s", "host", "-"}).accepted);
}

TEST(CommandLine, ExtraDashesAfterAGoodOptionAreMadeGoodByTheNextLetter) {
  expectLocations({"-s", "host", "--d", "dir"}, "host", "dir");
}

TEST(CommandLine, AnOptionThatIsTheLastArgumentHasNoValue) {
  expectLocations({"-s"}, noValue, untouched);
  expectLocations({"-d"}, untouched, noValue);
  expectLocations({"-s", "host", "-d"}, "host", noValue);
  expectLocations({"-s", "a", "-s"}, noValue, untouched);
}

TEST(CommandLine, AnAbsentOptionIsNotDefaulted) {
  expectLocations({"-d", "dir"}, untouched, "dir");
}

TEST(CommandLine, AnEmptyValueIsTaken) {
  expectLocations({"-s", "", "-d", ""}, "", "");
}

TEST(CommandLine, AnEmptyArgumentInPlaceOfAnOptionEndsTheParse) {
  expectLocations({"-s", "host", "", "-d", "dir"}, "host", untouched);
}

}  // namespace
