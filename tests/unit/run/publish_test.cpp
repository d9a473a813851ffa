// Which data files are refused before anything is deleted, how entries are compared, and the run of
// morvik, as far as that needs no CIM server.
#include "publish.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "cim/client.h"
#include "failure.h"

using namespace run;
namespace fs = std::filesystem;

namespace {

// The words about a morvik that is this shell script.
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

Item fanOf(const std::string& number, const std::string& description = "Fan") {
  return {"FAN", number, description, "KVAHalvoranFru1", "KVA", "1.0"};
}

show::Entry entry(const char* number) {
  show::Entry entry;
  entry.fruNumber = "F1";
  entry.identifyingNumber = number;
  entry.isOurs = std::string(number).starts_with("KVAHalvoranFru");
  return entry;
}

}  // namespace

TEST(Judge, OnlyAWholeTextPasses) {
  EXPECT_EQ(failureOf([] { checkForm("# x\n"); }).first, Status::good);
  EXPECT_EQ(failureOf([] { checkForm("# x"); }),
            Words(Status::refused, "its last line has no newline, so it is probably cut short"));
}

TEST(Judge, ShareIsOfTheEntriesBeforeAndNoEntryIsNeverEnough) {
  struct Case {
    std::size_t predicted;
    std::size_t before;
    double share;
    bool isEnough;
  };
  for (const Case& each : {Case{1, 0, 0.5, true}, Case{2, 4, 0.5, true}, Case{1, 4, 0.5, false},
                           Case{3, 5, 0.5, true}, Case{2, 5, 0.5, false}, Case{4, 5, 1, false},
                           Case{1, 1000, 0, true}, Case{0, 0, 0, false}, Case{0, 4, 0, false}}) {
    EXPECT_EQ(failureOf([&] {
                checkShare({Items(each.predicted), ""}, each.before, each.share);
              }).first,
              each.isEnough ? Status::good : Status::refused)
        << each.predicted << " of " << each.before;
  }
  EXPECT_EQ(failureOf([] {
              checkShare({{}, "line 2: no such clock"}, 0, 0);
            }).second,
            "no entry of it would be published on this machine; line 2: no such clock");
}

TEST(Judge, EqualItemsAreCounted) {
  const Items two = {fanOf("A1"), fanOf("A1")};
  const Items one = {fanOf("A1")};
  EXPECT_EQ(missingFrom(one, two), one);
  EXPECT_EQ(missingFrom(two, one), Items());
  EXPECT_EQ(missingFrom({fanOf("A1", "Old")}, one), one);
}

TEST(Judge, OnlyOwnEntriesCount) {
  const Items items = ownItems({entry("KVAHalvoranFru1"), entry("Other1")});
  ASSERT_EQ(items.size(), 1U);
  EXPECT_EQ(items[0].identifyingNumber, "KVAHalvoranFru1");
  EXPECT_EQ(items[0].description, "");
}

TEST(Publish, MorvikThatHasPublishedItsFileGivesNoWords) {
  EXPECT_EQ(wordsOf("echo; echo 'A local copy of fru.txt is detected. MORVIK will run'; "
                    "ftp -inv && grep -q '^a line$' fru.txt"),
            "");
}

TEST(Publish, MessagesAndStatusOfMorvikAreReported) {
  EXPECT_EQ(wordsOf("echo no; echo room >&2; exit 3"),
            "morvik said: no room; it ended with status 3");
  EXPECT_EQ(wordsOf("exit 3"), "morvik ended with status 3");
}

TEST(Publish, MorvikIsEndedWhenItsTimeIsUp) {
  EXPECT_EQ(wordsOf("sleep 60", std::chrono::milliseconds(200)),
            "morvik was ended, because its time was up");
}

TEST(Publish, CimServerIsNotAskedWhenTheTimeIsUp) {
  const auto client = makeClient();  // without a connection, each request is another failure
  const Deadline past(std::chrono::seconds(0));
  const Items items = {{"FAN", "A1", "Fan", "KVAHalvoranFru1", "KVA", "1.0"}};
  EXPECT_EQ(failureOf([&] { rehearse(*client, items, 0, past); }).first, Status::cimServer);
  EXPECT_EQ(failureOf([&] {
              predict("\"A1\",\"FAN\",\"\",\"Fan\"\n", *client, show::Machine(), past);
            }).first,
            Status::cimServer);
}
