#include "store/recovery.h"

#include <algorithm>
#include <random>

#include "store_support.h"

namespace cimd::test {
namespace {

namespace fs = std::filesystem;

class RecoveryTest : public Test {
 protected:
  RecoveryTest() {
    {
      InstanceDatabase database(file());
      for (int i = 0; i < 200; ++i) {
        put(database, numberedKey(i), std::string(static_cast<std::size_t>(10 + i * 3), 'x'));
      }
      put(database, numberedKey(300), std::string(100000, 'z'));
      put(database, InstanceKey(3000, u'k'), "long key");
      for (int i = 0; i < 200; i += 7) {
        remove(database, numberedKey(i));
      }
      put(database, numberedKey(8), std::string(20000, 'y'));
    }
    sound_ = readFile(file());
    rows_ = loadFile(file());
  }

  fs::path file() const { return directory_.path() / "instances.db"; }
  fs::path target() const { return directory_.path() / "new.db"; }

  // Recovers from a file with this content, and returns what the new store holds.
  Rows recover(const std::string& content) {
    removeStore(target());
    directory_.write("instances.db", content);
    recovery_ = recoverStore(file(), target());
    EXPECT_TRUE(readFile(file()) == content) << "the damaged store was changed";
    Rows found = loadFile(target());
    EXPECT_EQ(found.size(), recovery_.instances);
    return found;
  }

  TemporaryDirectory directory_;
  std::string sound_;
  Rows rows_;
  Recovery recovery_;
};

TEST_F(RecoveryTest, ASoundStoreIsRecoveredWhole) {
  EXPECT_TRUE(recover(sound_) == rows_);
  EXPECT_THAT(recovery_.unreadable, IsEmpty());
}

TEST_F(RecoveryTest, WithoutItsHeaderAndTablesItIsRecoveredWhole) {
  std::string content = sound_;
  std::fill_n(content.begin(), 4096, '\0');
  EXPECT_TRUE(recover(content) == rows_);
  EXPECT_THAT(recovery_.unreadable, ElementsAre("page 1 of the file"));
}

TEST_F(RecoveryTest, AChangedTextIsReportedWithTheNameOfItsInstance) {
  std::string content = sound_;
  content[content.find("zzzz") + 50000] = 'q';
  Rows expected = rows_;
  std::erase_if(expected, [](const std::string& text) { return text.find("zzzz") != text.npos; });
  EXPECT_TRUE(recover(content) == expected);
  EXPECT_THAT(recovery_.unreadable, ElementsAre("instance 201 (root/kvasd, key300)"));
}

TEST_F(RecoveryTest, WhatIsMissingAtTheEndIsReported) {
  const Rows found = recover(sound_.substr(0, sound_.size() / 2));
  EXPECT_LT(found.size(), rows_.size());
  EXPECT_THAT(found, Not(IsEmpty()));
  EXPECT_THAT(recovery_.unreadable, Contains(HasSubstr("pages that are missing at the end")));
}

TEST_F(RecoveryTest, WhateverIsDamagedWhatIsRecoveredWasStoredAndTheRestIsReported) {
  const auto seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  const int rounds = roundsFromEnvironment("MORVIK_DAMAGE_ROUNDS", 200) / 2;
  for (int round = 0; round < rounds && !HasFailure(); ++round) {
    std::string content = sound_;
    const std::size_t start = random() % content.size();
    const std::size_t size = random() % 3 == 0 ? 1 : random() % 6000;
    for (std::size_t i = start; i < std::min(content.size(), start + size); ++i) {
      content[i] = static_cast<char>(random() % 4 == 0 ? random() : 0);
    }
    SCOPED_TRACE(std::to_string(size) + " bytes at " + std::to_string(start));
    const Rows found = recover(content);
    auto place = rows_.begin();
    for (const std::string& text : found) {
      place = std::find(place, rows_.end(), text);
      ASSERT_NE(place, rows_.end()) << "never stored so: " << text.substr(0, 200);
      ++place;
    }
    EXPECT_TRUE(found.size() == rows_.size() || !recovery_.unreadable.empty());
  }
}

TEST_F(RecoveryTest, AChangeThatWasNotCompletedIsUndone) {
  const fs::path journal = file().string() + "-journal";
  inChild([this] {
    sqlite::Connection database(file().string(), 1 << 20);
    database.execute("PRAGMA cache_size = 1");  // pages go to the file before the end
    database.execute("BEGIN");
    database.execute("DELETE FROM instance");
    _exit(0);
  });
  ASSERT_NE(readFile(journal)[0], '\0');
  const std::string content = readFile(file());
  ASSERT_FALSE(content == sound_);
  EXPECT_TRUE(recover(content) == rows_);
  EXPECT_THAT(recovery_.unreadable, IsEmpty());
}

TEST_F(RecoveryTest, NothingIsOverwrittenOrTakenFromAnythingElse) {
  EXPECT_THROW(recoverStore(directory_.path() / "missing.db", target()), StoreError);
  directory_.write("text", "These are my notes.");
  EXPECT_THROW(recoverStore(directory_.path() / "text", target()), StoreError);
  EXPECT_FALSE(fs::exists(target()));
  directory_.write("new.db", "mine");
  EXPECT_THROW(recoverStore(file(), target()), StoreError);
  EXPECT_EQ(readFile(target()), "mine");
  fs::remove(target());
  inChild([this] {
    const InstanceDatabase database(file());
    // A process does not see its own locks.
    inChild([this] { EXPECT_THROW(recoverStore(file(), target()), StoreError); });
  });
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(directory_.path())) {
    names.push_back(entry.path().filename().string());
  }
  EXPECT_THAT(names, UnorderedElementsAre("instances.db", "instances.db-journal", "text"));
}

}  // namespace
}  // namespace cimd::test
