#include "http/request_check.h"
#include <gtest/gtest.h>
#include "http/cim_handler.h"

#include "support.h"

namespace cimd {
namespace {

// A request that is in order, to be changed in one place.
HttpRequest good() {
  HttpRequest request;
  request.method = "POST";
  request.headers = {{"Host", "localhost:5988"},
                     {"CIMOperation", "MethodCall"},
                     {"CIMProtocolVersion", "1.0"},
                     {"CIMMethod", "EnumerateInstanceNames"},
                     {"CIMObject", "root%2Fkvasd"}};
  request.body =
      "<?xml version=\"1.0\" encoding=\"utf-8\"?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">"
      "<MESSAGE ID=\"7\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL "
      "NAME=\"EnumerateInstanceNames\"><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE "
      "NAME=\"kvasd\"/></LOCALNAMESPACEPATH><IPARAMVALUE NAME=\"ClassName\"><CLASSNAME "
      "NAME=\"A\"/></IPARAMVALUE></IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
  return request;
}

// With one header changed, added, or removed when the value is null.
HttpRequest with(const std::string& name, const char* value) {
  HttpRequest request = good();
  std::erase_if(request.headers, [&](const auto& header) { return header.first == name; });
  if (value != nullptr) {
    request.headers.emplace_back(name, value);
  }
  return request;
}

HttpRequest withBody(const std::string& from, const std::string& to) {
  HttpRequest request = good();
  request.body.replace(request.body.find(from), from.size(), to);
  return request;
}

std::string outcome(const HttpAnswer& answer) {
  std::string text = std::to_string(answer.status);
  for (const auto& [name, value] : answer.headers) {
    if (name == "CIMError") {
      text += ' ' + value;
    }
  }
  return text;
}

// Status and CIM error of the answer. What needs no body is refused before it is read as well.
std::string outcome(const HttpRequest& request) {
  Repository repository;
  test::loadText(repository, "class A { [Key] string k; };");
  const Log log(LogLevel::WARNING);
  CimHandler handler(repository, log);
  std::string whole = outcome(handler.answer(request));
  const auto early = handler.refuseEarly(request);
  EXPECT_TRUE(!early || outcome(*early) == whole);
  return whole;
}

TEST(RequestCheck, GoodRequestsOfEveryStyle) {
  EXPECT_EQ(outcome(good()), "200");
  EXPECT_EQ(outcome(with("CIMObject", "root/kvasd")), "200");
  EXPECT_EQ(outcome(with("CIMObject", "/ROOT/Kvasd")), "200");
  EXPECT_EQ(outcome(with("CIMMethod", "enumerateInstancenames")), "200");
  EXPECT_EQ(outcome(with("CIMMethod", "Enumerate%49nstanceNames")), "200");
  EXPECT_EQ(outcome(with("CIMProtocolVersion", nullptr)), "200");
  EXPECT_EQ(outcome(with("CIMProtocolVersion", "1.4")), "200");
  EXPECT_EQ(outcome(with("TE", "trailers")), "200");
  EXPECT_EQ(outcome(with("Expect", "100-Continue")), "200");
  EXPECT_EQ(outcome(withBody("CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"",
                             "CIMVERSION=\"2.3\" DTDVERSION=\"2.2\"")),
            "200");
  HttpRequest old = with("Host", nullptr);
  old.version = 10;
  EXPECT_EQ(outcome(old), "200");
}

TEST(RequestCheck, Methods) {
  for (const char* method : {"GET", "PUT", "OPTIONS", "post"}) {
    HttpRequest request = good();
    request.method = method;
    EXPECT_EQ(outcome(request), "501") << method;
  }
}

TEST(RequestCheck, CimHeaders) {
  EXPECT_EQ(outcome(with("CIMOperation", nullptr)), "400");
  EXPECT_EQ(outcome(with("CIMOperation", "MethodResponse")), "400 unsupported-operation");
  EXPECT_EQ(outcome(with("CIMBatch", "")), "501 multiple-requests-unsupported");
  EXPECT_EQ(outcome(with("CIMProtocolVersion", "2.0")), "501 unsupported-protocol-version");
  EXPECT_EQ(outcome(with("CIMProtocolVersion", "")), "501 unsupported-protocol-version");
  EXPECT_EQ(outcome(with("Expect", "200-ok")), "417");
  for (const char* name : {"CIMMethod", "CIMObject"}) {
    for (const char* value :
         {static_cast<const char*>(nullptr), "", "%", "%4", "%zz", "%ff", "other"}) {
      EXPECT_EQ(outcome(with(name, value)), "400 header-mismatch")
          << name << ' ' << (value != nullptr ? value : "missing");
    }
  }
}

TEST(RequestCheck, WhatTheHeadersTellIsRefusedBeforeTheBodyIsRead) {
  Repository repository;
  const Log log(LogLevel::WARNING);
  CimHandler handler(repository, log);
  EXPECT_FALSE(handler.refuseEarly(good()));
  EXPECT_TRUE(handler.refuseEarly(with("Host", "example.com")));
  EXPECT_TRUE(handler.refuseEarly(with("Origin", "null")));
  for (const char* name : {"CIMMethod", "CIMObject"}) {
    for (const char* value : {static_cast<const char*>(nullptr), "", "%", "%4", "%zz", "%ff"}) {
      EXPECT_TRUE(handler.refuseEarly(with(name, value)))
          << name << ' ' << (value != nullptr ? value : "missing");
    }
  }
}

TEST(RequestCheck, OnlyThisHostIsServed) {
  for (const char* host : {"localhost", "LOCALHOST:80", "127.0.0.1", "127.9.8.7:5988", "[::1]",
                           "[::1]:5988", "localhost:"}) {
    EXPECT_EQ(outcome(with("Host", host)), "200") << host;
  }
  for (const char* host :
       {"example.com", "example.com:5988", "localhost.example.com", "127.0.0.1.example.com",
        "10.0.0.1", "0.0.0.0", "[::]", "[::2]", "::1", "[::1", "[127.0.0.1]", "[localhost]",
        "localhost:x", "localhost:1:2", "", ":5988", "127.0.0.1@example.com", "[::1]x"}) {
    EXPECT_EQ(outcome(with("Host", host)), "403") << host;
  }
  EXPECT_EQ(outcome(with("Host", nullptr)), "400");
  HttpRequest twice = good();
  twice.headers.emplace_back("host", "localhost");
  EXPECT_EQ(outcome(twice), "400");
}

TEST(RequestCheck, WebPagesAreNotServed) {
  EXPECT_EQ(outcome(with("Origin", "http://localhost:5988")), "403");
  EXPECT_EQ(outcome(with("Origin", "null")), "403");
}

TEST(RequestCheck, BodiesComeAsTheyAreOrInChunks) {
  EXPECT_EQ(outcome(with("Transfer-Encoding", "Chunked")), "200");
  EXPECT_EQ(outcome(with("Transfer-Encoding", "gzip, chunked")), "501");
  HttpRequest twice = with("Transfer-Encoding", "chunked");
  twice.headers.emplace_back("Transfer-Encoding", "chunked");
  EXPECT_EQ(outcome(twice), "501");
  EXPECT_EQ(outcome(with("Content-Encoding", "identity")), "200");
  EXPECT_EQ(outcome(with("Content-Encoding", "gzip")), "415");
  EXPECT_EQ(outcome(with("Expect", "100-Continue")), "200");
  EXPECT_EQ(outcome(with("Expect", "more")), "417");
}

TEST(RequestCheck, BodiesAndVersions) {
  EXPECT_EQ(outcome(withBody("<MESSAGE", "<MESS")), "400 request-not-well-formed");
  EXPECT_EQ(outcome(withBody("\"A\"", "\"\xFF\"")), "400 request-not-valid");
  EXPECT_EQ(outcome(withBody("<IMETHODCALL", "<!DOCTYPE x><IMETHODCALL")), "400 request-not-valid");
  HttpRequest empty = good();
  empty.body.clear();
  EXPECT_EQ(outcome(empty), "400 request-not-well-formed");
  HttpRequest other = good();
  other.body = "<html/>";
  EXPECT_EQ(outcome(other), "400 request-not-valid");
  HttpRequest batch = good();
  batch.body =
      "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"7\" PROTOCOLVERSION=\"1.0\">"
      "<MULTIREQ/></MESSAGE></CIM>";
  EXPECT_EQ(outcome(batch), "501 multiple-requests-unsupported");
  EXPECT_EQ(outcome(withBody("CIMVERSION=\"2.0\"", "CIMVERSION=\"3.0\"")),
            "501 unsupported-cim-version");
  EXPECT_EQ(outcome(withBody("DTDVERSION=\"2.0\"", "DTDVERSION=\"1.0\"")),
            "501 unsupported-dtd-version");
  EXPECT_EQ(outcome(withBody("PROTOCOLVERSION=\"1.0\"", "PROTOCOLVERSION=\"2.0\"")),
            "501 unsupported-protocol-version");
}

HttpRequest extensionRequest(const char* man, const std::string& prefix) {
  HttpRequest request = good();
  request.method = "M-POST";
  for (auto& [name, value] : request.headers) {
    if (name.starts_with("CIM")) {
      name.insert(0, prefix);
    }
  }
  request.headers.emplace_back("Man", man);
  return request;
}

TEST(RequestCheck, ExtensionPostAndItsPrefix) {
  Repository repository;
  test::loadText(repository, "class A { [Key] string k; };");
  const Log log(LogLevel::WARNING);
  CimHandler handler(repository, log);
  const HttpAnswer answer =
      handler.answer(extensionRequest("http://www.dmtf.org/cim/mapping/http/v1.0 ; ns=73", "73-"));
  EXPECT_EQ(answer.status, 200U);
  HttpRequest asRequest;
  asRequest.headers = answer.headers;
  EXPECT_EQ(*asRequest.header("73-CIMOperation"), "MethodResponse");
  EXPECT_EQ(*asRequest.header("Man"), "http://www.dmtf.org/cim/mapping/http/v1.0; ns=73");
  EXPECT_EQ(*asRequest.header("Ext"), "");

  EXPECT_EQ(outcome(extensionRequest("\"http://www.dmtf.org/cim/mapping/http/v1.0\";NS=1", "1-")),
            "200");
  EXPECT_EQ(outcome(extensionRequest("http://www.dmtf.org/cim/mapping/http/v1.0", "")), "200");
  EXPECT_EQ(outcome(extensionRequest("http://www.dmtf.org/cim/mapping/http/v1.0;ns= 4", "4-")),
            "200");
  EXPECT_EQ(outcome(extensionRequest("http://www.dmtf.org/cim/mapping/http/v1.0;ns=2", "3-")),
            "400");
}

TEST(RequestCheck, ExtensionPostOfAnotherExtensionIsRefused) {
  for (const char* man :
       {"http://example.com/;ns=1", "", "http://www.dmtf.org/cim/mapping/http/v1.0;",
        "http://www.dmtf.org/cim/mapping/http/v1.0;ns=x",
        "http://www.dmtf.org/cim/mapping/http/v1.0;ns=",
        "http://www.dmtf.org/cim/mapping/http/v1.0;xx=1",
        "http://www.dmtf.org/cim/mapping/http/"
        "v1.0;n"}) {
    EXPECT_EQ(outcome(extensionRequest(man, "1-")), "510") << man;
  }
  HttpRequest without = good();
  without.method = "M-POST";
  EXPECT_EQ(outcome(without), "510");
}

TEST(PercentCoding, BothWays) {
  std::string decoded;
  EXPECT_TRUE(percentDecode("a%2Fb%2fc%41+", decoded));
  EXPECT_EQ(decoded, "a/b/cA+");
  EXPECT_EQ(percentEncode("a b\r\n%\xC3\xA9"), "a%20b%0D%0A%25%C3%A9");
}

}  // namespace
}  // namespace cimd
