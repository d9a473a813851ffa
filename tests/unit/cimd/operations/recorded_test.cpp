// Requests that were recorded before a real server get answers of the recorded meaning.
#include <gtest/gtest.h>
#include "http/cim_handler.h"
#include "xml/response.h"

#include <map>

#include "support.h"

namespace cimd {
namespace {

using Pegasus::CIMInstance;
using Pegasus::Uint32;
using Pegasus::xml::Response;

const std::string dataFolder = MORVIK_TEST_DATA_DIR;

HttpRequest parse(const std::string& raw) {
  HttpRequest request;
  const std::size_t end = raw.find("\r\n\r\n");
  request.method = raw.substr(0, raw.find(' '));
  request.body = raw.substr(end + 4);
  for (std::size_t at = raw.find("\r\n"); at < end;) {
    const std::size_t next = raw.find("\r\n", at + 2);
    const std::string line = raw.substr(at + 2, next - at - 2);
    request.headers.emplace_back(line.substr(0, line.find(':')), line.substr(line.find(':') + 2));
    at = next;
  }
  return request;
}

// All that an answer says, as text; the order of properties and what is propagated are each
// server's own.
std::string meaning(const std::string& body, const std::string& method) {
  try {
    const Response response(body, "1001", method);
    if (method == "CreateInstance") {
      return response.instanceName().toString().toUtf8();
    }
    if (method == "GetProperty") {
      const auto value = response.value();
      return value.isNull() ? "null" : "'" + value.toString().toUtf8() + "'";
    }
    std::string text;
    if (method == "EnumerateInstanceNames") {
      for (const auto& name : response.instanceNames()) {
        text += name.toString().toUtf8() + '\n';
      }
    } else if (method == "EnumerateInstances") {
      for (const CIMInstance& instance : response.namedInstances()) {
        std::map<std::string, std::string> properties;
        for (Uint32 i = 0; i < instance.getPropertyCount(); ++i) {
          const auto& property = instance.getProperty(i);
          properties[property.getName().toUtf8()] =
              std::string(Pegasus::cimTypeToString(property.getType())) +
              (property.getValue().isNull() ? " null"
                                            : " '" + property.getValue().toString().toUtf8() + "'");
        }
        text += instance.getPath().toString().toUtf8() + '\n';
        for (const auto& [name, value] : properties) {
          text += name + ' ' + value + '\n';
        }
      }
    }
    return text;
  } catch (const Pegasus::CIMException& error) {
    return std::to_string(error.getCode()) + ' ' + error.getDescription().toUtf8();
  }
}

TEST(Recorded, RequestsGetAnswersOfTheRecordedMeaning) {
  Repository repository;
  test::loadText(repository, test::readFile(dataFolder + "/fru/recorded.mof"));
  const Log log(LogLevel::WARNING);
  CimHandler handler(repository, log);
  // In the order in which they were recorded: each finds what those before it left.
  for (const char* name :
       {"01-enumerate-instances", "02-enumerate-instance-names-none", "03-create-instance",
        "04-create-instance-already-exists", "05-create-instance-escaped-text",
        "06-enumerate-instance-names", "07-get-property", "08-get-property-escaped-text",
        "09-get-property-null", "10-get-property-no-such-property", "11-delete-instance",
        "12-delete-instance-not-found", "13-unknown-class", "14-unknown-namespace",
        "15-enumerate-instances-escaped-text"}) {
    const std::string file = dataFolder + "/traffic/" + name;
    const HttpRequest request = parse(test::readFile(file + ".request.http"));
    const std::string method = *request.header("CIMMethod");
    const std::string recorded = parse(test::readFile(file + ".response.http")).body;
    EXPECT_FALSE(handler.refuseEarly(request)) << name;
    const HttpAnswer answer = handler.answer(request);
    EXPECT_EQ(answer.status, 200U) << name;
    EXPECT_EQ(meaning(answer.body, method), meaning(recorded, method)) << name;
  }
}

// TE allows a chunked answer with trailers and does not ask for it.
TEST(Recorded, ClientsThatAcceptTrailersGetTheErrorInTheMessage) {
  Repository repository;
  test::loadText(repository, test::readFile(dataFolder + "/fru/recorded.mof"));
  const Log log(LogLevel::WARNING);
  CimHandler handler(repository, log);
  const HttpAnswer answer = handler.answer(
      parse(test::readFile(dataFolder + "/traffic/18-chunked-error-in-trailer.request.http")));
  EXPECT_EQ(meaning(answer.body, "EnumerateInstances"),
            "5 CIM_ERR_INVALID_CLASS: KVAXDT_NoSuchClass");
}

TEST(Recorded, WhatIsNoXmlIsRefused) {
  Repository repository;
  const Log log(LogLevel::WARNING);
  CimHandler handler(repository, log);
  const HttpAnswer answer = handler.answer(
      parse(test::readFile(dataFolder + "/traffic/16-request-not-well-formed.request.http")));
  EXPECT_EQ(answer.status, 400U);
}

}  // namespace
}  // namespace cimd
