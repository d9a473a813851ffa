// The run as a whole and the program around it: the requests to the server, their order, the fate
// of the work files, when each line on standard output arrives, and the status.
#include "driver/run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <iostream>
#include <new>
#include <sstream>

#include "fake_client.h"
#include "import/import.h"
#include "work_directory.h"

using Pegasus::CannotConnectException;
using Pegasus::CIM_ERR_FAILED;
using Pegasus::CIMException;
using Pegasus::CIMProperty;
using Pegasus::CIMValue;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

// The main() of the program, under another name beside that of the tests.
int morvikMain(int argc, char** argv);

namespace {

namespace fs = std::filesystem;

const std::string createdFan =
    "createInstance root/kvasd KVAXDT_FRU FRUNumber=F1 Name=FAN Description=Fan "
    "IdentifyingNumber=KVAHalvoranFru1 Vendor=KVA RevisionLevel=1.0";
const std::string askedMachineType =
    "enumerateInstances root/kvasd KVAXDT_ComputerSystemDetails true true false false null";

// Standard output as a reader at the other end of a pipe sees it. Takes the place of the buffer of
// std::cout as long as it lives.
class FlushedOutput : public std::stringbuf {
 public:
  FlushedOutput() : before_(std::cout.rdbuf(this)) {}
  ~FlushedOutput() override { std::cout.rdbuf(before_); }
  FlushedOutput(const FlushedOutput&) = delete;
  FlushedOutput& operator=(const FlushedOutput&) = delete;
  FlushedOutput(FlushedOutput&&) = delete;
  FlushedOutput& operator=(FlushedOutput&&) = delete;

  // One text for each flush. Text that was written after the last flush is not included.
  const std::vector<std::string>& arrived() const { return arrived_; }

 protected:
  int sync() override {
    arrived_.push_back(str());
    str("");
    return 0;
  }

 private:
  std::streambuf* before_;
  std::vector<std::string> arrived_;
};

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

TEST_F(Run, EachLineAboutAMissingFileArrivesByItself) {
  run("127.0.0.1", "dir");
  EXPECT_THAT(output_.arrived(),
              ElementsAre("Either FRU is not supported or this system does not have access to FRU "
                          "file.\n",
                          "Please run man morvik for help. \n"));
}

TEST_F(Run, TheLineAboutALocalCopyArrivesBeforeTheImportAsksTheServer) {
  std::ofstream("fru.txt") << "";
  std::vector<std::string> arrivedBefore;
  fakeServer.beforeAnswer = [&](const std::string& call) {
    if (call.starts_with("enumerateInstanceNames")) {
      arrivedBefore = output_.arrived();
    }
  };
  run("127.0.0.1", "dir");
  EXPECT_THAT(
      arrivedBefore,
      ElementsAre("\nA local copy of fru.txt is detected. MORVIK will run base on this file.\n"));
  EXPECT_EQ(output_.arrived(), arrivedBefore);
}

TEST_F(Run, EachLineOfTheImportArrivesByItself) {
  Pegasus::CIMClient client(1);
  importFruFile(client);
  EXPECT_THAT(output_.arrived(),
              ElementsAre("Could not open FRU data file.\n", "Please run man morvik for help \n"));
}

// Whatever a run throws becomes one message and status 0.

const std::string didNotComplete =
    "Morvik did not complete. Please run morvik manually (see man morvik for help).\n";

class Main : public Run {
 protected:
  static int callMain(std::vector<std::string> words) {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) {
      arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    return morvikMain(static_cast<int>(words.size()), arguments.data());
  }

  // The run ends with what this throws; the message arrives at once, and the status is that of a
  // good run.
  void expectCaught(const std::function<void()>& fail) {
    fakeServer.beforeAnswer = [fail](const std::string& /*call*/) { fail(); };
    EXPECT_EQ(callMain({"morvik", "-s", "127.0.0.1", "-d", "dir"}), 0);
    EXPECT_THAT(output_.arrived(), ElementsAre(didNotComplete));
  }
};

TEST_F(Main, CatchesTheExceptionsOfTheClient) {
  expectCaught([] { throw CannotConnectException("nobody listens"); });
}

TEST_F(Main, CatchesTheExceptionsOfTheStandardLibrary) {
  expectCaught([] { throw std::bad_alloc(); });
}

TEST_F(Main, CatchesExceptionsOfAnyOtherType) {
  expectCaught([] { throw 42; });  // NOLINT: no exception is too odd
}

TEST_F(Main, ARejectedCommandLineEndsWithOneAndAsksTheServerNothing) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(callMain({"morvik", "host"}), 1);
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              testing::EndsWith("\nPlease run man morvik for help\n"));
  EXPECT_THAT(output_.arrived(), IsEmpty());
  EXPECT_THAT(fakeServer.calls, IsEmpty());
}

}  // namespace
