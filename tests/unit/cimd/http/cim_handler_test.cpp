#include "http/cim_handler.h"

#include "support.h"

namespace cimd::test {
namespace {

using HttpRequest = boost::beast::http::request<boost::beast::http::string_body>;

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
  loadText(repository, "class A { [Key] string k; };");
  const Log log(LogLevel::warning);
  Access access(Writers(), log);
  CimHandler handler(repository, access, log);
  auto checked = handler.check(request);
  if (auto* refused = std::get_if<HttpAnswer>(&checked)) {
    return std::move(*refused);
  }
  Caller root([] { return uid_t{0}; });
  auto begun = handler.answer(std::get<CimRequest>(checked), request.body(), root, Length::any);
  while (begun->more && begun->more(begun->answer.body())) {
  }
  return std::move(begun->answer);
}

// Status and CIM error of the answer.
std::string outcome(const HttpRequest& request) {
  const HttpAnswer answer = answerTo(request);
  const std::string error(answer["CIMError"]);
  return std::to_string(answer.result_int()) + (error.empty() ? "" : " " + error);
}

TEST(CimHandler, EachFieldHasItsOutcome) {
  struct Case {
    const char* field;
    const char* value;
    const char* outcome;
  };
  for (const Case& c : {Case{"Host", "localhost:5988", "200"},
                        {"Host", nullptr, "400"},
                        {"Origin", "http://localhost:5988", "403"},
                        {"Origin", "null", "403"},
                        {"CIMOperation", nullptr, "400"},
                        {"CIMOperation", "MethodResponse", "400 unsupported-operation"},
                        {"CIMBatch", "", "501 multiple-requests-unsupported"},
                        {"CIMProtocolVersion", nullptr, "200"},
                        {"CIMProtocolVersion", "1.4", "200"},
                        {"CIMProtocolVersion", "2.0", "501 unsupported-protocol-version"},
                        {"CIMProtocolVersion", "", "501 unsupported-protocol-version"},
                        {"CIMMethod", "enumerateInstancenames", "200"},
                        {"CIMMethod", "Enumerate%49nstanceNames", "200"},
                        {"CIMObject", "root/kvasd", "200"},
                        {"CIMObject", "/ROOT/Kvasd", "200"},
                        {"TE", "trailers", "200"},
                        {"Expect", "100-Continue", "200"},
                        {"Expect", "200-ok", "417"},
                        {"Transfer-Encoding", "Chunked", "200"},
                        {"Transfer-Encoding", "gzip, chunked", "501"},
                        {"Content-Encoding", "identity", "200"},
                        {"Content-Encoding", "gzip", "415"}}) {
    EXPECT_EQ(outcome(with(c.field, c.value)), c.outcome)
        << c.field << ' ' << (c.value != nullptr ? c.value : "missing");
  }
  for (const char* name : {"CIMMethod", "CIMObject"}) {
    for (const char* value :
         {static_cast<const char*>(nullptr), "", "%", "%4", "%zz", "%ff", "other"}) {
      EXPECT_EQ(outcome(with(name, value)), "400 header-mismatch")
          << name << ' ' << (value != nullptr ? value : "missing");
    }
  }
}

TEST(CimHandler, OtherMethodsAreNotImplemented) {
  for (const char* method : {"GET", "PUT", "OPTIONS", "post"}) {
    HttpRequest request = good();
    request.method_string(method);
    EXPECT_EQ(outcome(request), "501") << method;
  }
}

TEST(CimHandler, Http10HasNeitherHostNorTransferEncoding) {
  HttpRequest old = with("Host", nullptr);
  old.version(10);
  EXPECT_EQ(outcome(old), "200");
  old.set("Transfer-Encoding", "chunked");
  EXPECT_EQ(outcome(old), "400");
}

// Good values as well: programs in between may judge by the other one.
TEST(CimHandler, DuplicatesOfWhatIsJudgedByAreRefused) {
  struct Case {
    const char* field;
    const char* value;
    const char* outcome;
  };
  for (const Case& c : {Case{"CIMOperation", "MethodCall", "400 header-mismatch"},
                        {"CIMProtocolVersion", "1.0", "400 header-mismatch"},
                        {"CIMMethod", "EnumerateInstanceNames", "400 header-mismatch"},
                        {"CIMObject", "root/kvasd", "400 header-mismatch"},
                        {"Host", "localhost", "400"},
                        {"Expect", "100-continue", "400"},
                        {"Man", "x", "400"},
                        {"Content-Encoding", "identity", "400"},
                        {"Transfer-Encoding", "chunked", "501"}}) {
    HttpRequest request = with(c.field, c.value);
    EXPECT_EQ(outcome(request), "200") << c.field;
    request.insert(c.field, c.value);
    EXPECT_EQ(outcome(request), c.outcome) << c.field;
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

TEST(CimHandler, BodiesAndVersionsAreChecked) {
  struct Case {
    const char* from;
    const char* to;
    const char* outcome;
  };
  for (const Case& c :
       {Case{"CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"", "CIMVERSION=\"2.3\" DTDVERSION=\"2.2\"",
             "200"},
        {"CIMVERSION=\"2.0\"", "CIMVERSION=\"3.0\"", "501 unsupported-cim-version"},
        {"DTDVERSION=\"2.0\"", "DTDVERSION=\"1.0\"", "501 unsupported-dtd-version"},
        {"PROTOCOLVERSION=\"1.0\"", "PROTOCOLVERSION=\"2.0\"", "501 unsupported-protocol-version"},
        {"<MESSAGE", "<MESS", "400 request-not-well-formed"},
        {"\"A\"", "\"\xFF\"", "400 request-not-valid"},
        {"<IMETHODCALL", "<!DOCTYPE x><IMETHODCALL", "400 request-not-valid"}}) {
    EXPECT_EQ(outcome(withBody(c.from, c.to)), c.outcome) << c.to;
  }
  for (const auto& [body, expected] :
       {std::pair("", "400 request-not-well-formed"),
        {"<html/>", "400 request-not-valid"},
        {"<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"7\" PROTOCOLVERSION=\"1.0\">"
         "<MULTIREQ/></MESSAGE></CIM>",
         "501 multiple-requests-unsupported"}}) {
    HttpRequest request = good();
    request.body() = body;
    EXPECT_EQ(outcome(request), expected) << body;
  }
}

HttpRequest extensionRequest(const std::string& man, const std::string& prefix) {
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
  const std::string uri = "http://www.dmtf.org/cim/mapping/http/v1.0";
  const HttpAnswer answer = answerTo(extensionRequest(uri + " ; ns=73", "73-"));
  EXPECT_EQ(answer.result_int(), 200U);
  EXPECT_EQ(answer["73-CIMOperation"], "MethodResponse");
  EXPECT_EQ(answer["Man"], uri + "; ns=73");
  EXPECT_EQ(answer.count("Ext"), 1U);
  HttpRequest batch = extensionRequest(uri + "; ns=7", "7-");
  batch.set("7-CIMBatch", "");
  EXPECT_EQ(answerTo(batch)["7-CIMError"], "multiple-requests-unsupported");
  struct Case {
    std::string man;
    const char* prefix;
    const char* outcome;
  };
  for (const Case& c : {Case{"\"" + uri + "\";NS=1", "1-", "200"},
                        {uri, "", "200"},
                        {uri + ";ns= 4", "4-", "200"},
                        {uri + ";ns=2", "3-", "400"},
                        {"http://example.com/;ns=1", "1-", "510"},
                        {"", "1-", "510"},
                        {uri + ";", "1-", "510"},
                        {uri + ";ns=x", "1-", "510"},
                        {uri + ";ns=", "1-", "510"},
                        {uri + ";xx=1", "1-", "510"},
                        {uri + ";n", "1-", "510"}}) {
    EXPECT_EQ(outcome(extensionRequest(c.man, c.prefix)), c.outcome) << c.man;
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
}  // namespace cimd::test
