// Each operation against a recorded exchange: what is sent, and what the answer becomes.
#include <Pegasus/Client/CIMClient.h>
#include <gtest/gtest.h>

#include <optional>

#include "scripted_server.h"

namespace Pegasus {
namespace {

class RecordedExchange : public testing::Test {
 protected:
  // Runs one operation against the recorded answer. compareRequest() then compares the body that
  // was sent with the recorded one.
  template <typename Operation>
  auto replay(const std::string& name, Operation operation) {
    compareRequest();
    recording = name;
    server.emplace(std::vector<ScriptedServer::Script>{
        [name](Peer& peer) { peer.answer(recordedAnswer(name)); }});
    CIMClient client(20'000);
    client.connect(server->address(), "", "");
    return operation(client);
  }

  void compareRequest() {
    if (server) {
      ASSERT_EQ(server->requests().size(), 1U);
      // The recorded client ended its documents with a line feed.
      EXPECT_EQ(bodyOf(server->requests()[0]) + "\n", bodyOf(recordedRequest(recording)));
      EXPECT_EQ(server->problems(), "");
    }
  }

  void TearDown() override { compareRequest(); }

  // The same for an operation that the server refuses.
  template <typename Operation>
  void replayRefusal(const std::string& name, CIMStatusCode code, const char* description,
                     Operation operation) {
    try {
      replay(name, operation);
      FAIL() << "not refused";
    } catch (const CIMException& refusal) {
      EXPECT_EQ(refusal.getCode(), code);
      EXPECT_EQ(refusal.getDescription().toUtf8(), description);
    }
  }

  static CIMInstance fru(const char* number, const char* name, const char* description) {
    CIMInstance instance{String("KVAXDT_FRU")};
    const auto add = [&](const char* property, const char* value) {
      instance.addProperty(CIMProperty(property, CIMValue(value)));
    };
    add("FRUNumber", number);
    add("Name", name);
    add("Description", description);
    add("IdentifyingNumber", "KVAHalvoranFru1");
    add("Vendor", "KVA");
    add("RevisionLevel", "1.0");
    return instance;
  }

  std::optional<ScriptedServer> server;
  std::string recording;
  const String nameSpace = "root/kvasd";
  const std::string escapedText = "Board & <riser> 5\" caf\xc3\xa9 \xe4\xb8\xad";
};

TEST_F(RecordedExchange, EnumerateInstances) {
  const auto found = replay("01-enumerate-instances", [&](CIMClient& client) {
    return client.enumerateInstances(nameSpace, "KVAXDT_ComputerSystemDetails");
  });
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(valueOf(found[0], "serialNumber"), "KV12345");
  EXPECT_EQ(valueOf(found[0], "model"), "Server 123 -[1234ABX]-");
  ASSERT_EQ(found[0].getPropertyCount(), 7U);
  const CIMProperty& caption = found[0].getProperty(found[0].findProperty("Caption"));
  EXPECT_EQ(caption.getValue(), CIMValue(CIMTYPE_STRING, false));
  EXPECT_TRUE(caption.getPropagated());
  EXPECT_FALSE(found[0].getProperty(found[0].findProperty("model")).getPropagated());
  EXPECT_EQ(found[0].getPath().toString(), "KVAXDT_ComputerSystemDetails.name=\"box1\"");
}

TEST_F(RecordedExchange, EnumerateInstancesWithTextOfManyKinds) {
  const auto found = replay("15-enumerate-instances-escaped-text", [&](CIMClient& client) {
    return client.enumerateInstances(nameSpace, "KVAXDT_FRU");
  });
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(valueOf(found[0], "Description"), escapedText);
  EXPECT_EQ(found[0].getProperty(found[0].findProperty("CustomerReplaceable")).getValue(),
            CIMValue(CIMTYPE_BOOLEAN, false));
  EXPECT_EQ(found[0].getPath(), fruName("A100009"));
}

TEST_F(RecordedExchange, EnumerateInstanceNames) {
  const auto found = replay("06-enumerate-instance-names", [&](CIMClient& client) {
    return client.enumerateInstanceNames(nameSpace, "KVAXDT_FRU");
  });
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0], fruName("A100001"));
  EXPECT_EQ(found[1], fruName("A100009"));
}

TEST_F(RecordedExchange, EnumerationThatFindsNothingIsEmpty) {
  const auto found = replay("02-enumerate-instance-names-none", [&](CIMClient& client) {
    return client.enumerateInstanceNames(nameSpace, "KVAXDT_FRU");
  });
  EXPECT_EQ(found.size(), 0U);
}

TEST_F(RecordedExchange, CreateInstance) {
  const CIMInstance plain = fru("A100001", "FAN", "Hot swap fan");
  const CIMInstance escaped = fru("A100009", "PLANAR", escapedText.c_str());
  EXPECT_EQ(replay("03-create-instance",
                   [&](CIMClient& client) { return client.createInstance(nameSpace, plain); }),
            fruName("A100001"));
  EXPECT_EQ(replay("05-create-instance-escaped-text",
                   [&](CIMClient& client) { return client.createInstance(nameSpace, escaped); }),
            fruName("A100009"));
}

TEST_F(RecordedExchange, GetProperty) {
  const auto ask = [&](const char* name, const char* number, const char* property) {
    return replay(name, [&](CIMClient& client) {
      return client.getProperty(nameSpace, fruName(number), property);
    });
  };
  EXPECT_EQ(ask("07-get-property", "A100001", "IdentifyingNumber"), CIMValue("KVAHalvoranFru1"));
  EXPECT_EQ(ask("08-get-property-escaped-text", "A100009", "Description"),
            CIMValue(escapedText.c_str()));
  EXPECT_EQ(ask("09-get-property-null", "A100001", "Caption"), CIMValue(CIMTYPE_STRING, false));
}

TEST_F(RecordedExchange, DeleteInstance) {
  replay("11-delete-instance",
         [&](CIMClient& client) { client.deleteInstance(nameSpace, fruName()); });
}

TEST_F(RecordedExchange, RefusalsCarryCodeAndDescription) {
  replayRefusal("04-create-instance-already-exists", CIM_ERR_ALREADY_EXISTS,
                "CIM_ERR_ALREADY_EXISTS: KVAXDT_FRU.FRUNumber=\"A100001\","
                "IdentifyingNumber=\"KVAHalvoranFru1\",Vendor=\"KVA\"",
                [&](CIMClient& client) {
                  client.createInstance(nameSpace, fru("A100001", "FAN", "Hot swap fan"));
                });
  replayRefusal("10-get-property-no-such-property", CIM_ERR_NO_SUCH_PROPERTY,
                "CIM_ERR_NO_SUCH_PROPERTY: NoSuchProperty", [&](CIMClient& client) {
                  client.getProperty(nameSpace, fruName(), "NoSuchProperty");
                });
  replayRefusal("12-delete-instance-not-found", CIM_ERR_NOT_FOUND,
                "CIM_ERR_NOT_FOUND: KVAXDT_FRU.FRUNumber=\"A100001\","
                "IdentifyingNumber=\"KVAHalvoranFru1\",Vendor=\"KVA\"",
                [&](CIMClient& client) { client.deleteInstance(nameSpace, fruName()); });
  replayRefusal(
      "13-unknown-class", CIM_ERR_INVALID_CLASS, "CIM_ERR_INVALID_CLASS: KVAXDT_NoSuchClass",
      [&](CIMClient& client) { client.enumerateInstances(nameSpace, "KVAXDT_NoSuchClass"); });
  replayRefusal(
      "14-unknown-namespace", CIM_ERR_INVALID_NAMESPACE, "CIM_ERR_INVALID_NAMESPACE: root/nowhere",
      [&](CIMClient& client) { client.enumerateInstances("root/nowhere", "KVAXDT_Processor"); });
}

TEST_F(RecordedExchange, ChunkedAnswerIsUnderstood) {
  const auto found = replay("17-chunked-enumerate-instances", [&](CIMClient& client) {
    return client.enumerateInstances(nameSpace, "KVAXDT_ComputerSystemDetails");
  });
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(valueOf(found[0], "name"), "box1");
}

TEST_F(RecordedExchange, RefusalInTrailersIsARefusal) {
  replayRefusal("18-chunked-error-in-trailer", CIM_ERR_INVALID_CLASS,
                "CIM_ERR_INVALID_CLASS: KVAXDT_NoSuchClass", [&](CIMClient& client) {
                  client.enumerateInstances(nameSpace, "KVAXDT_NoSuchClass");
                });
  replayRefusal("19-chunked-create-instance-already-exists", CIM_ERR_ALREADY_EXISTS,
                "CIM_ERR_ALREADY_EXISTS: KVAXDT_FRU.FRUNumber=\"A100009\","
                "IdentifyingNumber=\"KVAHalvoranFru1\",Vendor=\"KVA\"",
                [&](CIMClient& client) {
                  client.createInstance(nameSpace, fru("A100009", "PLANAR", "again"));
                });
}

}  // namespace
}  // namespace Pegasus
