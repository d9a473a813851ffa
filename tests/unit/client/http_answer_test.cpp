// What counts as an answer, through the whole client.
#include <Pegasus/Client/CIMClient.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "answers.h"
#include "scripted_server.h"

namespace Pegasus {
namespace {

using testing::HasSubstr;

const std::string methodResponse = "CIMOperation: MethodResponse\r\n";

// The text of the exception that the answer leads to, which must be of this type.
template <typename Expected>
Expected failureOf(const std::string& answer) {
  ScriptedServer server({[&](Peer& peer) { peer.answer(answer); }});
  CIMClient client(20'000);
  client.connect(server.address().c_str(), "", "");
  try {
    ADD_FAILURE() << "taken for an answer: " << askProperty(client);
  } catch (const Expected& failure) {
    EXPECT_EQ(server.problems(), "");
    return failure;
  }
  throw std::logic_error("no exception");
}

std::string malformed(const std::string& answer) {
  return failureOf<CIMClientMalformedHTTPException>(answer).getMessage().toUtf8();
}

// What the client makes of an answer that it takes.
std::string taken(const std::string& answer) {
  ScriptedServer server({[&](Peer& peer) { peer.answer(answer); }});
  CIMClient client(20'000);
  client.connect(server.address().c_str(), "", "");
  return askProperty(client);
}

std::string chunkedAnswer(const std::string& body, const std::string& trailers = "") {
  return "HTTP/1.1 200 OK\r\n" + methodResponse + "Transfer-Encoding: chunked\r\n\r\n" +
         chunked(body, 7, trailers);
}

TEST(HttpAnswer, HeadersMayBeSpelledInManyWays) {
  const std::string body = propertyBody("x");
  const std::string size = std::to_string(body.size()) + "\r\n\r\n" + body;
  const std::string length = "Content-Length: " + size;
  const std::vector<std::string> answers = {
      "CIMOperation: MethodResponse\r\ncontent-length: 0000000" + size,
      "cimoperation:methodresponse\r\nCONTENT-LENGTH:" + size,
      methodResponse + "Content-Type: text/xml\r\n" + length,
      methodResponse + "Content-Type: TEXT/XML ; charset=utf-8\r\n" + length,
      methodResponse + "WBEMServerResponseTime: 1\r\nCIMStatusCode: 0\r\n" + length,
      methodResponse + "Content-Encoding: identity\r\n" + length};
  for (const std::string& answer : answers) {
    EXPECT_EQ(taken("HTTP/1.1 200 OK\r\n" + answer), "x") << answer;
  }
}

TEST(HttpAnswer, TextIsTakenExactlyHoweverItIsFramed) {
  const std::string text = "  caf\xc3\xa9  ";
  EXPECT_EQ(taken(httpAnswer(propertyBody(text))), text);
  EXPECT_EQ(taken(chunkedAnswer(propertyBody(text))), text);
  EXPECT_EQ(taken(chunkedAnswer(propertyBody(text), "CIMStatusCode: 0\r\n")), text);
  EXPECT_EQ(taken("HTTP/1.0 200 OK\r\n" + methodResponse + "\r\n" + propertyBody(text)), text);
}

TEST(HttpAnswer, InterimAnswersArePassedOver) {
  const std::string interim =
      "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 Early Hints\r\nA: b\r\n\r\n";
  EXPECT_EQ(taken(interim + propertyAnswer("x")), "x");
  EXPECT_THAT(malformed(interim), HasSubstr("ended before"));
}

TEST(HttpAnswer, GarbageIsNoHttp) {
  for (const std::string garbage :
       {"220 mail.example ESMTP\r\n", "<CIM/>\r\n", "HTTP/2.0 200 OK\r\n\r\n",
        "HTTP/1.1 2000 OK\r\n\r\n", "HTTP/1.1 20\r\n\r\n", "HTTP/1.1 200 OK\r\nno field\r\n\r\n",
        "HTTP/1.1 200 OK\r\nContent-Length: -1\r\n\r\n",
        "HTTP/1.1 200 OK\r\nContent-Length: 99999999999999999999\r\n\r\n",
        "HTTP/1.1 200 OK\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\nxx",
        "HTTP/1.1 200 OK\r\nContent-Length: 1\r\nTransfer-Encoding: chunked\r\n\r\nx",
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nx\r\n",
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n1\r\nxx0\r\n\r\n"}) {
    EXPECT_THAT(malformed(garbage), HasSubstr("is no HTTP")) << garbage;
  }
}

TEST(HttpAnswer, MustNotEndEarly) {
  const std::string whole = propertyAnswer("x");
  const std::string inChunks = chunkedAnswer(propertyBody("x"));
  for (const std::string& answer :
       {std::string(), std::string("H"), whole.substr(0, 30), whole.substr(0, whole.size() - 1),
        inChunks.substr(0, inChunks.size() - 1), inChunks.substr(0, inChunks.size() - 5)}) {
    EXPECT_THAT(malformed(answer), HasSubstr("ended before")) << answer;
  }
}

TEST(HttpAnswer, HeaderIsLimited) {
  const std::string begin = "HTTP/1.1 200 OK\r\n" + methodResponse;
  std::string manyFields;
  std::string manyInterims;
  for (int i = 0; i < 5000; i++) {
    manyFields += "X-Field-" + std::to_string(i) + ": 0123456789\r\n";
    manyInterims += "HTTP/1.1 100 Continue\r\n\r\n";
  }
  const std::string chunks = begin + "Transfer-Encoding: chunked\r\n\r\n";
  const std::string lastChunk = chunks + "0\r\n";
  for (const std::string& answer :
       {begin + "X: " + std::string(70'000, 'x') + "\r\n\r\n", begin + manyFields + "\r\n",
        begin + manyFields, "HTTP/1.1 200 " + std::string(70'000, 'x') + "\r\n\r\n", manyInterims,
        chunks + "1;" + std::string(200'000, 'x'),
        lastChunk + "X: " + std::string(200'000, 'x') + "\r\n\r\n", lastChunk + manyFields}) {
    EXPECT_THAT(malformed(answer), HasSubstr("64 KiB")) << answer.substr(0, 100);
  }
  EXPECT_EQ(
      taken(begin + "X: " + std::string(60'000, 'x') + "\r\n" + propertyAnswer("x").substr(17)),
      "x");
}

TEST(HttpAnswer, BodyIsLimitedBeforeItIsRead) {
  const std::string begin = "HTTP/1.1 200 OK\r\n" + methodResponse;
  for (const std::string& answer :
       {begin + "Content-Length: 67108865\r\n\r\nx",
        begin + "Content-Length: 18446744073709551615\r\n\r\nx",
        begin + "Transfer-Encoding: chunked\r\n\r\n4000001\r\nx",
        begin + "Transfer-Encoding: chunked\r\n\r\n1\r\nx\r\n4000000\r\nx"}) {
    EXPECT_THAT(malformed(answer), HasSubstr("64 MiB")) << answer;
  }
}

TEST(HttpAnswer, MustBeAMethodResponse) {
  for (const std::string fields : {"", "CIMOperation: MethodCall\r\n", "CIMOperation:\r\n"}) {
    EXPECT_THAT(malformed(httpAnswer(propertyBody("x"), fields)), HasSubstr("CIMOperation"));
  }
}

TEST(HttpAnswer, MustBePlainXml) {
  const auto malformedWith = [](const char* field, const std::string& value) {
    return malformed("HTTP/1.1 200 OK\r\n" + methodResponse + field + ": " + value +
                     "\r\nContent-Length: 0\r\n\r\n");
  };
  for (const char* type : {"text/html", "application/json; charset=utf-8", "xml"}) {
    EXPECT_THAT(malformedWith("Content-Type", type), HasSubstr("another type")) << type;
  }
  for (const char* coding : {"gzip", "deflate", "identity, gzip"}) {
    EXPECT_THAT(malformedWith("Content-Encoding", coding), HasSubstr("encoded")) << coding;
  }
}

TEST(HttpAnswer, BodyMustAnswerTheQuestion) {
  const std::string right = propertyBody("x");
  const auto changed = [&](const std::string& from, const std::string& to) {
    std::string body = right;
    return httpAnswer(body.replace(body.find(from), from.size(), to));
  };
  failureOf<CIMClientResponseException>(changed("@ID@", "1000"));
  failureOf<CIMClientResponseException>(changed(" ID=\"@ID@\"", ""));
  failureOf<CIMClientResponseException>(changed("GetProperty", "GetInstance"));
  failureOf<XmlValidationError>(changed("</MESSAGE>", "<SIMPLERSP/></MESSAGE>"));
  failureOf<XmlException>(changed("</CIM>", ""));
  failureOf<XmlException>(httpAnswer(""));
  failureOf<XmlException>(httpAnswer(propertyBody("\xff")));
}

TEST(HttpAnswer, StatusCodeInAFieldIsARefusal) {
  const std::string body = propertyBody("x");
  const std::string text = "CIMStatusCodeDescription: no%20caf%C3%A9 100%25 %zz%\r\n";
  const std::string five = "CIMStatusCode: 5\r\n" + text;
  for (const std::string& answer :
       {httpAnswer(body, methodResponse + five), chunkedAnswer(body, five),
        chunkedAnswer("", text + "CIMStatusCode: 5\r\n"),
        chunkedAnswer(body, "CIMStatusCode: 0\r\n" + five)}) {
    const auto refusal = failureOf<CIMException>(answer);
    EXPECT_EQ(refusal.getCode(), CIM_ERR_INVALID_CLASS);
    EXPECT_EQ(refusal.getDescription().toUtf8(), "no caf\xc3\xa9 100% %zz%");
  }
  EXPECT_EQ(failureOf<CIMException>(chunkedAnswer("", "CIMStatusCode: 77\r\n")).getCode(), 77);
}

TEST(HttpAnswer, StatusCodeMustBeANumber) {
  for (const std::string code : {"", "five", "5x", "-5", "+5", "0x5", "4294967297"}) {
    EXPECT_THAT(malformed(chunkedAnswer("", "CIMStatusCode: " + code + "\r\n")),
                HasSubstr("CIMStatusCode"))
        << code;
  }
}

TEST(HttpError, CarriesStatusAndDetails) {
  const auto error = failureOf<CIMClientHTTPErrorException>(httpAnswer(
      "<html/>", "CIMError: request-not-valid\r\nPGErrorDetail: line%201%3A caf%C3%A9\r\n",
      "500 Internal Server Error"));
  EXPECT_EQ(error.getHttpStatus(), 500U);
  EXPECT_EQ(error.getCIMError().toUtf8(), "request-not-valid");
  EXPECT_EQ(error.getErrorDetail().toUtf8(), "line 1: caf\xc3\xa9");
  EXPECT_THAT(error.getMessage().toUtf8(), HasSubstr("500 Internal Server Error"));
}

TEST(HttpError, IsEveryStatusButSuccess) {
  for (const std::string status :
       {"401 Unauthorized", "302 Found", "204 No Content", "201 Created", "101 Switching Protocols",
        "413 Payload Too Large", "501 Not Implemented", "999 x", "099 x"}) {
    const auto error = failureOf<CIMClientHTTPErrorException>(httpAnswer(
        "", methodResponse + "WWW-Authenticate: Basic realm=\"x\"\r\nLocation: /\r\n", status));
    EXPECT_EQ(error.getHttpStatus(), static_cast<Uint32>(std::stoi(status)));
    EXPECT_EQ(error.getCIMError().size(), 0U);
    EXPECT_EQ(error.getErrorDetail().size(), 0U);
  }
}

// Some servers keep the connection open behind an error that announces no length.
TEST(HttpError, IsThrownWithoutWaitingForABody) {
  ScriptedServer server({[](Peer& peer) {
                           peer.answer(recordedAnswer("16-request-not-well-formed"));
                           peer.awaitClose();
                         },
                         [](Peer& peer) { peer.answer(propertyAnswer("x")); }});
  CIMClient client(20'000);
  client.connect(server.address().c_str(), "", "");
  try {
    askProperty(client);
    FAIL();
  } catch (const CIMClientHTTPErrorException& error) {
    EXPECT_EQ(error.getHttpStatus(), 400U);
    EXPECT_EQ(error.getCIMError().toUtf8(), "request-not-valid");
    EXPECT_EQ(error.getErrorDetail().toUtf8(),
              "Validation error: on line 1: Expected <?xml ... ?> style declaration");
  }
  server.awaitClosed(1);
  EXPECT_EQ(askProperty(client), "x");
  EXPECT_EQ(server.problems(), "");
}

}  // namespace
}  // namespace Pegasus
