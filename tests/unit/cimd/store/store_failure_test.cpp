// What happens when the disk does not do what it is asked.
#include <errno.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <fstream>

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
};
Disk disk;

bool failsNow(int& countdown) {
  if (countdown == 0 || --countdown > 0) {
    return false;
  }
  errno = disk.cause;
  ++disk.failures;
  return true;
}

int syncFile(int number, int descriptor) {
  if (failsNow(disk.failingSync)) {
    return -1;
  }
  ++disk.syncs;
  disk.hasUnsyncedWrites = false;
  return static_cast<int>(syscall(number, descriptor));
}

ssize_t writeAt(int descriptor, const void* data, size_t size, off_t offset) {
  if (failsNow(disk.failingWrite)) {
    return -1;
  }
  disk.hasUnsyncedWrites = true;
  return pwrite(descriptor, data, size, offset);
}

}  // namespace

// These take the place of the C library's, for SQLite too.
extern "C" int fsync(int descriptor) {
  return syncFile(SYS_fsync, descriptor);
}
extern "C" int fdatasync(int descriptor) {
  return syncFile(SYS_fdatasync, descriptor);
}

namespace cimd {
namespace {

namespace fs = std::filesystem;
using test::load;
using test::loadFile;
using test::numberedKey;
using test::put;
using test::putError;
using test::remove;
using test::row;
using test::Rows;
using testing::ElementsAre;
using testing::HasSubstr;

class StoreFailureTest : public testing::Test {
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

  fs::path file() const { return folder_.path() / "instances.db"; }

  test::TemporaryFolder folder_;
};

TEST_F(StoreFailureTest, nothingIsAcknowledgedBeforeItIsOnTheDisk) {
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
class FailingCallTest : public StoreFailureTest, public testing::WithParamInterface<int> {};

TEST_P(FailingCallTest, aFailedChangeLeavesNothingAndTheNextOneWorks) {
  for (const Failing failing : {&Disk::failingWrite, &Disk::failingSync}) {
    fs::remove(file());
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
      EXPECT_EQ(test::statusOf([&] { remove(database, u"b"); }), Pegasus::CIM_ERR_FAILED);
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

INSTANTIATE_TEST_SUITE_P(Causes, FailingCallTest, testing::Values(EIO, ENOSPC, EFBIG));

TEST_F(StoreFailureTest, theErrorNamesFileAndCause) {
  InstanceDatabase database(file());
  disk.failingWrite = 1;
  disk.cause = ENOSPC;
  EXPECT_EQ(putError(database, u"a", "one"), "CIM_ERR_FAILED: cannot store the instance in " +
                                                 file().string() + ": no space left on the disk");
  disk.failingSync = 1;
  disk.cause = EIO;
  EXPECT_THAT(putError(database, u"a", "one"), HasSubstr(": disk I/O error: Input/output error"));
}

TEST_F(StoreFailureTest, anyFailureWhileTheFileIsMadeIsAnErrorAndTheNextTryWorks) {
  for (const Failing failing : {&Disk::failingWrite, &Disk::failingSync}) {
    int failures = 0;
    for (int call = 1;; ++call) {
      fs::remove(file());
      fs::remove(file().string() + "-journal");
      disk.*failing = call;
      const std::string error = test::openError(file());
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

// A checkpoint moves the log's content into the file. It runs after the change is durable, so that
// its failure is not the change's.
TEST_F(StoreFailureTest, aFailingCheckpointLosesNothing) {
  const std::string large(100000, 'x');
  Rows expected;
  {
    InstanceDatabase database(file());
    int refused = 0;
    for (int i = 0; i < 120; ++i) {
      // A change needs one sync or two; those that follow are of a checkpoint.
      disk.failingSync = 2 + i % 2;
      if (putError(database, numberedKey(i), large).empty()) {
        expected.push_back(row(numberedKey(i), large));
      } else {
        ++refused;
      }
    }
    EXPECT_GT(disk.failures, refused) << "no checkpoint has failed";
    disk.failingSync = 0;
    EXPECT_TRUE(load(database) == expected);
  }
  EXPECT_TRUE(loadFile(file()) == expected);
}

// The kernel's own limits, in a process of its own.

TEST_F(StoreFailureTest, aFileThatMayNotGrowIsAnErrorUntilItMay) {
  test::inChild([this] {
    signal(SIGXFSZ, SIG_IGN);
    InstanceDatabase database(file());
    put(database, u"a", "one");
    const rlimit unlimited{RLIM_INFINITY, RLIM_INFINITY};
    const rlimit small{60000, RLIM_INFINITY};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    EXPECT_THAT(putError(database, u"b", std::string(100000, 'x')), HasSubstr("File too large"));
    EXPECT_THAT(load(database), ElementsAre(row(u"a", "one")));
    put(database, u"c", "small enough");
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &unlimited), 0);
    put(database, u"b", "two");
    EXPECT_EQ(load(database).size(), 3U);
  });
  EXPECT_THAT(loadFile(file()),
              ElementsAre(row(u"a", "one"), row(u"c", "small enough"), row(u"b", "two")));
}

TEST_F(StoreFailureTest, aFullDiskIsAnErrorAtTheStart) {
  test::inChild([this] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit none{0, 0};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &none), 0);
    EXPECT_THAT(test::openError(file()), HasSubstr("instances.db: disk I/O error: File too large"));
  });
}

// Mounts a small file system over the folder, which only this process sees.
bool mountSmall(const fs::path& folder) {
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
         mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=256k") == 0;
}

TEST_F(StoreFailureTest, aFullDiskIsAnErrorUntilThereIsSpaceAgain) {
  test::inChild([this] {
    if (!mountSmall(folder_.path())) {
      GTEST_SKIP() << "no mounts of one's own here";
    }
    const fs::path filler = folder_.path() / "filler";
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
    EXPECT_EQ(test::openError(folder_.path() / "second.db"),
              "second.db: no space left on the disk");
  });
}

TEST_F(StoreFailureTest, aFileThatWasMovedOrReplacedIsAnError) {
  InstanceDatabase database(file());
  put(database, u"a", "one");
  const fs::path elsewhere = folder_.path() / "elsewhere.db";
  fs::rename(file(), elsewhere);
  EXPECT_THAT(putError(database, u"b", "two"), HasSubstr(": the file was moved or removed"));
  folder_.write("instances.db", "another");
  EXPECT_THAT(putError(database, u"b", "two"), HasSubstr(": the file was moved or removed"));
  EXPECT_EQ(test::statusOf([&] { remove(database, u"a"); }), Pegasus::CIM_ERR_FAILED);
  fs::rename(elsewhere, file());
  put(database, u"b", "two");
  EXPECT_THAT(load(database), ElementsAre(row(u"a", "one"), row(u"b", "two")));
}

}  // namespace
}  // namespace cimd
