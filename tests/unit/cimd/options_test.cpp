#include "service/options.h"
#include <gtest/gtest.h>

namespace cimd {
namespace {

// The status that the command line ends with; `options` when it goes on.
std::optional<ExitStatus> read(std::vector<const char*> arguments, Options& options) {
  arguments.insert(arguments.begin(), "morvik-cimd");
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  const auto status = readOptions(static_cast<int>(arguments.size()), arguments.data(), options);
  const std::string errors = testing::internal::GetCapturedStderr();
  const std::string output = testing::internal::GetCapturedStdout();
  // Messages about wrong usage are no output; what was asked for is no error.
  EXPECT_EQ(!errors.empty(), status == EXIT_USAGE);
  EXPECT_EQ(!output.empty(), status == EXIT_OK);
  return status;
}

TEST(Options, DefaultsAndFilesInOrder) {
  Options options;
  EXPECT_EQ(read({"b.mof", "a.mof"}, options), std::nullopt);
  EXPECT_EQ(options.address, "127.0.0.1");
  EXPECT_EQ(options.port, 5988);
  EXPECT_EQ(options.files, (std::vector<std::filesystem::path>{"b.mof", "a.mof"}));
}

TEST(Options, IncludeTakesOneDirectoryEachTime) {
  Options options;
  EXPECT_EQ(read({"--include", "one", "a.mof", "--include", "two", "b.mof"}, options),
            std::nullopt);
  EXPECT_EQ(options.includeDirectories, (std::vector<std::filesystem::path>{"one", "two"}));
  EXPECT_EQ(options.files, (std::vector<std::filesystem::path>{"a.mof", "b.mof"}));
  EXPECT_EQ(read({"--include", "", "a.mof"}, options), EXIT_USAGE);
  EXPECT_EQ(read({"a.mof", "--include"}, options), EXIT_USAGE);
}

TEST(Options, ListenOnAnyLoopbackAddress) {
  struct Case {
    const char* text;
    const char* address;
    int port;
  };
  for (const Case& c : {Case{"127.0.0.1:80", "127.0.0.1", 80},
                        {"127.255.0.9:65535", "127.255.0.9", 65535},
                        {"[::1]:5988", "::1", 5988},
                        {"127.0.0.1:0", "127.0.0.1", 0}}) {
    Options options;
    EXPECT_EQ(read({"--listen", c.text, "a.mof"}, options), std::nullopt) << c.text;
    EXPECT_EQ(options.address, c.address);
    EXPECT_EQ(options.port, c.port);
  }
}

TEST(Options, EverythingElseIsWrongUsage) {
  for (const char* text :
       {"", "127.0.0.1", "127.0.0.1:", "127.0.0.1:x", "127.0.0.1:5x", "127.0.0.1:65536",
        "127.0.0.1:-1", "localhost:5988", "0.0.0.0:5988", "10.0.0.1:5988", "[::]:5988",
        "[::2]:5988", "::1:5988", "[127.0.0.1]:5988", ":5988", "[]:5988"}) {
    Options options;
    EXPECT_EQ(read({"--listen", text, "a.mof"}, options), EXIT_USAGE) << text;
  }
  Options options;
  EXPECT_EQ(read({}, options), EXIT_USAGE);
  EXPECT_EQ(read({"--listen", "127.0.0.1:1"}, options), EXIT_USAGE);
  EXPECT_EQ(read({"--no-such-option", "a.mof"}, options), EXIT_USAGE);
}

TEST(Options, HelpAndVersion) {
  Options options;
  EXPECT_EQ(read({"--help"}, options), EXIT_OK);
  EXPECT_EQ(read({"--version"}, options), EXIT_OK);
}

}  // namespace
}  // namespace cimd
