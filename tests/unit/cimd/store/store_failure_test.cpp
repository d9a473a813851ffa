// Disks that do not do what they are asked.
#include <errno.h>
#include <fcntl.h>
#include <sched.h>
#include <sqlite3.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <new>
#include <random>

#include "store_support.h"

namespace {

// Stands between SQLite and the system. Counts down to the call that fails; 0 lets all succeed.
struct Disk {
  int failingWrite = 0;
  int failingSync = 0;
  int cause = EIO;
  bool hasUnsyncedWrites = false;
  int syncs = 0;
  int failures = 0;
  // Called before each call, if there is one.
  std::function<void()> observer;
};
Disk disk;

void observe() {
  if (disk.observer) {
    disk.observer();
  }
}

bool failsNow(int& countdown) {
  if (countdown == 0 || --countdown > 0) {
    return false;
  }
  errno = disk.cause;
  ++disk.failures;
  return true;
}

// Without the real call: no test here switches the machine off.
int syncFile() {
  observe();
  if (failsNow(disk.failingSync)) {
    return -1;
  }
  ++disk.syncs;
  disk.hasUnsyncedWrites = false;
  return 0;
}

ssize_t writeAt(int descriptor, const void* data, size_t size, off_t offset) {
  observe();
  if (failsNow(disk.failingWrite)) {
    return -1;
  }
  disk.hasUnsyncedWrites = true;
  return pwrite(descriptor, data, size, offset);
}

}  // namespace

// These take the place of the C library's, for SQLite too.
extern "C" int fsync(int /*descriptor*/) {
  return syncFile();
}
extern "C" int fdatasync(int /*descriptor*/) {
  return syncFile();
}

namespace cimd::test {
namespace {

class StoreFailureTest : public StoreTest {
 protected:
  StoreFailureTest() {
    disk = Disk();
    sqlite3_vfs* const system = sqlite3_vfs_find(nullptr);
    for (const char* name : {"pwrite", "pwrite64"}) {
      if (system->xGetSystemCall(system, name) != nullptr) {
        system->xSetSystemCall(system, name, reinterpret_cast<sqlite3_syscall_ptr>(writeAt));
      }
    }
  }
  ~StoreFailureTest() override {
    sqlite3_vfs* const system = sqlite3_vfs_find(nullptr);
    system->xSetSystemCall(system, nullptr, nullptr);
  }
};

TEST_F(StoreFailureTest, NoChangeIsAcknowledgedBeforeItIsOnTheDisk) {
  InstanceDatabase database(file());
  EXPECT_FALSE(disk.hasUnsyncedWrites);
  for (int i = 0; i < 20; ++i) {
    const int syncs = disk.syncs;
    put(database, numberedKey(i % 7), std::string(static_cast<std::size_t>(i) * 1000, 'x'));
    EXPECT_FALSE(disk.hasUnsyncedWrites) << i;
    EXPECT_GT(disk.syncs, syncs) << i;
    const int syncsOfPut = disk.syncs;
    remove(database, numberedKey(i % 5));
    EXPECT_FALSE(disk.hasUnsyncedWrites) << i;
    EXPECT_GT(disk.syncs, syncsOfPut - (i % 7 == i % 5 ? 0 : 1)) << i;
  }
}

using Failing = int Disk::*;

// Lets every single write, and then every single sync, of a change fail.
class FailingCallTest : public StoreFailureTest, public WithParamInterface<int> {};

TEST_P(FailingCallTest, AFailedChangeLeavesNothingAndTheNextOneWorks) {
  for (const Failing failing : {&Disk::failingWrite, &Disk::failingSync}) {
    removeStore(file());
    InstanceDatabase database(file());
    put(database, u"a", "one");
    put(database, u"b", "two");
    const Rows before = load(database);
    const std::string large(20000, 'x');
    int failures = 0;
    for (int call = 1;; ++call) {
      disk.*failing = call;
      disk.cause = GetParam();
      const std::string error = putError(database, u"a", large);
      if (error.empty()) {
        break;
      }
      ++failures;
      EXPECT_THAT(error, HasSubstr("CIM_ERR_FAILED: cannot store the instance in "));
      EXPECT_EQ(load(database), before) << call;
      disk.*failing = 1;
      EXPECT_EQ(statusOf([&] { remove(database, u"b"); }), CIM_ERR_FAILED);
      EXPECT_EQ(load(database), before) << call;
      disk.*failing = 0;
      put(database, u"c", "three");
      remove(database, u"c");
      EXPECT_EQ(load(database), before) << call;
    }
    EXPECT_GT(failures, 0);
    disk.*failing = 0;
    EXPECT_THAT(load(database), ElementsAre(row(u"a", large), row(u"b", "two")));
  }
  EXPECT_EQ(loadFile(file()).size(), 2U);
}

INSTANTIATE_TEST_SUITE_P(Causes, FailingCallTest, Values(EIO, ENOSPC, EFBIG));

TEST_F(StoreFailureTest, TheErrorNamesFileAndCause) {
  InstanceDatabase database(file());
  disk.failingWrite = 1;
  disk.cause = ENOSPC;
  EXPECT_EQ(putError(database, u"a", "one"), "CIM_ERR_FAILED: cannot store the instance in " +
                                                 file().string() + ": no space left on the disk");
  disk.failingSync = 1;
  disk.cause = EIO;
  EXPECT_THAT(putError(database, u"a", "one"), HasSubstr(": disk I/O error: Input/output error"));
}

TEST_F(StoreFailureTest, AFailureWhileTheFileIsMadeIsAnErrorAndTheNextTryWorks) {
  for (const Failing failing : {&Disk::failingWrite, &Disk::failingSync}) {
    int failures = 0;
    for (int call = 1;; ++call) {
      removeStore(file());
      disk.*failing = call;
      const std::string error = openError(file());
      disk.*failing = 0;
      if (error.empty()) {
        break;
      }
      ++failures;
      EXPECT_THAT(error, HasSubstr("instances.db: "));
      InstanceDatabase database(file());
      put(database, u"a", "one");
    }
    EXPECT_GT(failures, 0);
  }
}

// The costs of a change that docs/dev/performance.md names.
TEST_F(StoreFailureTest, AChangeTakesFourSyncs) {
  InstanceDatabase database(file());
  put(database, u"a", "one");
  for (const char* text : {"two", "three"}) {
    const int syncs = disk.syncs;
    put(database, u"a", text);
    EXPECT_EQ(disk.syncs - syncs, 4);
  }
}

// The file and its journal as a crash leaves them.
struct Image {
  std::string file;
  std::string journal;
};

// Every state that the files have while a change is made, and what is done to them afterwards.
class CrashImageTest : public StoreFailureTest {
 protected:
  // The states of the files during the change; before_ and after_ are what they then hold.
  template <typename Change>
  std::vector<Image> imagesOf(Change change) {
    std::vector<Image> images;
    removeStore(file());
    {
      InstanceDatabase database(file());
      for (int i = 0; i < 60; ++i) {
        put(database, numberedKey(i), std::string(static_cast<std::size_t>(100 + i * 20), 'x'));
      }
      before_ = load(database);
      disk.observer = [&] { images.push_back({readFile(file()), readFile(journal())}); };
      change(database);
      disk.observer = nullptr;
      after_ = load(database);
    }
    EXPECT_NE(before_, after_);
    return images;
  }

  // The outcome with these files: either the change was made or it was not, or there is a message.
  void judge(const Image& image, bool isJournalRemoved, bool isDamaged) {
    setContent(image.file);
    if (!isJournalRemoved) {
      directory_.write("instances.db-journal", image.journal);
    }
    std::vector<std::string> warnings;
    try {
      const Rows found = loadFile(file(), &warnings);
      if (warnings.empty()) {
        EXPECT_TRUE(found == before_ || found == after_) << "a loss without a message";
      } else {
        ++reported_;
      }
    } catch (const StoreError& error) {
      ++reported_;
      EXPECT_TRUE(isDamaged) << error.what();
    }
    EXPECT_TRUE(isDamaged || warnings.empty());
  }

  void judgeAll(const std::vector<Image>& images) {
    std::mt19937 random(static_cast<std::mt19937::result_type>(images.size()));
    const int rounds = roundsFromEnvironment("MORVIK_DAMAGE_ROUNDS", 100) / 50;
    ASSERT_GT(images.size(), 8U);
    for (const Image& image : images) {
      judge(image, false, false);
      judge(image, true, true);
      ++removed_;
      for (int round = 0; round < rounds; ++round) {
        // The part that is in use is at the beginning.
        Image damaged = image;
        char& byte = damaged.journal[random() % (round % 2 == 0 ? 64 : 40000)];
        byte = static_cast<char>(byte ^ static_cast<char>(1U << random() % 8));
        judge(damaged, false, true);
        damaged = image;
        damaged.journal.resize(random() % 40000);
        judge(damaged, false, true);
        damaged_ += 2;
      }
    }
  }

  Rows before_;
  Rows after_;
  int reported_ = 0;
  int damaged_ = 0;
  int removed_ = 0;
};

TEST_F(CrashImageTest, ADamagedOrRemovedJournalLosesNothingWithoutAMessage) {
  judgeAll(imagesOf([](InstanceDatabase& database) { put(database, u"new", "new"); }));
  judgeAll(imagesOf(
      [](InstanceDatabase& database) { put(database, numberedKey(30), std::string(30000, 'y')); }));
  judgeAll(imagesOf([](InstanceDatabase& database) { remove(database, numberedKey(20)); }));
  EXPECT_GT(reported_, 0);
  RecordProperty("damaged", damaged_);
  RecordProperty("removed", removed_);
}

TEST_F(CrashImageTest, ADamagedJournalInUseIsReportedWithTheNumberOfChanges) {
  std::vector<std::string> warnings;
  for (Image image : imagesOf([](InstanceDatabase& database) { put(database, u"new", "new"); })) {
    if (image.journal[0] != '\0') {
      // Before a page of the file was written, so that the rest is sound.
      image.journal[1] = 'x';
      setContent(image.file);
      directory_.write("instances.db-journal", image.journal);
      EXPECT_EQ(loadFile(file(), &warnings), before_);
      break;
    }
  }
  EXPECT_THAT(warnings, ElementsAre(journal().string() + " is damaged: 1 change, which was not "
                                                         "acknowledged, cannot be undone"));
}

// The kernel's own limits, in another process.

// Mounts a small file system over the directory, which only this process sees.
bool mountSmall(const fs::path& directory, const char* size = "512k") {
  const auto user = getuid();
  const auto group = getgid();
  if (unshare(user == 0 ? CLONE_NEWNS : CLONE_NEWUSER | CLONE_NEWNS) != 0) {
    return false;
  }
  if (user != 0) {
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
    std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
  }
  return mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) == 0 &&
         mount("tmpfs", directory.c_str(), "tmpfs", 0, (std::string("size=") + size).c_str()) == 0;
}

TEST_F(StoreFailureTest, AFullDiskIsAnErrorUntilThereIsSpaceAgain) {
  inChild([this] {
    if (!mountSmall(directory_.path())) {
      GTEST_SKIP() << "this process may not mount file systems";
    }
    const fs::path filler = directory_.path() / "filler";
    Rows expected;
    {
      InstanceDatabase database(file());
      put(database, u"a", "one");
      expected.push_back(row(u"a", "one"));
      std::ofstream(filler) << std::string(1 << 20, 'x');
      std::string error;
      for (int i = 0; i < 100 && error.empty(); ++i) {
        error = putError(database, numberedKey(i), std::string(10000, 'x'));
        if (error.empty()) {
          expected.push_back(row(numberedKey(i), std::string(10000, 'x')));
        }
      }
      EXPECT_THAT(error, HasSubstr(": no space left on the disk"));
      EXPECT_EQ(load(database), expected);
      fs::remove(filler);
      put(database, u"b", "two");
      expected.push_back(row(u"b", "two"));
    }
    EXPECT_EQ(loadFile(file()), expected);
    std::ofstream(filler) << std::string(1 << 20, 'x');
    EXPECT_EQ(openError(directory_.path() / "second.db"), "second.db: no space left on the disk");
  });
}

TEST_F(StoreFailureTest, EverythingCanBeDeletedFromAFullDisk) {
  inChild([this] {
    if (!mountSmall(directory_.path(), "4m")) {
      GTEST_SKIP() << "this process may not mount file systems";
    }
    std::mt19937 random(7);
    InstanceDatabase database(file());
    std::vector<InstanceKey> keys;
    for (int failures = 0; failures < 40;) {
      const InstanceKey key =
          numberedKey(static_cast<int>(keys.size())) +
          InstanceKey(random() % 8 == 0 ? random() % 5000 : random() % 50, u'k');
      const std::string text(random() % 20 == 0 ? random() % 100000 : random() % 3000, 'x');
      if (putError(database, key, text).empty()) {
        keys.push_back(key);
      } else {
        ++failures;
      }
    }
    std::ofstream(directory_.path() / "filler") << std::string(4 << 20, 'x');
    EXPECT_GT(keys.size(), 300U);
    std::shuffle(keys.begin(), keys.end(), random);
    for (const InstanceKey& key : keys) {
      EXPECT_EQ(statusOf([&] { remove(database, key); }), CIM_ERR_SUCCESS);
    }
    EXPECT_TRUE(load(database).empty());
    while (database.returnSpace()) {
    }
    EXPECT_LT(fs::file_size(file()), 100000U);
  });
}

// The transport answers that with HTTP status 500; it is not a fault of the store.
TEST_F(StoreFailureTest, LackOfMemoryIsNotAnErrorOfTheStore) {
  InstanceDatabase database(file());
  put(database, u"a", "one");
  const sqlite3_int64 before = sqlite3_hard_heap_limit64(sqlite3_memory_used() + 10000);
  EXPECT_THROW(put(database, u"b", std::string(1 << 20, 'x')), std::bad_alloc);
  sqlite3_hard_heap_limit64(before);
  put(database, u"b", "two");
  EXPECT_THAT(load(database), ElementsAre(row(u"a", "one"), row(u"b", "two")));
}

TEST_F(StoreFailureTest, AFileThatWasMovedOrReplacedIsAnError) {
  InstanceDatabase database(file());
  put(database, u"a", "one");
  const fs::path elsewhere = directory_.path() / "elsewhere.db";
  fs::rename(file(), elsewhere);
  EXPECT_THAT(putError(database, u"b", "two"), HasSubstr(": the file was moved or removed"));
  directory_.write("instances.db", "another");
  EXPECT_THAT(putError(database, u"b", "two"), HasSubstr(": the file was moved or removed"));
  EXPECT_EQ(statusOf([&] { remove(database, u"a"); }), CIM_ERR_FAILED);
  fs::rename(elsewhere, file());
  fs::rename(journal(), elsewhere);
  EXPECT_THAT(putError(database, u"b", "two"),
              HasSubstr("-journal was moved or removed; restart the server"));
  fs::copy_file(elsewhere, journal());
  EXPECT_THAT(putError(database, u"b", "two"), HasSubstr("-journal was moved or removed"));
  EXPECT_FALSE(database.returnSpace());
  fs::rename(elsewhere, journal());
  put(database, u"b", "two");
  EXPECT_THAT(load(database), ElementsAre(row(u"a", "one"), row(u"b", "two")));
}

}  // namespace
}  // namespace cimd::test
