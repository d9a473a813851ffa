// What the file holds after the process was killed at any moment, or after bytes of it were
// changed.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <thread>

#include "store_support.h"

namespace cimd::test {
namespace {

namespace fs = std::filesystem;

// What is done to the database, and to what the test knows of it.
struct Change {
  int key;
  // Of the text that is put; negative for a removal.
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

TEST(StoreCrashTest, EveryAcknowledgedChangeIsThereAfterKill) {
  const TemporaryDirectory directory;
  const fs::path file = directory.path() / "instances.db";
  const auto seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  Rows rows;
  int changes = 0;
  const int rounds = roundsFromEnvironment("MORVIK_KILL_ROUNDS", 25);
  for (int round = 0; round < rounds && !Test::HasFailure(); ++round) {
    if (round % 5 == 0) {  // killed while it makes the file, too
      removeStore(file);
      rows.clear();
    }
    std::mt19937 replay = random;
    const int acknowledged = changesBeforeKill(file, random);
    for (int i = 0; i < acknowledged; ++i) {
      randomChange(replay).apply(rows);
    }
    // The one change that was under way may have come to its end or not.
    Rows withNext = rows;
    randomChange(replay).apply(withNext);
    const Rows found = loadFile(file);
    EXPECT_TRUE(found == rows || found == withNext)
        << "round " << round << ", " << acknowledged << " acknowledged, " << found.size()
        << " found, " << rows.size() << " expected";
    rows = found;
    random = replay;
    changes += acknowledged;
  }
  EXPECT_GT(changes, rounds);
  RecordProperty("changes", changes);
}

class DamagedFileTest : public Test {
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
    sound_ = readFile(file());
    rows_ = loadFile(file());
  }

  fs::path file() const { return directory_.path() / "instances.db"; }

  // Either the file is refused; or what is served is as it was and in its order, and every instance
  // that is missing was reported.
  void expectNothingWrong(const std::string& content) {
    removeStore(file());
    directory_.write("instances.db", content);
    Rows found;
    std::vector<std::string> warnings;
    try {
      InstanceDatabase database(file());
      found = load(database, &warnings);
      expectPart(found, warnings.size());
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

  void expectPart(const Rows& found, std::size_t warnings) {
    auto place = rows_.begin();
    for (const std::string& text : found) {
      place = std::find(place, rows_.end(), text);
      ASSERT_NE(place, rows_.end()) << "served, but never stored so: " << text.substr(0, 200);
      ++place;
    }
    EXPECT_GE(found.size() + warnings, rows_.size());
  }

  TemporaryDirectory directory_;
  std::string sound_;
  Rows rows_;
  int refused_ = 0;
  int reported_ = 0;
  int served_ = 0;
};

TEST_F(DamagedFileTest, AChangedByteIsRefusedReportedOrHarmless) {
  const auto seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  // The header byte for byte, since every one of them means something, and then anywhere.
  const std::size_t headerSize = 100;
  const auto rounds = static_cast<std::size_t>(roundsFromEnvironment("MORVIK_DAMAGE_ROUNDS", 300));
  for (std::size_t round = 0; round < headerSize + rounds && !HasFailure(); ++round) {
    std::string content = sound_;
    const std::size_t position = round < headerSize ? round : random() % content.size();
    content[position] =
        static_cast<char>(content[position] ^ static_cast<char>(1 + random() % 255));
    SCOPED_TRACE("byte " + std::to_string(position));
    expectNothingWrong(content);
  }
  EXPECT_GT(refused_, 0);
  EXPECT_GT(reported_, 0);
  EXPECT_GT(served_, 0);
}

TEST_F(DamagedFileTest, ManyChangedBytesAreRefusedReportedOrHarmless) {
  const auto seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  const int rounds = roundsFromEnvironment("MORVIK_DAMAGE_ROUNDS", 300) / 4;
  for (int round = 0; round < rounds && !HasFailure(); ++round) {
    std::string content = sound_;
    const std::size_t start = random() % content.size();
    const std::size_t end = std::min(content.size(), start + 1 + random() % 5000);
    for (std::size_t i = start; i < end; ++i) {
      content[i] = random() % 4 == 0 ? static_cast<char>(random()) : '\0';
    }
    expectNothingWrong(content);
  }
  EXPECT_GT(refused_, 0);
}

TEST_F(DamagedFileTest, ATruncatedFileIsRefusedUnlessItIsEmpty) {
  for (std::size_t size = 1; size < sound_.size(); size += 997) {
    directory_.write("instances.db", sound_.substr(0, size));
    EXPECT_NE(openError(file()), "") << size;
  }
}

}  // namespace
}  // namespace cimd::test
