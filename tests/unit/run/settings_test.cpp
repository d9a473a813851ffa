// Options, variables, their order and their values.
#include "settings.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>
#include <vector>

#include "outcome.h"

using namespace run;

namespace {

struct Name {
  const char* option;
  const char* variable;
  Setting Settings::*value;
};

constexpr std::array<Name, 12> names{{
    {"--url", "MORVIK_URL", &Settings::url},
    {"--files", "MORVIK_FILES", &Settings::files},
    {"--file", "MORVIK_FILE", &Settings::file},
    {"--ftp-server", "MORVIK_SERVER", &Settings::ftpServer},
    {"--ftp-directory", "MORVIK_DIRECTORY", &Settings::ftpDirectory},
    {"--keyring", "MORVIK_KEYRING", &Settings::keyring},
    {"--ca", "MORVIK_CA", &Settings::certificates},
    {"--min-share", "MORVIK_MIN_SHARE", &Settings::minShareText},
    {"--missing", "MORVIK_MISSING", &Settings::missingText},
    {"--retry-pause", "MORVIK_RETRY_PAUSE", &Settings::retryPauseText},
    {"--metrics", "MORVIK_METRICS", &Settings::metrics},
    {"--state", "STATE_DIRECTORY", &Settings::state},
}};

struct Variable {
  std::string name;
  std::string value;
};

// With these variables and no others. /bin/true is there in place of morvik.
Settings settingsFor(const std::vector<Variable>& variables,
                     std::vector<std::string> options = {}) {
  for (const Name& name : names) {
    unsetenv(name.variable);
  }
  for (const Variable& variable : variables) {
    setenv(variable.name.c_str(), variable.value.c_str(), 1);
  }
  options.insert(options.begin(), {"morvik-run", "--morvik", "/bin/true"});
  std::vector<const char*> words;
  words.reserve(options.size());
  for (const std::string& option : options) {
    words.push_back(option.c_str());
  }
  return std::get<Settings>(readSettings(static_cast<int>(words.size()), words.data()));
}

std::string faultOf(const std::vector<Variable>& variables,
                    const std::vector<std::string>& options = {}) {
  return settingsFor(variables, options).fault;
}

}  // namespace

TEST(Settings, EachHasAnOptionAndAVariable) {
  for (const Name& name : names) {
    const std::string value = name.value == &Settings::metrics          ? "/a.prom"
                              : name.value == &Settings::missingText    ? "ok"
                              : name.value == &Settings::minShareText   ? "0.25"
                              : name.value == &Settings::retryPauseText ? "7"
                                                                        : "/a";
    // Another place would replace the one that is looked at.
    const bool isOther = settingsFor({{name.variable, value}}).fault.starts_with("no parts server");
    const std::vector<Variable> place =
        isOther ? std::vector<Variable>{{"MORVIK_FILES", "/files"}} : std::vector<Variable>{};
    std::vector<Variable> variables = place;
    variables.push_back({name.variable, value});
    const Settings byVariable = settingsFor(variables);
    EXPECT_EQ(byVariable.fault, "") << name.variable;
    EXPECT_EQ((byVariable.*name.value).text, value) << name.variable;
    EXPECT_STREQ((byVariable.*name.value).name, name.variable);
    variables.back().value = "/other.prom";
    const Settings byOption = settingsFor(variables, {name.option, value});
    EXPECT_EQ(byOption.fault, "") << name.option;
    EXPECT_EQ((byOption.*name.value).text, value) << name.option;
    EXPECT_STREQ((byOption.*name.value).name, name.option);
  }
}

TEST(Settings, ValuesAreRead) {
  const Settings settings = settingsFor({{"MORVIK_FILES", "/files"},
                                         {"MORVIK_MIN_SHARE", "0.25"},
                                         {"MORVIK_MISSING", "ok"},
                                         {"MORVIK_RETRY_PAUSE", "0.5"}},
                                        {"--check", "--force", "--json", "--quiet"});
  EXPECT_EQ(settings.minShare, 0.25);
  EXPECT_TRUE(settings.isMissingGood);
  EXPECT_EQ(settings.retryPause, std::chrono::milliseconds(500));
  EXPECT_TRUE(settings.isCheck && settings.isForced && settings.isJson && settings.isQuiet);
}

TEST(Settings, EmptyVariablesAreNotSet) {
  std::vector<Variable> variables;
  variables.reserve(names.size());
  for (const Name& name : names) {
    variables.push_back({name.variable, ""});
  }
  variables[1].value = "/files";
  const Settings settings = settingsFor(variables);
  EXPECT_EQ(settings.fault, "");
  EXPECT_EQ(settings.minShare, 0.5);
  EXPECT_FALSE(settings.isMissingGood);
  EXPECT_EQ(settings.retryPause, std::chrono::seconds(5));
  EXPECT_EQ(settings.state.text, "/var/lib/morvik");
}

TEST(Settings, WrongValueIsNamedAsItWasGiven) {
  for (const char* value : {"abc", "-1", "2", "nan", "inf", "0,5", " 0.5", "0.5x", "+0.5"}) {
    EXPECT_EQ(faultOf({{"MORVIK_FILES", "/a"}, {"MORVIK_MIN_SHARE", value}}),
              std::string("MORVIK_MIN_SHARE: '") + value + "' is not a number from 0 to 1");
  }
  EXPECT_EQ(faultOf({{"MORVIK_FILES", "/a"}}, {"--min-share", "2"}),
            "--min-share: '2' is not a number from 0 to 1");
  EXPECT_EQ(faultOf({{"MORVIK_FILES", "/a"}, {"MORVIK_RETRY_PAUSE", "61"}}),
            "MORVIK_RETRY_PAUSE: '61' is not a number from 0 to 60");
  EXPECT_EQ(faultOf({{"MORVIK_FILES", "/a"}, {"MORVIK_MISSING", "OK"}}),
            "MORVIK_MISSING: 'OK' is neither ok nor fail");
  const Settings settings = settingsFor({{"MORVIK_FILES", "/a"}, {"MORVIK_METRICS", "a.txt"}});
  EXPECT_EQ(settings.fault, "MORVIK_METRICS: 'a.txt' does not end with .prom");
  EXPECT_EQ(settings.metrics.text, "");
}

TEST(Settings, FirstPlaceOfSeveralVariablesIsUsed) {
  std::vector<Variable> variables = {{"MORVIK_FILE", "/file"},
                                     {"MORVIK_FILES", "/files"},
                                     {"MORVIK_URL", "http://a"},
                                     {"MORVIK_SERVER", "b"},
                                     {"MORVIK_DIRECTORY", "/c"}};
  constexpr Setting Settings::*order[] = {&Settings::file, &Settings::files, &Settings::url,
                                          &Settings::ftpServer};
  for (const auto used : order) {
    const Settings settings = settingsFor(variables);
    EXPECT_EQ(settings.fault, "");
    for (const auto place : order) {
      EXPECT_EQ((settings.*place).text.empty(), place != used);
    }
    EXPECT_EQ(settings.ftpDirectory.text, used == &Settings::ftpServer ? "/c" : "");
    variables.erase(variables.begin());
  }
}

TEST(Settings, PlaceOfAnOptionReplacesThoseOfVariables) {
  const Settings settings =
      settingsFor({{"MORVIK_FILE", "/file"}, {"MORVIK_DIRECTORY", "/c"}}, {"--ftp-server", "b"});
  EXPECT_EQ(settings.fault, "");
  EXPECT_EQ(settings.file.text, "");
  EXPECT_EQ(settings.ftpServer.text, "b");
  EXPECT_EQ(settings.ftpDirectory.text, "/pc/dolmex/bp_server");
  EXPECT_EQ(faultOf({}, {"--file", "/a", "--url", "http://b"}),
            "use only one of --file, --files, --url and --ftp-server");
}

TEST(Settings, PlaceMustBeSet) {
  EXPECT_TRUE(faultOf({}).starts_with("no parts server is set: set MORVIK_URL, "));
  EXPECT_FALSE(settingsFor({{"MORVIK_DIRECTORY", "/c"}}).ftpServer.text.empty());
}

TEST(Settings, FilesAreFoundFromTheWorkingDirectory) {
  ASSERT_EQ(chdir("/tmp"), 0);
  const Settings settings =
      settingsFor({{"MORVIK_FILES", "a"}, {"MORVIK_KEYRING", "b"}}, {"--state", "c:d"});
  EXPECT_EQ(settings.files.text, "/tmp/a");
  EXPECT_EQ(settings.keyring.text, "/tmp/b");
  EXPECT_EQ(settings.state.text, "/tmp/c");
}
