// Requests of operations that no recording shows, and how they leave.
#include <Pegasus/Client/CIMClient.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "scripted_server.h"
#include "system_calls.h"

namespace Pegasus {
namespace {

using testing::HasSubstr;

const String nameSpace = "root/kvasd";

// There is no recording of GetInstance.
TEST(Request, GetInstanceSendsNameAndFlags) {
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
  EXPECT_EQ(bodyOf(server.requests()[0]) + "\n", expected);
}

TEST(Request, EnumerationSendsEveryFlag) {
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

TEST(Request, EachHasItsOwnMessageId) {
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

TEST(Request, WithACharacterThatXmlLacksIsNotSent) {
  ScriptedServer server({[](Peer& peer) {
    peer.answer(propertyAnswer("x"));
    peer.awaitClose();
  }});
  CIMClient client(20'000);
  client.connect(server.address(), "", "");
  CIMInstance unsendable{String("KVAXDT_FRU")};
  unsendable.addProperty(CIMProperty("Name", CIMValue("\x03")));
  EXPECT_THROW(client.getProperty(nameSpace, fruName(), "Na\x01me"), InvalidValueException);
  EXPECT_THROW(client.getProperty("root/\x02", fruName(), "Name"), InvalidValueException);
  EXPECT_THROW(client.createInstance(nameSpace, unsendable), InvalidValueException);
  EXPECT_EQ(askProperty(client), "x");
  EXPECT_EQ(server.requests().size(), 1U);
  EXPECT_EQ(server.connections(), 1U);
  EXPECT_EQ(server.problems(), "");
}

// Other faults of a body are tested with the decoder.
TEST(Request, AnswerToAnotherRequestIsAnError) {
  std::string answer = propertyBody("x");
  answer.replace(answer.find("@ID@"), 4, "1000");
  ScriptedServer server({[&](Peer& peer) { peer.answer(httpAnswer(answer)); }});
  CIMClient client(20'000);
  client.connect(server.address(), "", "");
  EXPECT_THROW(askProperty(client), CIMClientResponseException);
  EXPECT_EQ(server.problems(), "");
}

// A header that is sent alone can delay the body until its acknowledgement.
TEST(Request, LeavesInOneSegment) {
  std::vector<std::size_t> segments;
  ScriptedServer server({[&](Peer& peer) {
    for (int i = 0; i < 3; i++) {
      peer.readRequest();
      segments.push_back(peer.segments());
      peer.send(propertyAnswer("x"));
    }
  }});
  CIMClient client(20'000);
  client.connect(server.address(), "", "");
  for (int i = 0; i < 3; i++) {
    EXPECT_EQ(askProperty(client), "x");
  }
  EXPECT_EQ(server.problems(), "");
  EXPECT_EQ(segments, (std::vector<std::size_t>{1, 2, 3}));
}

// There is always room for the next bytes, and the answer arrives before the whole request is sent.
TEST(Request, TimesOutThoughTheServerKeepsTakingALittle) {
  ScriptedServer server({[](Peer& peer) {
    peer.readBytes(1);
    peer.send("HTTP/1.1 503 Service Unavailable\r\nContent-Length: 0\r\n\r\n");
    peer.readRequest();
  }});
  CIMClient client(300);
  client.connect(server.address(), "", "");
  const std::string large(1U << 20, 'x');
  const CIMObjectPath name = fruName(large.c_str());
  systemCalls.slowSendSize = 1024;
  EXPECT_THROW(client.deleteInstance("root/kvasd", name), ConnectionTimeoutException);
  systemCalls.slowSendSize = 0;
}

}  // namespace
}  // namespace Pegasus
