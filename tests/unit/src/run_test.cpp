// The run as a whole: the requests to the server, their order, and the fate of the work files.
#include "driver/run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "fake_client.h"
#include "flushed_output.h"
#include "work_directory.h"

using Pegasus::CIM_ERR_FAILED;
using Pegasus::CIMException;
using Pegasus::CIMProperty;
using Pegasus::CIMValue;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

namespace fs = std::filesystem;

const std::string createdFan =
    "createInstance root/kvasd KVAXDT_FRU FRUNumber=F1 Name=FAN Description=Fan "
    "IdentifyingNumber=KVAHalvoranFru1 Vendor=KVA RevisionLevel=1.0";
const std::string askedMachineType =
    "enumerateInstances root/kvasd KVAXDT_ComputerSystemDetails true true false false null";

// The server knows no machine type, so that nothing is downloaded, unless the test says otherwise.
class Run : public testing::Test {
 protected:
  void SetUp() override { fakeServer = {}; }

  static void putFan(const std::string& fileName) {
    std::ofstream(fileName) << "\"F1\",\"FAN\",\"\",\"Fan\"\n";
  }

  static void refuse(const std::string& operation) {
    fakeServer.beforeAnswer = [operation](const std::string& call) {
      if (call.starts_with(operation)) {
        throw CIMException(CIM_ERR_FAILED);
      }
    };
  }

  WorkDirectory directory_;
  FlushedOutput output_;
};

TEST_F(Run, ConnectsWithTheTimeOutToTheLocalServerAndDisconnectsLast) {
  putFan("fru.txt");
  run("127.0.0.1", "dir");
  EXPECT_THAT(
      fakeServer.calls,
      ElementsAre("CIMClient 20000", "connect 127.0.0.1:5988 '' ''", askedMachineType,
                  "enumerateInstanceNames root/kvasd KVAXDT_FRU", createdFan, "disconnect"));
}

TEST_F(Run, WithoutAnyFileAsksForTheMachineTypeOnlyAndDisconnects) {
  run("127.0.0.1", "dir");
  EXPECT_THAT(fakeServer.calls, ElementsAre("CIMClient 20000", "connect 127.0.0.1:5988 '' ''",
                                            askedMachineType, "disconnect"));
}

TEST_F(Run, RemovesFruLogBeforeItDisconnects) {
  std::ofstream("fru.log") << "old";
  fakeServer.beforeAnswer = [](const std::string& call) {
    EXPECT_EQ(fs::exists("fru.log"), call != "disconnect") << call;
  };
  run("127.0.0.1", "dir");
  EXPECT_EQ(fakeServer.calls.back(), "disconnect");
}

// With a download, the file is imported first, then both work files go, then the connection.
TEST_F(Run, AfterADownloadRemovesBothWorkFilesBeforeItDisconnects) {
  fakeServer.classes["KVAXDT_ComputerSystemDetails"] = {
      instanceWith("KVAXDT_ComputerSystemDetails",
                   {CIMProperty("name", CIMValue("box")), {"model", CIMValue("[1234]")}})};
  // No FTP client is found, and the file is there as if one had fetched it.
  putFan("1234wpk.txt");
  fs::create_directory("bin");
  for (const char* command : {"mv", "rm"}) {
    fs::create_symlink(fs::path("/bin") / command, fs::path("bin") / command);
  }
  const std::string path = std::getenv("PATH");
  setenv("PATH", fs::absolute("bin").c_str(), 1);
  fakeServer.beforeAnswer = [](const std::string& call) {
    const bool isImporting = call == createdFan;
    if (isImporting || call == "disconnect") {
      EXPECT_EQ(fs::exists("fru.txt"), isImporting) << call;
      EXPECT_EQ(fs::exists("fru.log"), isImporting) << call;
    }
  };
  testing::internal::CaptureStderr();
  run("127.0.0.1", "dir");
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("ftp"));
  setenv("PATH", path.c_str(), 1);
  EXPECT_THAT(fakeServer.calls, Contains(createdFan));
  EXPECT_EQ(fakeServer.calls.back(), "disconnect");
}

TEST_F(Run, AnExceptionReachesTheCallerAtOnceWithoutDisconnectAndTheFilesStay) {
  for (const char* operation : {"connect", "enumerateInstanceNames"}) {
    fakeServer = {};
    putFan("fru.txt");
    std::ofstream("fru.log") << "old";
    refuse(operation);
    EXPECT_THROW(run("127.0.0.1", "dir"), CIMException) << operation;
    EXPECT_THAT(fakeServer.calls.back(), StartsWith(operation)) << "nothing is asked after it";
    EXPECT_TRUE(fs::exists("fru.txt")) << operation;
    EXPECT_TRUE(fs::exists("fru.log")) << operation;
  }
}

// A directory can be opened like a file: the removal is tried, fails, and is not looked at.
TEST_F(Run, ADirectoryNamedFruLogStaysAndOnlyTheRemovalComplains) {
  fs::create_directory("fru.log");
  testing::internal::CaptureStderr();
  run("127.0.0.1", "dir");
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("fru.log"));
  EXPECT_TRUE(fs::is_directory("fru.log"));
  EXPECT_EQ(fakeServer.calls.back(), "disconnect");
}

TEST_F(Run, AFruLogThatLeadsNowhereIsNotThereAndStays) {
  fs::create_symlink("nowhere", "fru.log");
  run("127.0.0.1", "dir");
  EXPECT_TRUE(fs::is_symlink("fru.log"));
  EXPECT_EQ(fakeServer.calls.back(), "disconnect");
}

TEST_F(Run, AFruLogThatLeadsToAFileIsRemovedAndTheFileStays) {
  std::ofstream("kept") << "kept";
  fs::create_symlink("kept", "fru.log");
  run("127.0.0.1", "dir");
  EXPECT_FALSE(fs::is_symlink("fru.log"));
  EXPECT_TRUE(fs::exists("kept"));
}

}  // namespace
