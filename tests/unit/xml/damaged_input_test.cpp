// Messages that are cut off, damaged or hostile end in an exception of the library's own, in
// bounded time.
#include "traffic.h"

#include <gtest/gtest.h>
#include "xml/encoder.h"
#include "xml/request.h"
#include "xml/response.h"

#include <string_view>

namespace Pegasus::xml {
namespace {

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
