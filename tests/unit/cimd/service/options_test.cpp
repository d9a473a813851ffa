// The command line and the log.
#include "service/options.h"
#include <gtest/gtest.h>
#include "log.h"

#include <sstream>

namespace cimd {
namespace {

std::variant<Options, ExitStatus> read(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "morvik-cimd");
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  auto result = readOptions(static_cast<int>(arguments.size()), arguments.data());
  const std::string errors = testing::internal::GetCapturedStderr();
  const std::string output = testing::internal::GetCapturedStdout();
  // Messages about wrong usage go to standard error, what was asked for to standard output.
  const auto* status = std::get_if<ExitStatus>(&result);
  EXPECT_EQ(!errors.empty(), status != nullptr && *status == ExitStatus::usage);
  EXPECT_EQ(!output.empty(), status != nullptr && *status == ExitStatus::ok);
  return result;
}

Options good(std::vector<const char*> arguments) {
  auto result = read(std::move(arguments));
  EXPECT_TRUE(std::holds_alternative<Options>(result));
  return std::holds_alternative<Options>(result) ? std::get<Options>(result) : Options();
}

void expectStatus(ExitStatus expected, std::vector<const char*> arguments) {
  const std::string last = arguments.empty() ? "" : arguments.back();
  const auto result = read(std::move(arguments));
  ASSERT_TRUE(std::holds_alternative<ExitStatus>(result)) << last;
  EXPECT_EQ(std::get<ExitStatus>(result), expected) << last;
}

TEST(Options, DefaultsAndFilesInOrder) {
  const Options options = good({"b.mof", "a.mof"});
  EXPECT_EQ(options.address, "127.0.0.1");
  EXPECT_EQ(options.port, 5988);
  EXPECT_EQ(options.logLevel, LogLevel::info);
  EXPECT_EQ(options.files, (std::vector<std::filesystem::path>{"b.mof", "a.mof"}));
  EXPECT_EQ(good({"--recover", "fru.db"}).recover, "fru.db") << "needs no files";
}

TEST(Options, IncludeTakesOneDirectoryEachTime) {
  const Options options = good({"--include", "one", "a.mof", "--include", "two", "b.mof"});
  EXPECT_EQ(options.includeDirectories, (std::vector<std::filesystem::path>{"one", "two"}));
  EXPECT_EQ(options.files, (std::vector<std::filesystem::path>{"a.mof", "b.mof"}));
}

TEST(Options, AnInventoryIsOfTheHostOrRecorded) {
  EXPECT_TRUE(good({"--host", "a.mof"}).isHost);
  const Options recorded = good({"--smbios", "tables", "a.mof"});
  EXPECT_FALSE(recorded.isHost);
  EXPECT_EQ(recorded.recordedTables, "tables");
  EXPECT_EQ(good({"--host", "--model", "1234 A", "a.mof"}).model, "1234 A");
  EXPECT_EQ(good({"--smbios", "d", "--models", "m", "a.mof"}).models, "m");
}

TEST(Options, WritersMayBeRepeatedAndAreSeparatedByCommas) {
  const Options options = good({"--writers", "alice,@operators", "a.mof", "--writers", "bob"});
  EXPECT_EQ(options.writers, (std::vector<std::string>{"alice", "@operators", "bob"}));
  EXPECT_EQ(good({"a.mof"}).writers, std::vector<std::string>());
}

TEST(Options, ListenTakesAnyLoopbackAddress) {
  struct Case {
    const char* text;
    const char* address;
    int port;
  };
  for (const Case& c : {Case{"127.0.0.1:80", "127.0.0.1", 80},
                        {"127.255.0.9:65535", "127.255.0.9", 65535},
                        {"[::1]:5988", "::1", 5988},
                        {"127.0.0.1:0", "127.0.0.1", 0}}) {
    const Options options = good({"--listen", c.text, "a.mof"});
    EXPECT_EQ(options.address, c.address);
    EXPECT_EQ(options.port, c.port);
  }
}

TEST(Options, WrongUsageIsRefused) {
  for (const char* address :
       {"", "127.0.0.1", "127.0.0.1:", "127.0.0.1:x", "127.0.0.1:5x", "127.0.0.1:65536",
        "127.0.0.1:-1", "localhost:5988", "0.0.0.0:5988", "10.0.0.1:5988", "[::]:5988",
        "[::2]:5988", "::1:5988", "[127.0.0.1]:5988", ":5988", "[]:5988"}) {
    expectStatus(ExitStatus::usage, {"a.mof", "--listen", address});
  }
  for (const char* list : {"", ",", "a,", ",a", "a,,b", "@", "a,@"}) {
    expectStatus(ExitStatus::usage, {"a.mof", "--writers", list});
  }
  for (const char* size : {"", "-1", "65535", "65MiB", "1XB", "99999999999999999999"}) {
    expectStatus(ExitStatus::usage, {"a.mof", "--max-request", size});
  }
  for (const char* limit : {"", "-1", "x", "99999999999999999999"}) {
    expectStatus(ExitStatus::usage, {"a.mof", "--max-instances", limit});
    expectStatus(ExitStatus::usage, {"a.mof", "--max-bytes", limit});
  }
  for (const std::vector<const char*>& arguments :
       std::vector<std::vector<const char*>>{{},
                                             {"--listen", "127.0.0.1:1"},
                                             {"--no-such-option", "a.mof"},
                                             {"--include", "", "a.mof"},
                                             {"a.mof", "--include"},
                                             {"--model", "x", "a.mof"},
                                             {"--models", "x", "a.mof"},
                                             {"--host", "--model", "x", "--models", "y", "a.mof"},
                                             {"--host", "--model", "", "a.mof"},
                                             {"--host", "--smbios", "tables", "a.mof"},
                                             {"--recover", ""}}) {
    expectStatus(ExitStatus::usage, arguments);
  }
}

TEST(Options, AnUnknownOptionIsNamedEvenWithoutFiles) {
  testing::internal::CaptureStderr();
  const char* const arguments[] = {"morvik-cimd", "--bogus"};
  readOptions(2, arguments);
  EXPECT_NE(testing::internal::GetCapturedStderr().find("--bogus"), std::string::npos);
}

TEST(Options, LimitsHaveUnitsAndBounds) {
  const Options usual = good({"a.mof"});
  EXPECT_EQ(usual.maxRequest, 1U << 20);
  EXPECT_EQ(usual.maxInstances, 10000U);
  EXPECT_EQ(usual.maxBytes, 64U << 20);
  const Options given =
      good({"--max-request", "65536", "--max-instances", "7", "--max-bytes", "2MiB", "a.mof"});
  EXPECT_EQ(given.maxRequest, 65536U);
  EXPECT_EQ(given.maxInstances, 7U);
  EXPECT_EQ(given.maxBytes, 2U << 20);
}

TEST(Options, HelpFitsInto80ColumnsWithEachOptionAndItsTextOnOneLine) {
  testing::internal::CaptureStdout();
  const char* const arguments[] = {"morvik-cimd", "--help"};
  readOptions(2, arguments);
  std::istringstream help(testing::internal::GetCapturedStdout());
  int options = 0;
  for (std::string line; std::getline(help, line);) {
    EXPECT_LE(line.size(), 80U) << line;
    if (line.starts_with("  -")) {
      ++options;
      EXPECT_TRUE(line.size() > 30 && line[29] == ' ' && line[30] != ' ') << line;
    }
  }
  EXPECT_EQ(options, 17);
}

TEST(Options, HelpAndVersionEndWellAndPrint) {
  for (const char* option : {"-h", "--help", "-V", "--version"}) {
    expectStatus(ExitStatus::ok, {option});
  }
}

std::string written(LogLevel most, LogLevel level, const char* text) {
  testing::internal::CaptureStderr();
  Log(most).write(level, text);
  return testing::internal::GetCapturedStderr();
}

TEST(Log, AMessageIsOneLineWhateverItQuotes) {
  EXPECT_EQ(written(LogLevel::info, LogLevel::error, "a\nb\x1B[1m\x7F\tc"),
            "morvik-cimd: error: a?b?[1m??c\n");
  EXPECT_EQ(written(LogLevel::info, LogLevel::info,
                    "Gr\xC3\xBC\xC3\x9F"
                    "e"),
            "morvik-cimd: Gr\xC3\xBC\xC3\x9F"
            "e\n");
}

TEST(Log, LessImportantMessagesAreLeftOut) {
  EXPECT_EQ(written(LogLevel::warning, LogLevel::info, "x"), "");
  EXPECT_EQ(written(LogLevel::warning, LogLevel::warning, "x"), "morvik-cimd: warning: x\n");
}

}  // namespace
}  // namespace cimd
