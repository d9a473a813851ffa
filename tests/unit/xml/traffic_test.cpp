// The recorded exchanges of tests/data/traffic. The requests of an independent client are read as
// the server reads them; a message that is cut off, damaged or hostile ends in an exception of the
// library's own, in bounded time. The client's own requests, and the recorded answers, are in
// unit/client.
#include <gtest/gtest.h>
#include "xml/encoder.h"
#include "xml/request.h"
#include "xml/response.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>

namespace Pegasus::xml {
namespace {

std::string joinChunks(const std::string& chunked) {
  std::string body;
  for (std::size_t position = 0;;) {
    const std::size_t lineEnd = chunked.find("\r\n", position);
    const std::size_t size = std::stoul(chunked.substr(position, lineEnd - position), nullptr, 16);
    if (size == 0) {
      return body;
    }
    body += chunked.substr(lineEnd + 2, size);
    position = lineEnd + 2 + size + 2;
  }
}

// The body of "07-get-property.request.http" and its like, put together again where it was sent in
// chunks.
std::string recordedBody(const std::string& fileName) {
  std::ifstream file(MORVIK_TEST_DATA_DIR "/traffic/" + fileName, std::ios::binary);
  const std::string message{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  const std::size_t headerEnd = message.find("\r\n\r\n");
  if (headerEnd == std::string::npos) {
    throw std::runtime_error("no HTTP message in " + fileName);
  }
  const std::string body = message.substr(headerEnd + 4);
  const bool isChunked = message.find("transfer-encoding: chunked") < headerEnd;
  return isChunked ? joinChunks(body) : body;
}

// Names of the recorded cases that have a CIM-XML body in the request, "07-get-property" and its
// like.
std::vector<std::string> recordedCases() {
  const std::string ending = ".request.http";
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(MORVIK_TEST_DATA_DIR "/traffic")) {
    const std::string name = entry.path().filename().string();
    if (name.ends_with(ending) && name != "16-request-not-well-formed" + ending) {
      names.push_back(name.substr(0, name.size() - ending.size()));
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

TEST(RecordedRequests, HaveTheSameMessageFrame) {
  for (const std::string& name : recordedCases()) {
    SCOPED_TRACE(name);
    const Request request(recordedBody(name + ".request.http"));
    EXPECT_EQ(request.messageId(), "1001");
    EXPECT_EQ(request.cimVersion(), "2.0");
    EXPECT_EQ(request.dtdVersion(), "2.0");
    EXPECT_EQ(request.protocolVersion(), "1.0");
    EXPECT_EQ(request.kind(), CallKind::intrinsic);
    EXPECT_FALSE(request.isBatch());
    EXPECT_EQ(request.nameSpace(), name == "14-unknown-namespace" ? "root/nowhere" : "root/kvasd");
  }
}

TEST(RecordedRequests, ParametersAreRead) {
  const Request enumeration(recordedBody("01-enumerate-instances.request.http"));
  EXPECT_EQ(enumeration.method(), "EnumerateInstances");
  EXPECT_EQ(enumeration.parameterNames(),
            (std::vector<std::string>{"ClassName", "DeepInheritance", "LocalOnly",
                                      "IncludeQualifiers", "IncludeClassOrigin"}));
  EXPECT_EQ(enumeration.className("ClassName"), String("KVAXDT_ComputerSystemDetails"));
  EXPECT_EQ(enumeration.boolean("DeepInheritance"), true);
  EXPECT_EQ(enumeration.boolean("IncludeQualifiers"), false);
  EXPECT_TRUE(enumeration.propertyList("PropertyList").isNull());

  const Request creation(recordedBody("05-create-instance-escaped-text.request.http"));
  const CIMInstance instance = creation.instance("NewInstance").value();
  EXPECT_EQ(instance.getClassName(), "KVAXDT_FRU");
  ASSERT_EQ(instance.getPropertyCount(), 6U);
  EXPECT_EQ(instance.getProperty(2).getValue(), CIMValue("Board & <riser> 5\" caf\u00e9 \u4e2d"));

  const Request question(recordedBody("07-get-property.request.http"));
  EXPECT_EQ(question.instanceName("InstanceName")->toString(),
            "KVAXDT_FRU.FRUNumber=\"A100001\",IdentifyingNumber=\"KVAHalvoranFru1\","
            "Vendor=\"KVA\"");
  EXPECT_EQ(question.name("PropertyName"), String("IdentifyingNumber"));
}

TEST(RecordedRequests, TruncatedRequestIsRefused) {
  EXPECT_THROW(Request(recordedBody("16-request-not-well-formed.request.http")), XmlException);
}

// Everything that the client could ask for. Other exceptions than the library's end the test.
void readResponse(const std::string& body, const std::string& method) {
  try {
    const Response response(body, "1001", method);
    const auto attempt = [](auto read) {
      try {
        read();
      } catch (const Exception&) {
        return;
      }
    };
    attempt([&response] { response.namedInstances(); });
    attempt([&response] { response.instanceNames(); });
    attempt([&response] { response.instance(); });
    attempt([&response] { response.instanceName(); });
    attempt([&response] { response.value(); });
  } catch (const Exception&) {
    return;
  }
}

void readRequest(const std::string& body) {
  try {
    const Request request(body);
    for (const std::string& name : request.parameterNames()) {
      request.className(name);
      request.instanceName(name);
      request.instance(name);
      request.name(name);
      request.boolean(name);
      request.propertyList(name);
    }
  } catch (const Exception&) {
    return;
  }
}

std::string requestBody(const std::string& name) {
  return recordedBody(name + ".request.http");
}
std::string responseBody(const std::string& name) {
  return recordedBody(name + ".response.http");
}

TEST(DamagedInput, EveryPrefixIsRefused) {
  for (const std::string& name : recordedCases()) {
    for (const std::string& body : {requestBody(name), responseBody(name)}) {
      const std::size_t end = body.rfind('>');
      for (std::size_t length = 0; length <= end; ++length) {
        EXPECT_THROW(XmlDocument(body.substr(0, length)), XmlException) << name << ' ' << length;
      }
      EXPECT_NO_THROW(XmlDocument(body.substr(0, end + 1)));
    }
  }
}

TEST(DamagedInput, OneDamagedByteNeverEndsInMoreThanAnException) {
  using namespace std::string_view_literals;
  const std::string method = "EnumerateInstances";
  const std::string response = responseBody("15-enumerate-instances-escaped-text");
  const std::string request = requestBody("05-create-instance-escaped-text");
  for (const char damage : "\0\x01 \"&'/<>;=#x!?[]-\x80\xC3\xED\xFF"sv) {
    for (std::size_t i = 0; i < response.size(); ++i) {
      std::string damaged = response;
      damaged[i] = damage;
      readResponse(damaged, method);
    }
    for (std::size_t i = 0; i < request.size(); ++i) {
      std::string damaged = request;
      damaged[i] = damage;
      readRequest(damaged);
    }
  }
}

TEST(DamagedInput, OneMissingOrDoubledByteNeverEndsInMoreThanAnException) {
  for (const std::string& name : recordedCases()) {
    const std::string response = responseBody(name);
    const std::string method = Request(requestBody(name)).method();
    for (std::size_t i = 0; i < response.size(); ++i) {
      std::string damaged = response;
      readResponse(damaged.erase(i, 1), method);
      damaged = response;
      readResponse(damaged.insert(i, 1, response[i]), method);
    }
  }
}

std::string manyProperties(int instances, int each) {
  std::string value;
  for (int i = 0; i < instances; ++i) {
    value += "<VALUE.NAMEDINSTANCE><INSTANCENAME CLASSNAME=\"A\"/><INSTANCE CLASSNAME=\"A\">";
    for (int j = 0; j < each; ++j) {
      value += "<PROPERTY NAME=\"p" + std::to_string(j) + "\" TYPE=\"string\"/>\n";
    }
    value += "</INSTANCE></VALUE.NAMEDINSTANCE>";
  }
  return encodeResponse("1", "EnumerateInstances", value);
}

TEST(HostileInput, AMillionPropertiesOfOneInstanceAreRefused) {
  const Response response(manyProperties(1, 1'000'000), "1", "EnumerateInstances");
  EXPECT_THROW(response.namedInstances(), XmlValidationError);
}

TEST(HostileInput, ManyInstancesAreRead) {
  const Response response(manyProperties(2'000, 50), "1", "EnumerateInstances");
  EXPECT_EQ(response.namedInstances().size(), 2'000U);
}

// Each level of keys costs a call on the stack.
TEST(HostileInput, DeepKeysAreRefusedBeforeTheyAreRead) {
  const auto nested = [](int depth) {
    CIMObjectPath path("", "", "A");
    for (int i = 0; i < depth; ++i) {
      path = CIMObjectPath("", "", "A", {CIMKeyBinding("k", path)});
    }
    std::string name;
    appendInstanceName(name, path);
    return encodeResponse("1", "CreateInstance", name);
  };
  EXPECT_NO_THROW(Response(nested(40), "1", "CreateInstance").instanceName());
  EXPECT_THROW(Response(nested(100), "1", "CreateInstance"), XmlException);
}

TEST(HostileInput, EntitiesAreNotExpanded) {
  EXPECT_THROW(Response("<!DOCTYPE CIM [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;\">]>"
                        "<CIM>&b;</CIM>",
                        "1", "M"),
               XmlException);
  EXPECT_THROW(Response("<!DOCTYPE CIM [<!ENTITY a SYSTEM \"file:///etc/passwd\">]><CIM>&a;</CIM>",
                        "1", "M"),
               XmlException);
}

}  // namespace
}  // namespace Pegasus::xml
