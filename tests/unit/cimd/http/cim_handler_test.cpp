#include "http/cim_handler.h"
#include <gtest/gtest.h>

#include "http/ask.h"
#include "support.h"

namespace cimd {
namespace {

using test::HttpRequest;

// A request that is in order, to be changed in one place.
HttpRequest good() {
  HttpRequest request;
  request.method_string("POST");
  request.target("/cimom");
  request.set("Host", "localhost:5988");
  request.set("CIMOperation", "MethodCall");
  request.set("CIMProtocolVersion", "1.0");
  request.set("CIMMethod", "EnumerateInstanceNames");
  request.set("CIMObject", "root%2Fkvasd");
  request.body() =
      "<?xml version=\"1.0\" encoding=\"utf-8\"?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">"
      "<MESSAGE ID=\"7\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL "
      "NAME=\"EnumerateInstanceNames\"><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE "
      "NAME=\"kvasd\"/></LOCALNAMESPACEPATH><IPARAMVALUE NAME=\"ClassName\"><CLASSNAME "
      "NAME=\"A\"/></IPARAMVALUE></IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
  return request;
}

// With one field changed, added, or removed when the value is null.
HttpRequest with(const std::string& name, const char* value) {
  HttpRequest request = good();
  request.erase(name);
  if (value != nullptr) {
    request.set(name, value);
  }
  return request;
}

HttpRequest withBody(const std::string& from, const std::string& to) {
  HttpRequest request = good();
  request.body().replace(request.body().find(from), from.size(), to);
  return request;
}

HttpAnswer answerTo(const HttpRequest& request) {
  Repository repository;
  test::loadText(repository, "class A { [Key] string k; };");
  const Log log(LogLevel::warning);
  Access access(Writers(), log);
  CimHandler handler(repository, access, log);
  return test::ask(handler, request);
}

// Status and CIM error of the answer.
std::string outcome(const HttpRequest& request) {
  const HttpAnswer answer = answerTo(request);
  const std::string error(answer["CIMError"]);
  return std::to_string(answer.result_int()) + (error.empty() ? "" : " " + error);
}

TEST(CimHandler, GoodRequestsOfEveryStyleAreServed) {
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
  old.version(10);
  EXPECT_EQ(outcome(old), "200");
}

TEST(CimHandler, OtherMethodsAreNotImplemented) {
  for (const char* method : {"GET", "PUT", "OPTIONS", "post"}) {
    HttpRequest request = good();
    request.method_string(method);
    EXPECT_EQ(outcome(request), "501") << method;
  }
}

TEST(CimHandler, CimHeadersAreChecked) {
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

TEST(CimHandler, DuplicatesOfWhatIsJudgedByAreRefused) {
  for (const char* name : {"CIMOperation", "CIMProtocolVersion", "CIMMethod", "CIMObject"}) {
    HttpRequest request = good();
    request.insert(name, std::string(request[name]));
    EXPECT_EQ(outcome(request), "400 header-mismatch") << name;
  }
  for (const auto& [name, value] :
       {std::pair("Expect", "100-continue"), {"Man", "x"}, {"Content-Encoding", "identity"}}) {
    HttpRequest request = with(name, value);
    EXPECT_EQ(outcome(request), "200") << name;
    request.insert(name, value);
    EXPECT_EQ(outcome(request), "400") << name;
  }
}

TEST(CimHandler, AWrongHeaderIsRefusedBeforeTheBodyIsRead) {
  Repository repository;
  const Log log(LogLevel::warning);
  Access access(Writers(), log);
  CimHandler handler(repository, access, log);
  const auto isRefused = [&](const HttpRequest& request) {
    return std::holds_alternative<HttpAnswer>(handler.check(request));
  };
  EXPECT_FALSE(isRefused(good()));
  EXPECT_FALSE(isRefused(with("CIMMethod", "Other")));
  for (const char* name : {"Host", "Origin", "CIMOperation", "CIMMethod", "CIMObject", "Expect"}) {
    EXPECT_TRUE(isRefused(with(name, "%"))) << name;
  }
}

TEST(CimHandler, OnlyThisHostIsServed) {
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
  twice.insert("host", "localhost");
  EXPECT_EQ(outcome(twice), "400");
}

TEST(CimHandler, AnAbsoluteTargetIsJudgedInPlaceOfHost) {
  const auto outcomeOf = [](const char* target, const char* host) {
    HttpRequest request = with("Host", host);
    request.target(target);
    return outcome(request);
  };
  for (const char* target : {"/cimom", "*", "http://localhost:5988/cimom", "HTTP://[::1]?x"}) {
    EXPECT_EQ(outcomeOf(target, "localhost"), "200") << target;
  }
  EXPECT_EQ(outcomeOf("http://127.0.0.1/cimom", "example.com"), "200");
  for (const char* target : {"http://example.com/cimom", "http://localhost@example.com/",
                             "http://localhost.example.com", "example.com:5988", "http:///cimom"}) {
    EXPECT_EQ(outcomeOf(target, "localhost"), "403") << target;
  }
}

TEST(CimHandler, RequestsOfWebPagesAreRefused) {
  EXPECT_EQ(outcome(with("Origin", "http://localhost:5988")), "403");
  EXPECT_EQ(outcome(with("Origin", "null")), "403");
}

TEST(CimHandler, OtherCodingsOfABodyAreRefused) {
  EXPECT_EQ(outcome(with("Transfer-Encoding", "Chunked")), "200");
  EXPECT_EQ(outcome(with("Transfer-Encoding", "gzip, chunked")), "501");
  HttpRequest twice = with("Transfer-Encoding", "chunked");
  twice.insert("Transfer-Encoding", "chunked");
  EXPECT_EQ(outcome(twice), "501");
  HttpRequest old = with("Transfer-Encoding", "chunked");
  old.version(10);
  EXPECT_EQ(outcome(old), "400");
  EXPECT_EQ(outcome(with("Content-Encoding", "identity")), "200");
  EXPECT_EQ(outcome(with("Content-Encoding", "gzip")), "415");
  EXPECT_EQ(outcome(with("Expect", "100-Continue")), "200");
  EXPECT_EQ(outcome(with("Expect", "more")), "417");
}

TEST(CimHandler, BodiesAndVersionsAreChecked) {
  EXPECT_EQ(outcome(withBody("<MESSAGE", "<MESS")), "400 request-not-well-formed");
  EXPECT_EQ(outcome(withBody("\"A\"", "\"\xFF\"")), "400 request-not-valid");
  EXPECT_EQ(outcome(withBody("<IMETHODCALL", "<!DOCTYPE x><IMETHODCALL")), "400 request-not-valid");
  HttpRequest empty = good();
  empty.body().clear();
  EXPECT_EQ(outcome(empty), "400 request-not-well-formed");
  HttpRequest other = good();
  other.body() = "<html/>";
  EXPECT_EQ(outcome(other), "400 request-not-valid");
  HttpRequest batch = good();
  batch.body() =
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
  request.method_string("M-POST");
  for (const std::string name : {"CIMOperation", "CIMProtocolVersion", "CIMMethod", "CIMObject"}) {
    const std::string value(request[name]);
    request.erase(name);
    request.set(prefix + name, value);
  }
  request.set("Man", man);
  return request;
}

TEST(CimHandler, AnExtensionPostNamesItsPrefix) {
  const HttpAnswer answer =
      answerTo(extensionRequest("http://www.dmtf.org/cim/mapping/http/v1.0 ; ns=73", "73-"));
  EXPECT_EQ(answer.result_int(), 200U);
  EXPECT_EQ(answer["73-CIMOperation"], "MethodResponse");
  EXPECT_EQ(answer["Man"], "http://www.dmtf.org/cim/mapping/http/v1.0; ns=73");
  EXPECT_EQ(answer.count("Ext"), 1U);
  HttpRequest batch = extensionRequest("http://www.dmtf.org/cim/mapping/http/v1.0; ns=7", "7-");
  batch.set("7-CIMBatch", "");
  EXPECT_EQ(answerTo(batch)["7-CIMError"], "multiple-requests-unsupported");

  EXPECT_EQ(outcome(extensionRequest("\"http://www.dmtf.org/cim/mapping/http/v1.0\";NS=1", "1-")),
            "200");
  EXPECT_EQ(outcome(extensionRequest("http://www.dmtf.org/cim/mapping/http/v1.0", "")), "200");
  EXPECT_EQ(outcome(extensionRequest("http://www.dmtf.org/cim/mapping/http/v1.0;ns= 4", "4-")),
            "200");
  EXPECT_EQ(outcome(extensionRequest("http://www.dmtf.org/cim/mapping/http/v1.0;ns=2", "3-")),
            "400");
}

TEST(CimHandler, ExtensionPostOfAnotherExtensionIsRefused) {
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
  without.method_string("M-POST");
  EXPECT_EQ(outcome(without), "510");
}

TEST(CimHandler, TheReasonForPeopleIsPercentEncoded) {
  EXPECT_EQ(answerTo(with("Host", "example.com"))["PGErrorDetail"],
            "Host%20is%20not%20a%20loopback%20address");
}

}  // namespace
}  // namespace cimd
