// The program around a run: whatever a run throws becomes one message and status 0.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <new>

#include "fake_client.h"
#include "flushed_output.h"
#include "work_directory.h"

using Pegasus::CannotConnectException;
using testing::ElementsAre;
using testing::IsEmpty;

// The main() of the program, under another name beside that of the tests.
int morvikMain(int argc, char** argv);

namespace {

const std::string didNotComplete =
    "Morvik did not complete. Please run morvik manually (see man morvik for help).\n";

class Main : public testing::Test {
 protected:
  void SetUp() override { fakeServer = {}; }

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

  WorkDirectory directory_;
  FlushedOutput output_;
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
