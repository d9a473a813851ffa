// Reading the entries of a server that fails in various ways.
#include "entries.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../src/fake_client.h"

using testing::HasSubstr;

namespace Pegasus {
namespace {

using show::Entry;
using show::readEntries;

class Entries : public testing::Test {
 protected:
  void SetUp() override {
    fakeServer = {};
    for (const char* number : {"KVAHalvoranFru1", "KVAHalvoranFru2", "KVAHalvoranFru3"}) {
      fakeServer.publish(number);
    }
  }
  // The next test's client exists before its SetUp().
  void TearDown() override { fakeServer = {}; }

  // From now on, the calls that contain these texts fail.
  template <typename Error>
  static void failWith(const Error& error, const std::vector<std::string>& texts) {
    fakeServer.beforeAnswer = [=](const std::string& call) {
      for (const std::string& text : texts) {
        if (call.find(text) != std::string::npos) {
          throw error;
        }
      }
    };
  }
  // The operations that the server is asked for, without arguments.
  static std::vector<std::string> operations() {
    std::vector<std::string> names;
    names.reserve(fakeServer.calls.size());
    for (const std::string& call : fakeServer.calls) {
      names.push_back(call.substr(0, call.find(' ')));
    }
    return names;
  }

  CIMClient client{1};
};

const char* const enumeration = "enumerateInstances ";
const char* const secondEntry = "getInstance root/kvasd KVAXDT_FRU.Id=\"1\" false";

TEST_F(Entries, ShorterNumbersComeFirst) {
  for (const char* number : {"KVAHalvoranFru10", "KVAHalvoranFru9"}) {
    fakeServer.classes["KVAXDT_FRU"].push_back(
        instanceWith("KVAXDT_FRU", {CIMProperty("IdentifyingNumber", CIMValue(String(number))),
                                    CIMProperty("Description", CIMValue(CIMTYPE_STRING, false))}));
  }
  const std::vector<Entry> entries = readEntries(client);
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_EQ(entries[0].identifyingNumber, String("KVAHalvoranFru9"));
  EXPECT_EQ(entries[1].identifyingNumber, String("KVAHalvoranFru10"));
  EXPECT_FALSE(entries[0].category || entries[0].vendor) << "there is no such property";
  EXPECT_FALSE(entries[0].description) << "null";
}

TEST_F(Entries, SubclassesAndInheritedPropertiesAreAskedFor) {
  fakeServer.classes["KVAXDT_FRU"] = {};
  readEntries(client);
  EXPECT_THAT(fakeServer.calls.back(),
              testing::StartsWith("enumerateInstances root/kvasd KVAXDT_FRU true false"));
}

TEST_F(Entries, OneUnreadableEntryDoesNotHideTheOthers) {
  fakeServer.published.rbegin()->second.addProperty(CIMProperty("Name", CIMValue(String("OTHER"))));
  failWith(XmlException("not UTF-8"), {enumeration, secondEntry});
  const std::vector<Entry> entries = readEntries(client);
  ASSERT_EQ(entries.size(), 3U);
  EXPECT_EQ(entries[0].identifyingNumber, String("KVAHalvoranFru1"));
  EXPECT_EQ(entries[1].identifyingNumber, String("KVAHalvoranFru3"));
  EXPECT_FALSE(entries[1].problem);
  EXPECT_EQ(entries[2].problem, String("not UTF-8"));
  EXPECT_FALSE(entries[2].identifyingNumber);
}

TEST_F(Entries, EveryFailureToReadTheAnswerIsFollowedByNames) {
  const auto countAfter = [&](const auto& error) {
    failWith(error, {enumeration});
    return readEntries(client).size();
  };
  EXPECT_EQ(countAfter(XmlValidationError("x")), 3U);
  EXPECT_EQ(countAfter(CIMClientResponseException("x")), 3U);
  EXPECT_EQ(countAfter(CIMClientMalformedHTTPException("x")), 3U);
  EXPECT_EQ(countAfter(CIMClientHTTPErrorException(500, "x", "", "")), 3U);
}

TEST_F(Entries, RefusalsAndLostConnectionsEndTheReading) {
  failWith(CIMException(CIM_ERR_INVALID_CLASS), {enumeration});
  EXPECT_THROW(readEntries(client), CIMException);
  failWith(CannotConnectException("x"), {enumeration});
  EXPECT_THROW(readEntries(client), CannotConnectException);
  failWith(ConnectionTimeoutException(), {enumeration});
  EXPECT_THROW(readEntries(client), ConnectionTimeoutException);
  EXPECT_THAT(operations(), testing::Not(testing::Contains("enumerateInstanceNames")));
}

TEST_F(Entries, UnreadableNamesEndTheReading) {
  failWith(XmlException("not UTF-8"), {"enumerateInstance"});
  try {
    readEntries(client);
    FAIL();
  } catch (const Exception& error) {
    EXPECT_EQ(error.getMessage(), String("cannot read the entries: not UTF-8"));
  }
}

TEST_F(Entries, DeletedEntryIsSkippedAndRefusedOneIsListed) {
  fakeServer.beforeAnswer = [](const std::string& call) {
    if (call.starts_with(enumeration)) {
      throw XmlException("x");
    }
    if (call == secondEntry) {
      throw CIMException(CIM_ERR_NOT_FOUND);
    }
    if (call.starts_with("getInstance")) {
      throw CIMException(CIM_ERR_FAILED, "broken");
    }
  };
  const std::vector<Entry> entries = readEntries(client);
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_THAT(entries[0].problem.value_or(String()).toUtf8(), HasSubstr("broken"));
  EXPECT_TRUE(entries[1].problem);
}

TEST_F(Entries, LostConnectionEndsTheReadingOfSingleEntries) {
  const auto throwsAfter = [&](const auto& error) {
    using Error = std::decay_t<decltype(error)>;
    fakeServer.beforeAnswer = [=](const std::string& call) {
      if (call.starts_with(enumeration)) {
        throw XmlException("x");
      }
      if (call == secondEntry) {
        throw Error(error);
      }
    };
    EXPECT_THROW(readEntries(client), Error);
  };
  throwsAfter(CannotConnectException("x"));
  throwsAfter(ConnectionTimeoutException());
}

}  // namespace
}  // namespace Pegasus
