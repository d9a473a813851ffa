// Each operation against a recorded exchange: what is sent, and what the answer becomes.
#include <Pegasus/Client/CIMClient.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "answers.h"
#include "scripted_server.h"

namespace Pegasus {
namespace {

using testing::HasSubstr;

class Operations : public testing::Test {
 protected:
  // Runs one operation against the recorded answer and compares what was sent, behind its header,
  // with the recorded request.
  template <typename Operation>
  auto replay(const std::string& name, Operation operation) {
    ScriptedServer server({[&](Peer& peer) { peer.answer(recordedAnswer(name)); }});
    CIMClient client(20'000);
    client.connect(server.address(), "", "");
    struct Comparison {
      ScriptedServer& server;
      const std::string& name;
      ~Comparison() {
        ASSERT_EQ(server.requests().size(), 1U);
        EXPECT_EQ(bodyOf(server.requests()[0]), bodyOf(recordedRequest(name)));
        EXPECT_EQ(server.problems(), "");
      }
    } const comparison{server, name};
    return operation(client);
  }

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

  static std::string bodyOf(const std::string& message) {
    return message.substr(message.find("\r\n\r\n") + 4);
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

  static std::string valueOf(const CIMInstance& instance, const char* name) {
    const Uint32 position = instance.findProperty(name);
    return instance.getProperty(position).getValue().toString().toUtf8();
  }

  const String nameSpace = "root/kvasd";
  const std::string escapedText = "Board & <riser> 5\" caf\xc3\xa9 \xe4\xb8\xad";
};

TEST_F(Operations, EnumerateInstances) {
  const auto found = replay("01-enumerate-instances", [&](CIMClient& client) {
    return client.enumerateInstances(nameSpace, "KVAXDT_ComputerSystemDetails");
  });
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(valueOf(found[0], "serialNumber"), "KV12345");
  EXPECT_EQ(valueOf(found[0], "model"), "Server 123 -[1234ABX]-");
  EXPECT_TRUE(found[0].getProperty(found[0].findProperty("Caption")).getValue().isNull());
  EXPECT_EQ(found[0].getPath().toString(), "KVAXDT_ComputerSystemDetails.name=\"box1\"");
}

TEST_F(Operations, EnumerateInstancesWithTextOfManyKinds) {
  const auto found = replay("15-enumerate-instances-escaped-text", [&](CIMClient& client) {
    return client.enumerateInstances(nameSpace, "KVAXDT_FRU");
  });
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(valueOf(found[0], "Description"), escapedText);
  EXPECT_EQ(found[0].getPath(), fruName("A100009"));
}

TEST_F(Operations, EnumerateInstanceNames) {
  const auto found = replay("06-enumerate-instance-names", [&](CIMClient& client) {
    return client.enumerateInstanceNames(nameSpace, "KVAXDT_FRU");
  });
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0], fruName("A100001"));
  EXPECT_EQ(found[1], fruName("A100009"));
}

TEST_F(Operations, EnumerationThatFindsNothingIsEmpty) {
  const auto found = replay("02-enumerate-instance-names-none", [&](CIMClient& client) {
    return client.enumerateInstanceNames(nameSpace, "KVAXDT_FRU");
  });
  EXPECT_EQ(found.size(), 0U);
}

TEST_F(Operations, CreateInstance) {
  const CIMInstance plain = fru("A100001", "FAN", "Hot swap fan");
  const CIMInstance escaped = fru("A100009", "PLANAR", escapedText.c_str());
  EXPECT_EQ(replay("03-create-instance",
                   [&](CIMClient& client) { return client.createInstance(nameSpace, plain); }),
            fruName("A100001"));
  EXPECT_EQ(replay("05-create-instance-escaped-text",
                   [&](CIMClient& client) { return client.createInstance(nameSpace, escaped); }),
            fruName("A100009"));
}

TEST_F(Operations, GetProperty) {
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

TEST_F(Operations, DeleteInstance) {
  replay("11-delete-instance",
         [&](CIMClient& client) { client.deleteInstance(nameSpace, fruName()); });
}

TEST_F(Operations, RefusalsCarryCodeAndDescription) {
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

TEST_F(Operations, ChunkedAnswerIsUnderstood) {
  const auto found = replay("17-chunked-enumerate-instances", [&](CIMClient& client) {
    return client.enumerateInstances(nameSpace, "KVAXDT_ComputerSystemDetails");
  });
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(valueOf(found[0], "name"), "box1");
}

TEST_F(Operations, RefusalInTrailersIsARefusal) {
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

// Of GetInstance there is no recording.
TEST_F(Operations, GetInstance) {
  const std::string answer =
      "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"@ID@\" PROTOCOLVERSION=\"1.0\">"
      "<SIMPLERSP><IMETHODRESPONSE NAME=\"GetInstance\"><IRETURNVALUE>"
      "<INSTANCE CLASSNAME=\"KVAXDT_FRU\"><PROPERTY NAME=\"Name\" TYPE=\"string\">"
      "<VALUE> FAN </VALUE></PROPERTY></INSTANCE>"
      "</IRETURNVALUE></IMETHODRESPONSE></SIMPLERSP></MESSAGE></CIM>";
  ScriptedServer server({[&](Peer& peer) { peer.answer(httpAnswer(answer)); }});
  CIMClient client(20'000);
  client.connect(server.address(), "", "");
  CIMPropertyList names{Array<String>{"Name"}};
  const CIMInstance instance = client.getInstance(nameSpace, fruName(), false, true, false, names);
  EXPECT_EQ(valueOf(instance, "Name"), " FAN ");
  EXPECT_EQ(instance.getPath(), fruName());
  std::string expected = bodyOf(recordedRequest("07-get-property"));
  expected.replace(expected.find("GetProperty"), 11, "GetInstance");
  const std::size_t last = expected.find("<IPARAMVALUE NAME=\"PropertyName\">");
  expected.replace(last, expected.find("</IMETHODCALL>") - last,
                   "<IPARAMVALUE NAME=\"LocalOnly\"><VALUE>false</VALUE></IPARAMVALUE>"
                   "<IPARAMVALUE NAME=\"IncludeQualifiers\"><VALUE>true</VALUE></IPARAMVALUE>"
                   "<IPARAMVALUE NAME=\"IncludeClassOrigin\"><VALUE>false</VALUE></IPARAMVALUE>"
                   "<IPARAMVALUE NAME=\"PropertyList\"><VALUE.ARRAY><VALUE>Name</VALUE>"
                   "</VALUE.ARRAY></IPARAMVALUE>");
  ASSERT_EQ(server.requests().size(), 1U);
  EXPECT_EQ(bodyOf(server.requests()[0]), expected);
}

TEST_F(Operations, EveryFlagOfAnEnumerationIsSent) {
  ScriptedServer server(
      {[&](Peer& peer) { peer.answer(recordedAnswer("01-enumerate-instances")); }});
  CIMClient client(20'000);
  client.connect(server.address(), "", "");
  client.enumerateInstances(nameSpace, "KVAXDT_FRU", false, false, true, true,
                            CIMPropertyList{Array<String>{"Name", "Vendor"}});
  ASSERT_EQ(server.requests().size(), 1U);
  EXPECT_THAT(server.requests()[0],
              HasSubstr("<IPARAMVALUE NAME=\"DeepInheritance\"><VALUE>false</VALUE></IPARAMVALUE>"
                        "<IPARAMVALUE NAME=\"LocalOnly\"><VALUE>false</VALUE></IPARAMVALUE>"
                        "<IPARAMVALUE NAME=\"IncludeQualifiers\"><VALUE>true</VALUE></IPARAMVALUE>"
                        "<IPARAMVALUE NAME=\"IncludeClassOrigin\"><VALUE>true</VALUE></IPARAMVALUE>"
                        "<IPARAMVALUE NAME=\"PropertyList\"><VALUE.ARRAY><VALUE>Name</VALUE>"
                        "<VALUE>Vendor</VALUE></VALUE.ARRAY></IPARAMVALUE></IMETHODCALL>"));
}

TEST_F(Operations, RequestHeaderIsAsServersWantIt) {
  ScriptedServer server({[](Peer& peer) { peer.answer(propertyAnswer("x")); }});
  CIMClient client(20'000);
  client.connect(server.address(), "", "");
  client.getProperty("root/\xc3\xa9 1", fruName(), "Name");
  ASSERT_EQ(server.requests().size(), 1U);
  const std::string request = server.requests()[0];
  const std::string body = bodyOf(request);
  EXPECT_EQ(request, "POST /cimom HTTP/1.1\r\nHost: " + server.address() +
                         "\r\nContent-Type: application/xml; charset=\"utf-8\"\r\n"
                         "Content-Length: " +
                         std::to_string(body.size()) +
                         "\r\nAccept: application/xml, text/xml\r\nCIMOperation: MethodCall\r\n"
                         "CIMProtocolVersion: 1.0\r\nCIMMethod: GetProperty\r\n"
                         "CIMObject: root%2F%C3%A9%201\r\n\r\n" +
                         body);
}

TEST_F(Operations, EachHasAMessageIdOfItsOwn) {
  const auto answerThree = [](Peer& peer) {
    for (int i = 0; i < 3; i++) {
      peer.answer(propertyAnswer("x"));
    }
  };
  ScriptedServer server({answerThree});
  CIMClient client(20'000);
  client.connect(server.address(), "", "");
  for (int i = 0; i < 3; i++) {
    EXPECT_EQ(askProperty(client), "x");
  }
  std::set<std::string> ids;
  for (const std::string& request : server.requests()) {
    const std::size_t begin = request.find(" ID=\"");
    ids.insert(request.substr(begin, request.find("\" PROTOCOLVERSION") - begin));
  }
  EXPECT_EQ(ids.size(), 3U);
}

TEST_F(Operations, CharacterThatXmlCannotCarryIsNotSent) {
  ScriptedServer server({[](Peer& peer) {
    peer.answer(propertyAnswer("x"));
    peer.awaitClose();
  }});
  CIMClient client(20'000);
  client.connect(server.address(), "", "");
  EXPECT_THROW(client.getProperty(nameSpace, fruName(), "Na\x01me"), InvalidValueException);
  EXPECT_THROW(client.getProperty("root/\x02", fruName(), "Name"), InvalidValueException);
  EXPECT_THROW(client.deleteInstance(nameSpace, fruName("\x1b")), InvalidValueException);
  EXPECT_THROW(client.createInstance(nameSpace, fru("1", "2", "\x7f\x03")), InvalidValueException);
  EXPECT_EQ(askProperty(client), "x");
  EXPECT_EQ(server.requests().size(), 1U);
  EXPECT_EQ(server.connections(), 1U);
  EXPECT_EQ(server.problems(), "");
}

}  // namespace
}  // namespace Pegasus
