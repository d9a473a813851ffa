// The rehearsal and the run of morvik, as far as they need no CIM server.
#include "publish.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "cim/client.h"

using namespace run;
namespace fs = std::filesystem;

namespace {

// What is said of a morvik that is this shell script.
std::string wordsOf(const std::string& script,
                    std::chrono::milliseconds limit = std::chrono::minutes(1)) {
  std::string name = (fs::temp_directory_path() / "morvik-publish-XXXXXX").string();
  const fs::path directory = mkdtemp(name.data());
  const fs::path program = directory / "script";
  std::ofstream(program) << "#!/bin/sh\n" << script << "\n";
  fs::permissions(program, fs::perms::owner_all);
  std::string words =
      runMorvik({.morvik = program, .directory = directory, .text = "a line\n"}, Deadline(limit));
  fs::remove_all(directory);
  return words;
}

template <typename Function>
Status failureOf(const Function& function) {
  try {
    function();
  } catch (const Failure& failure) {
    return failure.status();
  }
  return Status::good;
}

}  // namespace

TEST(Publish, NothingIsSaidOfAMorvikThatHasPublishedItsFile) {
  EXPECT_EQ(wordsOf("echo; echo 'A local copy of fru.txt is detected. MORVIK will run'; "
                    "ftp -inv && grep -q '^a line$' fru.txt"),
            "");
}

TEST(Publish, WordsAndEndOfMorvikAreSaid) {
  EXPECT_EQ(wordsOf("echo no; echo room >&2; exit 3"),
            "morvik said: no room; it ended with status 3");
  EXPECT_EQ(wordsOf("exit 3"), "morvik ended with status 3");
}

TEST(Publish, MorvikIsEndedWhenItsTimeIsUp) {
  EXPECT_EQ(wordsOf("sleep 60", std::chrono::milliseconds(200)),
            "morvik was ended, because its time was up");
}

TEST(Publish, NothingIsAskedOfTheCimServerWhenTheTimeIsUp) {
  const auto client = makeClient();  // without a connection, each request is another failure
  const Deadline past(std::chrono::seconds(0));
  const Items items = {{"FAN", "A1", "Fan", "KVAHalvoranFru1", "KVA", "1.0"}};
  EXPECT_EQ(failureOf([&] { rehearse(*client, items, 0, past); }), Status::cimServer);
  EXPECT_EQ(
      failureOf([&] { predict("\"A1\",\"FAN\",\"\",\"Fan\"\n", *client, show::Machine(), past); }),
      Status::cimServer);
}
