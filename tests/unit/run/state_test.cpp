// The memory from run to run.
#include "state.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "failure.h"

using namespace run;
namespace fs = std::filesystem;

namespace {

class StateTest : public ::testing::Test {
 protected:
  StateTest() {
    std::string name = (fs::temp_directory_path() / "morvik-state-XXXXXX").string();
    directory_ = mkdtemp(name.data());
  }
  ~StateTest() override { fs::remove_all(directory_); }
  StateTest(const StateTest&) = delete;
  StateTest& operator=(const StateTest&) = delete;
  StateTest(StateTest&&) = delete;
  StateTest& operator=(StateTest&&) = delete;

  std::string read(const char* name) const {
    std::ostringstream text;
    text << std::ifstream(directory_ / name).rdbuf();
    return text.str();
  }
  void write(const char* name, const std::string& text) const {
    std::ofstream(directory_ / name) << text;
  }

  fs::path directory_;
};

Good goodRun() {
  Good good;
  good.finished = "2026-01-01T00:00:00Z";
  good.source = "https://parts.example.com/1234wpk.txt";
  good.text = "a line\n";
  good.entries = 3;
  good.version = {"\"tag\"", "a date"};
  good.signatureTime = 1767225600;
  return good;
}

Report changed(const std::string& number) {
  Report report;
  report.before = Items();
  report.published = Items{{"FAN", number, "Fan", "KVAHalvoranFru1", "KVA", "1.0"}};
  return report;
}

std::size_t linesIn(const std::string& text) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

}  // namespace

TEST_F(StateTest, GoodRunIsRemembered) {
  State(directory_).remember(Report(), goodRun());
  const State state(directory_);
  ASSERT_TRUE(state.good());
  EXPECT_EQ(state.good()->source, goodRun().source);
  EXPECT_EQ(state.good()->text, "a line\n");
  EXPECT_EQ(state.good()->entries, 3U);
  EXPECT_EQ(state.good()->version.etag, "\"tag\"");
  EXPECT_EQ(state.good()->version.lastModified, "a date");
  EXPECT_EQ(state.good()->signatureTime, 1767225600);
}

TEST_F(StateTest, FailedRunKeepsTheGoodOne) {
  State(directory_).remember(Report(), goodRun());
  Report failed;
  failed.status = Status::refused;
  State(directory_).remember(failed, std::nullopt);
  const State state(directory_);
  ASSERT_TRUE(state.good());
  EXPECT_EQ(state.good()->finished, "2026-01-01T00:00:00Z");
  EXPECT_NE(read("status.json").find("\"result\":\"refused\""), std::string::npos);
}

TEST_F(StateTest, DataFileIsNotWrittenAgainIfItIsTheSame) {
  State(directory_).remember(Report(), goodRun());
  struct stat first = {};
  struct stat second = {};
  ASSERT_EQ(stat((directory_ / "fru.good.txt").c_str(), &first), 0);
  State(directory_).remember(Report(), goodRun());
  ASSERT_EQ(stat((directory_ / "fru.good.txt").c_str(), &second), 0);
  EXPECT_EQ(first.st_ino, second.st_ino);
}

TEST_F(StateTest, NegativeNumberOfEntriesIsNone) {
  State(directory_).remember(Report(), goodRun());
  std::string status = read("status.json");
  write("status.json", status.replace(status.find("\"entries\":3"), 11, "\"entries\":-3"));
  const State state(directory_);
  ASSERT_TRUE(state.good());
  EXPECT_EQ(state.good()->entries, 0U);
  EXPECT_EQ(state.good()->text, "a line\n");
}

// A run that ended between the two files has left a newer data file than the status knows.
TEST_F(StateTest, UnknownDataFileIsGoodButHasNoVersion) {
  State(directory_).remember(Report(), goodRun());
  write("fru.good.txt", "another line\n");
  const State state(directory_);
  ASSERT_TRUE(state.good());
  EXPECT_EQ(state.good()->text, "another line\n");
  EXPECT_EQ(state.good()->source, "");
  EXPECT_EQ(state.good()->entries, 0U);
  EXPECT_EQ(state.good()->version.etag, "");
  EXPECT_EQ(state.good()->signatureTime, 1767225600);
}

TEST_F(StateTest, DirectoryIsLocked) {
  const State state(directory_);
  EXPECT_EQ(failureOf([&] { const State second(directory_); }).first, Status::badUse);
}

TEST_F(StateTest, FilesOfRootBelongToTheOwnerOfTheDirectory) {
  if (geteuid() != 0 || chown(directory_.c_str(), 65534, 65534) != 0) {
    GTEST_SKIP() << "needs root and a second account";
  }
  const State state(directory_);
  state.emptyWorkDirectory();
  state.beginPublishing({});
  for (const char* name : {"lock", "work", "publishing"}) {
    struct stat status = {};
    ASSERT_EQ(stat((directory_ / name).c_str(), &status), 0) << name;
    EXPECT_EQ(status.st_uid, 65534U) << name;
  }
}

// Whoever owns the directory could link a file of root there.
TEST_F(StateTest, FilesWithSeveralLinksKeepTheirOwner) {
  if (geteuid() != 0 || chown(directory_.c_str(), 65534, 65534) != 0) {
    GTEST_SKIP() << "needs root and a second account";
  }
  write("victim", "text");
  fs::create_hard_link(directory_ / "victim", directory_ / "lock");
  const State state(directory_);
  struct stat status = {};
  ASSERT_EQ(stat((directory_ / "victim").c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, 0U);
}

TEST_F(StateTest, InterruptionIsSeenByTheNextRun) {
  {
    State state(directory_);
    EXPECT_FALSE(state.isInterrupted());
    state.beginPublishing({});
    state.endPublishing();  // but not remembered
  }
  State next(directory_);
  EXPECT_TRUE(next.isInterrupted());
  next.remember(Report(), std::nullopt);
  EXPECT_TRUE(next.isInterrupted()) << "what is published may not be whole";
  next.endPublishing();
  next.remember(Report(), std::nullopt);
  EXPECT_FALSE(next.isInterrupted());
}

TEST_F(StateTest, InterruptionIsForgottenOnlyAfterItsChangeIsInTheHistory) {
  State state(directory_);
  state.beginPublishing({});
  state.endPublishing();
  fs::create_directory(directory_ / "history.jsonl");
  EXPECT_THROW(state.remember(changed("A1"), std::nullopt), Failure);
  EXPECT_TRUE(state.isInterrupted());
}

TEST_F(StateTest, ChangeOfAnInterruptedRunIsRememberedOnce) {
  Report next = changed("B1");
  next.before = next.published;
  State(directory_).beginPublishing(*changed("A1").published);
  // Interrupted again, before the change could be remembered.
  State(directory_).beginPublishing(*next.before);
  for (int runs = 0; runs < 2; ++runs) {
    State(directory_).remember(next, std::nullopt);
    const std::string history = read("history.jsonl");
    EXPECT_EQ(linesIn(history), 1U);
    EXPECT_NE(history.find(R"("added":[{"category":"FAN","fruNumber":"B1")"), std::string::npos);
    EXPECT_NE(history.find(R"("removed":[{"category":"FAN","fruNumber":"A1")"), std::string::npos);
  }
}

TEST_F(StateTest, DirectoryIsNotMadeForARunThatIsNotRemembered) {
  const fs::path missing = directory_ / "missing";
  std::string work;
  {
    const State state(missing, false);
    work = state.emptyWorkDirectory();
    EXPECT_TRUE(fs::is_empty(work));
  }
  EXPECT_FALSE(fs::exists(work) || fs::exists(fs::path(work).parent_path()));
  EXPECT_FALSE(fs::exists(missing));
  { const State state(directory_, false); }
  EXPECT_TRUE(fs::exists(directory_ / "lock")) << "locked if it is there";
}

TEST_F(StateTest, WorkDirectoryIsEmptyAndRemoved) {
  {
    const State state(directory_);
    std::ofstream(state.emptyWorkDirectory() + "/fru.txt") << "text";
    EXPECT_TRUE(fs::is_empty(state.emptyWorkDirectory()));
  }
  EXPECT_FALSE(fs::exists(directory_ / "work"));
}

TEST_F(StateTest, HistoryHasOnlyChangesAndIsBounded) {
  State state(directory_);
  state.remember(Report(), std::nullopt);
  EXPECT_EQ(read("history.jsonl"), "");
  std::string old = "[\"the oldest\"]\n";
  for (int number = 0; number < 199; ++number) {
    old += "[\"a line\"]\n";
  }
  write("history.jsonl", old);
  state.remember(changed("A1"), std::nullopt);
  const std::string history = read("history.jsonl");
  EXPECT_EQ(linesIn(history), 200U);
  EXPECT_NE(history.find("\"fruNumber\":\"A1\""), std::string::npos);
  EXPECT_EQ(history.find("the oldest"), std::string::npos);
  state.remember(changed(std::string(1048576, 'x')), std::nullopt);
  EXPECT_EQ(linesIn(read("history.jsonl")), 1U);
}

TEST_F(StateTest, DamagedLinesOfTheHistoryAreDropped) {
  write("history.jsonl", "[1]\nthe oldest\n[2");
  State(directory_).remember(changed("A1"), std::nullopt);
  const std::string history = read("history.jsonl");
  EXPECT_EQ(linesIn(history), 2U);
  EXPECT_EQ(history.find("[1]\n{"), 0U);
}

TEST_F(StateTest, FileThatCannotBeWrittenStaysAsItWas) {
  write("file", "old");
  fs::create_directory(directory_ / "file.tmp");
  EXPECT_THROW(writeAtomically((directory_ / "file").string(), "new"), Failure);
  EXPECT_EQ(read("file"), "old");
  fs::remove(directory_ / "file.tmp");
  writeAtomically((directory_ / "file").string(), "new");
  EXPECT_EQ(read("file"), "new");
  EXPECT_FALSE(fs::exists(directory_ / "file.tmp"));
}

TEST_F(StateTest, FileThatDidNotFitLeavesNothing) {
  write("file", "old");
  rlimit before = {};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit small = {100, before.rlim_max};
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &small);
  EXPECT_THROW(writeAtomically((directory_ / "file").string(), std::string(1000, 'x')), Failure);
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(read("file"), "old");
  EXPECT_FALSE(fs::exists(directory_ / "file.tmp"));
}

TEST_F(StateTest, SymbolicLinksAreNotFollowed) {
  write("victim", "text");
  fs::create_symlink("victim", directory_ / "file.tmp");
  EXPECT_THROW(writeAtomically((directory_ / "file").string(), "new"), Failure);
  EXPECT_EQ(read("victim"), "text");
  fs::create_symlink("victim", directory_ / "lock");
  EXPECT_THROW(State{directory_}, Failure);
}

TEST_F(StateTest, WrittenFilesAreReadableByEverybody) {
  const mode_t before = umask(077);
  writeAtomically((directory_ / "file").string(), "text");
  umask(before);
  EXPECT_EQ(fs::status(directory_ / "file").permissions(), fs::perms(0644));
}
