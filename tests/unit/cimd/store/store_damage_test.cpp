// The content of the file after the process was killed at any moment, or after bytes of it were
// changed, and what a new store can have of it.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "store/recovery.h"
#include "store_support.h"

namespace cimd::test {
namespace {

// A change of the database, and of what the test knows of it.
struct Change {
  int key;
  // The size of the text that is put; negative for a removal.
  int size;

  std::string text() const { return std::string(static_cast<std::size_t>(size), 'x'); }

  void apply(InstanceDatabase& database) const {
    if (size < 0) {
      remove(database, numberedKey(key));
    } else {
      put(database, numberedKey(key), text());
    }
  }

  void apply(Rows& rows) const {
    const std::string prefix = std::string(storeNameSpace) + " key" + std::to_string(key) + " ";
    const auto place = std::find_if(rows.begin(), rows.end(), [&prefix](const std::string& text) {
      return text.starts_with(prefix);
    });
    if (size < 0) {
      rows.erase(place, place == rows.end() ? place : place + 1);
    } else if (place == rows.end()) {
      rows.push_back(row(numberedKey(key), text()));
    } else {
      *place = row(numberedKey(key), text());
    }
  }
};

Change randomChange(std::mt19937& random) {
  const int key = static_cast<int>(random() % 30);
  const bool isRemoval = random() % 3 == 0;
  const bool isLarge = random() % 10 == 0;
  return {key, isRemoval ? -1 : static_cast<int>(random() % (isLarge ? 200000 : 2000))};
}

// Writes a byte to the descriptor for every change that was acknowledged, until it is killed.
[[noreturn]] void changeUntilKilled(const fs::path& file, std::mt19937 random, int acknowledged) {
  try {
    InstanceDatabase database(file);
    for (;;) {
      randomChange(random).apply(database);
      if (write(acknowledged, "+", 1) != 1) {
        _exit(2);
      }
    }
  } catch (...) {
    _exit(3);
  }
}

// Lets a process change the file, kills it after about so many changes, and returns how many were
// acknowledged.
int changesBeforeKill(const fs::path& file, std::mt19937& random) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    throw std::runtime_error("no pipe");
  }
  const std::mt19937 changes = random;
  const pid_t child = fork();
  if (child == 0) {
    changeUntilKilled(file, changes, ends[1]);
  }
  close(ends[1]);
  std::mt19937 moments(static_cast<std::mt19937::result_type>(child));
  int acknowledged = 0;
  char byte = 0;
  for (auto wanted = moments() % 40; wanted > 0 && ::read(ends[0], &byte, 1) == 1; --wanted) {
    ++acknowledged;
  }
  std::this_thread::sleep_for(std::chrono::microseconds(moments() % 3000));
  kill(child, SIGKILL);
  while (::read(ends[0], &byte, 1) == 1) {
    ++acknowledged;
  }
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "status " << status;
  return acknowledged;
}

// With random numbers whose seed is part of each failure.
class RandomStoreTest : public StoreTest {
 protected:
  const std::mt19937::result_type seed_ = std::random_device()();
  const ScopedTrace trace_{__FILE__, __LINE__, "seed " + std::to_string(seed_)};
  std::mt19937 random_{seed_};
};

using StoreCrashTest = RandomStoreTest;

TEST_F(StoreCrashTest, EveryAcknowledgedChangeIsThereAfterKill) {
  Rows rows;
  int changes = 0;
  const int rounds = roundsFromEnvironment("MORVIK_KILL_ROUNDS", 25);
  for (int round = 0; round < rounds && !Test::HasFailure(); ++round) {
    if (round % 5 == 0) {  // killed while it makes the file, too
      removeStore(file());
      rows.clear();
    }
    std::mt19937 replay = random_;
    const int acknowledged = changesBeforeKill(file(), random_);
    for (int i = 0; i < acknowledged; ++i) {
      randomChange(replay).apply(rows);
    }
    // The one change that was under way may have come to its end or not.
    Rows withNext = rows;
    randomChange(replay).apply(withNext);
    const Rows found = loadFile(file());
    EXPECT_TRUE(found == rows || found == withNext)
        << "round " << round << ", " << acknowledged << " acknowledged, " << found.size()
        << " found, " << rows.size() << " expected";
    rows = found;
    random_ = replay;
    changes += acknowledged;
  }
  EXPECT_GT(changes, rounds);
  RecordProperty("changes", changes);
}

// Everything that was found was stored so, and in this order.
void expectInOrder(const Rows& found, const Rows& stored) {
  auto place = stored.begin();
  for (const std::string& text : found) {
    place = std::find(place, stored.end(), text);
    ASSERT_NE(place, stored.end()) << "never stored so: " << text.substr(0, 200);
    ++place;
  }
}

class DamagedFileTest : public RandomStoreTest {
 protected:
  DamagedFileTest() {
    {
      InstanceDatabase database(file());
      for (int i = 0; i < 40; ++i) {
        put(database, numberedKey(i),
            "text " + std::to_string(i) + std::string(static_cast<std::size_t>(i) * 10, 'y'),
            i % 3 == 0 ? "root/other" : storeNameSpace);
      }
      put(database, numberedKey(100), std::string(20000, 'z'));
      remove(database, numberedKey(7));
      put(database, numberedKey(8), "replaced");
    }
    sound_ = content();
    rows_ = loadFile(file());
  }

  // Either the file is refused; or what is served is as it was and in its order, and every instance
  // that is missing was reported.
  void expectNothingWrong(const std::string& content) {
    setContent(content);
    Rows found;
    std::vector<std::string> warnings;
    try {
      InstanceDatabase database(file());
      found = load(database, &warnings);
      expectInOrder(found, rows_);
      EXPECT_GE(found.size() + warnings.size(), rows_.size());
      for (const InstanceKey& key : {numberedKey(1), numberedKey(1000)}) {
        putError(database, key, "new");
        statusOf([&] { remove(database, key); });
      }
    } catch (const StoreError&) {
      ++refused_;
      return;
    }
    served_ += warnings.empty() ? 1 : 0;
    reported_ += warnings.empty() ? 0 : 1;
  }

  std::string sound_;
  Rows rows_;
  int refused_ = 0;
  int reported_ = 0;
  int served_ = 0;
};

TEST_F(DamagedFileTest, AChangedByteIsRefusedReportedOrHarmless) {
  // The header byte for byte, since every one of them means something, and then anywhere.
  const std::size_t headerSize = 100;
  const auto rounds = static_cast<std::size_t>(roundsFromEnvironment("MORVIK_DAMAGE_ROUNDS", 300));
  for (std::size_t round = 0; round < headerSize + rounds && !HasFailure(); ++round) {
    std::string content = sound_;
    const std::size_t position = round < headerSize ? round : random_() % content.size();
    content[position] =
        static_cast<char>(content[position] ^ static_cast<char>(1 + random_() % 255));
    SCOPED_TRACE("byte " + std::to_string(position));
    expectNothingWrong(content);
  }
  EXPECT_GT(refused_, 0);
  EXPECT_GT(reported_, 0);
  EXPECT_GT(served_, 0);
}

TEST_F(DamagedFileTest, ManyChangedBytesAreRefusedReportedOrHarmless) {
  const int rounds = roundsFromEnvironment("MORVIK_DAMAGE_ROUNDS", 300) / 4;
  for (int round = 0; round < rounds && !HasFailure(); ++round) {
    std::string content = sound_;
    const std::size_t start = random_() % content.size();
    const std::size_t end = std::min(content.size(), start + 1 + random_() % 5000);
    for (std::size_t i = start; i < end; ++i) {
      content[i] = random_() % 4 == 0 ? static_cast<char>(random_()) : '\0';
    }
    expectNothingWrong(content);
  }
  EXPECT_GT(refused_, 0);
}

TEST_F(DamagedFileTest, ATruncatedFileIsRefusedUnlessItIsEmpty) {
  for (std::size_t size = 1; size < sound_.size(); size += 997) {
    setContent(sound_.substr(0, size));
    EXPECT_NE(openError(file()), "") << size;
  }
}

class RecoveryTest : public RandomStoreTest {
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
    sound_ = content();
    rows_ = loadFile(file());
  }

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

  std::string sound_;
  Rows rows_;
  Recovery recovery_;
};

TEST_F(RecoveryTest, AStoreIsRecoveredWholeAlsoWithoutItsHeaderAndTables) {
  EXPECT_TRUE(recover(sound_) == rows_);
  EXPECT_THAT(recovery_.unreadable, IsEmpty());
  EXPECT_TRUE(recover(std::string(4096, '\0') + sound_.substr(4096)) == rows_);
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
  const int rounds = roundsFromEnvironment("MORVIK_DAMAGE_ROUNDS", 200) / 2;
  for (int round = 0; round < rounds && !HasFailure(); ++round) {
    std::string content = sound_;
    const std::size_t start = random_() % content.size();
    const std::size_t size = random_() % 3 == 0 ? 1 : random_() % 6000;
    for (std::size_t i = start; i < std::min(content.size(), start + size); ++i) {
      content[i] = static_cast<char>(random_() % 4 == 0 ? random_() : 0);
    }
    SCOPED_TRACE(std::to_string(size) + " bytes at " + std::to_string(start));
    const Rows found = recover(content);
    // Not in their order, for an id may be damaged.
    EXPECT_THAT(found, IsSubsetOf(rows_));
    EXPECT_TRUE(found.size() == rows_.size() || !recovery_.unreadable.empty());
  }
}

// Only the index knows which of the two it is.
TEST_F(RecoveryTest, ARowWithTheIdOfAnotherOneReplacesNothing) {
  std::string content = sound_;
  // Before the text are the eight bytes of the row's header, and before them its id: 135.
  char& lastOfId = content.at(content.find("root/kvasdkey134KVAXDT_FRU") - 9);
  ASSERT_EQ(lastOfId, 7);
  lastOfId = 0;
  EXPECT_TRUE(recover(content) == rows_);
  EXPECT_THAT(recovery_.unreadable, IsEmpty());
}

TEST_F(RecoveryTest, WhetherAnInstanceIsSavedIsKnownByItsId) {
  // A name that is damaged in the index alone: its row has it, too.
  std::string content = sound_;
  std::size_t name = content.find("root/kvasdkey134");
  while (content.compare(name + 16, 10, "KVAXDT_FRU") == 0) {
    name = content.find("root/kvasdkey134", name + 1);
    ASSERT_NE(name, std::string::npos);
  }
  content[name + 9] = 'G';
  EXPECT_TRUE(recover(content) == rows_);
  EXPECT_THAT(recovery_.unreadable, IsEmpty());
  // A row with the name, but with an id that the index does not have: it may have been deleted.
  content = sound_;
  content.at(content.find("root/kvasdkey134KVAXDT_FRU") - 10) = '\x8F';
  recover(content);
  ASSERT_EQ(recovery_.unreadable.size(), 1U);
  EXPECT_TRUE(recovery_.unreadable[0].starts_with("instance 135 ")) << recovery_.unreadable[0];
}

TEST_F(RecoveryTest, AChangeThatWasNotCompletedIsUndone) {
  inChild([this] {
    sqlite::Connection database(file().string(), 1 << 20);
    database.execute("PRAGMA cache_size = 1");  // pages go to the file before the end
    database.execute("BEGIN");
    database.execute("DELETE FROM instance");
    _exit(0);
  });
  ASSERT_NE(readFile(journal())[0], '\0');
  const std::string content = readFile(file());
  ASSERT_FALSE(content == sound_);
  EXPECT_TRUE(recover(content) == rows_);
  EXPECT_THAT(recovery_.unreadable, IsEmpty());
}

TEST_F(RecoveryTest, NothingIsOverwrittenOrTakenFromAnythingElse) {
  const std::string missing = (directory_.path() / "missing.db").string();
  EXPECT_THAT([&] { recoverStore(missing, target()); },
              ThrowsMessage<StoreError>("cannot open " + missing + ": No such file or directory"));
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
