// Each line on standard output arrives at once, not when the next step has ended.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "driver/run.h"
#include "fake_client.h"
#include "flushed_output.h"
#include "import/import.h"
#include "work_directory.h"

using testing::ElementsAre;

namespace {

const std::string localCopy =
    "\nA local copy of fru.txt is detected. MORVIK will run base on this file.\n";

class Output : public testing::Test {
 protected:
  void SetUp() override { fakeServer = {}; }

  WorkDirectory directory_;
  FlushedOutput output_;
};

TEST_F(Output, EachLineAboutAMissingFileArrivesByItself) {
  run("127.0.0.1", "dir");
  EXPECT_THAT(output_.arrived(),
              ElementsAre("Either FRU is not supported or this system does not have access to FRU "
                          "file.\n",
                          "Please run man morvik for help. \n"));
}

TEST_F(Output, TheLineAboutALocalCopyArrivesBeforeTheImportAsksTheServer) {
  std::ofstream("fru.txt") << "";
  std::vector<std::string> arrivedBefore;
  fakeServer.beforeAnswer = [&](const std::string& call) {
    if (call.starts_with("enumerateInstanceNames")) {
      arrivedBefore = output_.arrived();
    }
  };
  run("127.0.0.1", "dir");
  EXPECT_THAT(arrivedBefore, ElementsAre(localCopy));
  EXPECT_EQ(output_.arrived(), arrivedBefore);
}

TEST_F(Output, EachLineOfTheImportArrivesByItself) {
  Pegasus::CIMClient client(1);
  importFruFile(client);
  EXPECT_THAT(output_.arrived(),
              ElementsAre("Could not open FRU data file.\n", "Please run man morvik for help \n"));
}

}  // namespace
