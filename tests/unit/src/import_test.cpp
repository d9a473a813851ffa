// The import as a whole: what is asked of the server, deleted and created, in which order.
#include "import/import.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "fake_client.h"
#include "work_directory.h"

using Pegasus::CIM_ERR_FAILED;
using Pegasus::CIMClient;
using Pegasus::CIMException;
using Pegasus::CIMProperty;
using Pegasus::CIMValue;
using Pegasus::Uint32;
using Pegasus::Uint64;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string prefix = "KVAHalvoranFru";

class Import : public testing::Test {
 protected:
  void SetUp() override {
    fakeServer = {};
    fakeServer.classes["KVAXDT_Processor"] = {instanceWith(
        "KVAXDT_Processor", {CIMProperty("CurrentClockSpeed", CIMValue(Uint32{2400}))})};
    fakeServer.classes["KVAXDT_PhysicalMemory"] = {instanceWith(
        "KVAXDT_PhysicalMemory", {CIMProperty("Capacity", CIMValue(Uint64{536870912}))})};
    setenv("LANG", "en_US.UTF-8", 1);
  }

  static void importLines(const std::string& lines) {
    std::ofstream("fru.txt") << lines;
    CIMClient client(1);
    fakeServer.calls.clear();
    EXPECT_TRUE(importFruFile(client));
  }

  // The nth creation (from 1) is refused.
  static void refuseCreation(int number) {
    fakeServer.beforeAnswer = [number, count = 0](const std::string& call) mutable {
      if (call.starts_with("createInstance") && ++count == number) {
        throw CIMException(CIM_ERR_FAILED);
      }
    };
  }

 private:
  WorkDirectory directory_;
};

std::string line(const std::string& number, const std::string& category,
                 const std::string& qualifier = "", const std::string& description = "x") {
  return "\"" + number + "\",\"" + category + "\",\"" + qualifier + "\",\"" + description + "\"\n";
}

TEST_F(Import, PublishesALineAsSixPropertiesInOrder) {
  importLines(line("25P2885", "FAN", "any", "Hot swap fan"));
  EXPECT_THAT(fakeServer.calls,
              ElementsAre("enumerateInstanceNames root/kvasd KVAXDT_FRU",
                          "createInstance root/kvasd KVAXDT_FRU FRUNumber=25P2885 Name=FAN "
                          "Description=Hot swap fan IdentifyingNumber=KVAHalvoranFru1 Vendor=KVA "
                          "RevisionLevel=1.0"));
}

TEST_F(Import, AsksAfreshForEachLinePutToAPredicateAndForNoOther) {
  importLines(line("1", "PROCESSOR", "SPEED=1800") + line("2", "FAN") +
              line("3", "PROCESSOR", "SPEED=2400") + line("4", "MEMORY", "SIZE=512") +
              line("5", "KEYBOARD", "LANGUAGE=de") + line("6", "DISK") + "#" +
              line("7", "PROCESSOR", "SPEED=2400"));
  std::vector<std::string> operations;
  for (const std::string& call : fakeServer.calls) {
    const std::size_t nameSpace = call.find(" root/kvasd ");
    const std::size_t className = nameSpace + std::string(" root/kvasd ").size();
    operations.push_back(call.substr(0, nameSpace + 1) +
                         call.substr(className, call.find(' ', className) - className));
  }
  EXPECT_THAT(operations,
              ElementsAre("enumerateInstanceNames KVAXDT_FRU",
                          "enumerateInstances KVAXDT_Processor", "createInstance KVAXDT_FRU",
                          "enumerateInstances KVAXDT_Processor", "createInstance KVAXDT_FRU",
                          "enumerateInstances KVAXDT_PhysicalMemory", "createInstance KVAXDT_FRU"));
}

TEST_F(Import, NumbersProcessorsMemoryFansAndBackplanesEachFromOne) {
  importLines(line("1", "PROCESSOR", "SPEED=2400") + line("2", "PROCESSOR", "SPEED=2400") +
              line("3", "PROCESSOR", "SPEED=2400") + line("4", "MEMORY", "SIZE=512") +
              line("5", "MEMORY", "SIZE=512") + line("6", "FAN") + line("7", "FAN") +
              line("8", "BACKPLANE") + line("9", "BACKPLANE"));
  EXPECT_THAT(fakeServer.identifyingNumbers(),
              ElementsAre(prefix + "1", prefix + "2", prefix + "3", prefix + "1", prefix + "2",
                          prefix + "1", prefix + "2", prefix + "1", prefix + "2"));
}

TEST_F(Import, GivesAllOtherCategoriesTheNumberOne) {
  importLines(line("1", "KEYBOARD", "LANGUAGE=en") + line("2", "KEYBOARD", "LANGUAGE=en") +
              line("3", "PLANAR") + line("4", "CDROM") + line("5", "FLOPPY") + line("6", "FLOPPY") +
              line("7", "OPTIONSP") + line("8", "OPTIONSP"));
  EXPECT_THAT(fakeServer.identifyingNumbers(), testing::SizeIs(8));
  EXPECT_THAT(fakeServer.identifyingNumbers(), testing::Each(prefix + "1"));
}

TEST_F(Import, WritesNumbersWithoutFillCharacters) {
  std::string lines;
  for (int i = 1; i <= 101; i++) {
    lines += line(std::to_string(i), "FAN");
  }
  importLines(lines);
  const auto numbers = fakeServer.identifyingNumbers();
  ASSERT_THAT(numbers, testing::SizeIs(101));
  EXPECT_EQ(numbers[8], prefix + "9");
  EXPECT_EQ(numbers[9], prefix + "10");
  EXPECT_EQ(numbers[100], prefix + "101");
}

TEST_F(Import, CountsOnlyWhatPassedSelection) {
  importLines(line("1", "PROCESSOR", "SPEED=1800") + line("2", "PROCESSOR", "SPEED=2400"));
  EXPECT_THAT(fakeServer.identifyingNumbers(), ElementsAre(prefix + "1"));
}

TEST_F(Import, AFailedCreationLeavesAGapInTheNumbers) {
  refuseCreation(2);
  importLines(line("1", "FAN") + line("2", "FAN") + line("3", "FAN"));
  EXPECT_THAT(fakeServer.identifyingNumbers(), ElementsAre(prefix + "1", prefix + "3"));
}

TEST_F(Import, PublishesTheFirstPlanarAndTheFirstCdromOnly) {
  importLines(line("1", "PLANAR") + line("2", "PLANAR") + line("3", "CDROM") + line("4", "CDROM"));
  EXPECT_EQ(fakeServer.published.size(), 2U);
}

TEST_F(Import, TriesTheNextPlanarAndCdromAfterAFailedCreation) {
  for (const char* category : {"PLANAR", "CDROM"}) {
    fakeServer.published.clear();
    refuseCreation(1);
    importLines(line("1", category) + line("2", category) + line("3", category));
    EXPECT_EQ(fakeServer.calls.size(), 3U) << "names, a refused creation, one that succeeds";
    EXPECT_EQ(fakeServer.published.size(), 1U);
  }
}

TEST_F(Import, PublishesEveryLineOfTheUnfilteredCategories) {
  for (const char* category : {"FLOPPY", "OPTIONSP", "FAN", "BACKPLANE"}) {
    fakeServer.published.clear();
    importLines(line("1", category, "SPEED=1") + line("2", category, "SIZE=1") +
                line("3", category) + line("4", category) + line("5", category));
    EXPECT_EQ(fakeServer.published.size(), 5U) << category;
  }
}

TEST_F(Import, DropsAnEntryOnAnyExceptionAndGoesOn) {
  fakeServer.beforeAnswer = [count = 0](const std::string& call) mutable {
    if (call.starts_with("createInstance") && ++count == 1) {
      throw 42;  // NOLINT: no exception is too odd
    }
  };
  importLines(line("1", "FLOPPY") + line("2", "FLOPPY"));
  EXPECT_EQ(fakeServer.published.size(), 1U);
}

TEST_F(Import, DeletesOnlyWhatCarriesThePrefixInAnyLetterCase) {
  for (const char* number : {"kvahalvoranfru7", "KVAHalvoranFr", "KVAHalvoranFru", "Other1", "",
                             "KVAHALVORANFRU1 and more", "xKVAHalvoranFru1"}) {
    fakeServer.publish(number);
  }
  importLines("");
  EXPECT_THAT(fakeServer.identifyingNumbers(),
              ElementsAre("KVAHalvoranFr", "Other1", "", "xKVAHalvoranFru1"));
}

TEST_F(Import, ReadsTheNumberOfEachInstanceAndDeletesBeforeTheNext) {
  fakeServer.publish("KVAHalvoranFru1");
  fakeServer.publish("Other");
  importLines("");
  EXPECT_THAT(fakeServer.calls,
              ElementsAre("enumerateInstanceNames root/kvasd KVAXDT_FRU",
                          "getProperty root/kvasd KVAXDT_FRU.Id=\"0\" IdentifyingNumber",
                          "deleteInstance root/kvasd KVAXDT_FRU.Id=\"0\"",
                          "getProperty root/kvasd KVAXDT_FRU.Id=\"1\" IdentifyingNumber"));
}

TEST_F(Import, ReplacesWhatTheFirstRunPublished) {
  const std::string lines = line("1", "FAN") + line("2", "FAN") + line("3", "PLANAR");
  importLines(lines);
  const auto numbers = fakeServer.identifyingNumbers();
  importLines(lines);
  EXPECT_EQ(fakeServer.identifyingNumbers(), numbers);
}

TEST_F(Import, EndsAtAFailureToDeleteWhichReachesTheCaller) {
  for (const char* operation : {"enumerateInstanceNames", "getProperty", "deleteInstance"}) {
    fakeServer.published.clear();
    fakeServer.publish("KVAHalvoranFru1");
    fakeServer.beforeAnswer = [operation](const std::string& call) {
      if (call.starts_with(operation)) {
        throw CIMException(CIM_ERR_FAILED);
      }
    };
    std::ofstream("fru.txt") << line("1", "FAN");
    CIMClient client(1);
    EXPECT_THROW(importFruFile(client), CIMException) << operation;
    EXPECT_EQ(fakeServer.published.size(), 1U) << operation;
  }
}

TEST_F(Import, ReportsAMissingFileAndAsksTheServerNothing) {
  CIMClient client(1);
  fakeServer.calls.clear();
  testing::internal::CaptureStdout();
  EXPECT_TRUE(importFruFile(client));
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Could not open FRU data file.\nPlease run man morvik for help \n");
  EXPECT_THAT(fakeServer.calls, IsEmpty());
}

}  // namespace
