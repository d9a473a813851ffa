// One HTTP exchange without a socket: the bytes of a request, and what counts as an answer.
#include "client/http_exchange.h"
#include <Pegasus/Common/Exception.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "scripted_server.h"

namespace Pegasus {
namespace {

using testing::HasSubstr;

const std::string statusOk = "HTTP/1.1 200 OK\r\n";
const std::string methodResponse = "CIMOperation: MethodResponse\r\n";
const std::string head = statusOk + methodResponse;

TEST(HttpRequest, HasTheHeaderThatServersExpect) {
  EXPECT_EQ(makeHttpRequest("[::1]:5988", "GetProperty", "root/\xc3\xa9 1", "<CIM/>"),
            "POST /cimom HTTP/1.1\r\nHost: [::1]:5988\r\n"
            "Content-Type: application/xml; charset=\"utf-8\"\r\nContent-Length: 6\r\n"
            "Accept: application/xml, text/xml\r\nCIMOperation: MethodCall\r\n"
            "CIMProtocolVersion: 1.0\r\nCIMMethod: GetProperty\r\n"
            "CIMObject: root%2F%C3%A9%201\r\n\r\n<CIM/>");
}

// As if the bytes had come in one piece.
void feed(HttpAnswer& answer, std::string_view bytes) {
  while (!bytes.empty() && !answer.isDone()) {
    const auto [space, size] = answer.prepare();
    const std::size_t count = std::min(size, bytes.size());
    std::memcpy(space, bytes.data(), count);
    answer.commit(count);
    bytes.remove_prefix(count);
  }
}

// The body of an answer that comes in these pieces, after which the connection ends.
std::string decode(const std::vector<std::string_view>& pieces) {
  HttpAnswer answer;
  for (const std::string_view piece : pieces) {
    feed(answer, piece);
  }
  if (!answer.isDone()) {
    answer.end();
  }
  answer.check();
  return answer.takeBody();
}

std::string decode(const std::string& bytes) {
  return decode(std::vector<std::string_view>{bytes});
}

// The exception that the answer leads to, which must be of this type.
template <typename Expected>
Expected failureOf(const std::string& bytes) {
  try {
    ADD_FAILURE() << "accepted as an answer: " << decode(bytes);
  } catch (const Expected& failure) {
    return failure;
  }
  throw std::logic_error("no exception");
}

std::string malformed(const std::string& bytes) {
  return failureOf<CIMClientMalformedHTTPException>(bytes).getMessage().toUtf8();
}

// The body, or the text of the exception.
std::string outcome(const std::vector<std::string_view>& pieces) {
  try {
    return decode(pieces);
  } catch (const Exception& failure) {
    return "exception: " + failure.getMessage().toUtf8();
  }
}

std::string chunkedAnswer(const std::string& body, const std::string& trailers = "") {
  return head + "Transfer-Encoding: chunked\r\n\r\n" + chunked(body, 7, trailers);
}

TEST(HttpAnswer, HeadersMayBeSpelledInManyWays) {
  const std::string size = "3\r\n\r\n<x>";
  const std::string length = "Content-Length: " + size;
  const std::vector<std::string> answers = {
      methodResponse + "content-length: 0000000" + size,
      "cimoperation:methodresponse\r\nCONTENT-LENGTH:" + size,
      methodResponse + "Content-Type: text/xml\r\n" + length,
      methodResponse + "Content-Type: TEXT/XML ; charset=utf-8\r\n" + length,
      methodResponse + "WBEMServerResponseTime: 1\r\nCIMStatusCode: 0\r\n" + length,
      methodResponse + "Content-Encoding: identity\r\n" + length};
  for (const std::string& answer : answers) {
    EXPECT_EQ(decode(statusOk + answer), "<x>") << answer;
  }
}

TEST(HttpAnswer, BodyIsKeptExactlyHoweverItIsFramed) {
  const std::string text = "  caf\xc3\xa9\r\n  ";
  EXPECT_EQ(decode(httpAnswer(text)), text);
  EXPECT_EQ(decode(chunkedAnswer(text)), text);
  EXPECT_EQ(decode(chunkedAnswer(text, "CIMStatusCode: 0\r\n")), text);
  EXPECT_EQ(decode("HTTP/1.0 200 OK\r\n" + methodResponse + "\r\n" + text), text);
}

TEST(HttpAnswer, InterimAnswersAreSkipped) {
  const std::string interim =
      "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 Early Hints\r\nA: b\r\n\r\n";
  EXPECT_EQ(decode(interim + httpAnswer("x")), "x");
  EXPECT_THAT(malformed(interim), HasSubstr("ended before"));
}

TEST(HttpAnswer, OtherProtocolsAndBadFramingAreRefused) {
  for (const std::string bytes :
       {"220 mail.example ESMTP\r\n", "<CIM/>\r\n", "HTTP/2.0 200 OK\r\n\r\n",
        "HTTP/1.1 2000 OK\r\n\r\n", "HTTP/1.1 20\r\n\r\n", "HTTP/1.1 200 OK\r\nno field\r\n\r\n",
        "HTTP/1.1 200 OK\r\nContent-Length: -1\r\n\r\n",
        "HTTP/1.1 200 OK\r\nContent-Length: 99999999999999999999\r\n\r\n",
        "HTTP/1.1 200 OK\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\nxx",
        "HTTP/1.1 200 OK\r\nContent-Length: 1\r\nTransfer-Encoding: chunked\r\n\r\nx",
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nx\r\n",
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n1\r\nxx0\r\n\r\n"}) {
    EXPECT_THAT(malformed(bytes), HasSubstr("not an HTTP response")) << bytes;
  }
}

const std::vector<std::string> recordings = {
    "01-enumerate-instances", "04-create-instance-already-exists", "16-request-not-well-formed",
    "17-chunked-enumerate-instances", "18-chunked-error-in-trailer"};

TEST(HttpAnswer, PiecesMakeNoDifference) {
  for (const std::string& name : recordings) {
    const std::string bytes = recordedAnswer(name);
    const std::string whole = outcome({bytes});
    for (std::size_t cut = 1; cut < bytes.size(); cut++) {
      const std::string_view all = bytes;
      ASSERT_EQ(outcome({all.substr(0, cut), all.substr(cut)}), whole) << name << " at " << cut;
    }
    std::vector<std::string_view> single;
    single.reserve(bytes.size());
    for (std::size_t i = 0; i < bytes.size(); i++) {
      single.push_back(std::string_view(bytes).substr(i, 1));
    }
    EXPECT_EQ(outcome(single), whole) << name;
  }
}

TEST(HttpAnswer, EarlyEndIsAnExceptionEverywhere) {
  for (const std::string& name : recordings) {
    const std::string bytes = recordedAnswer(name);
    for (std::size_t size = 0; size < bytes.size(); size++) {
      ASSERT_EQ(outcome({std::string_view(bytes).substr(0, size)}),
                "exception: the connection ended before the response did")
          << name << " at " << size;
    }
  }
}

// No byte from the server leads to an exception other than the library's own.
TEST(HttpAnswer, DamageHasADefinedOutcome) {
  for (const std::string& name : recordings) {
    const std::string bytes = recordedAnswer(name);
    for (std::size_t i = 0; i < bytes.size(); i++) {
      for (const char damage : {'\0', '\n', '\r', ' ', ':', '9', 'f', '\xff'}) {
        std::string damaged = bytes;
        damaged[i] = damage;
        EXPECT_NO_THROW(outcome({damaged}));
        damaged.insert(i, 1, damage);
        EXPECT_NO_THROW(outcome({damaged}));
      }
    }
  }
}

TEST(HttpAnswer, HeaderAndTrailerAreLimited) {
  std::string manyFields;
  std::string manyInterims;
  for (int i = 0; i < 5000; i++) {
    manyFields += "X-Field-" + std::to_string(i) + ": 0123456789\r\n";
    manyInterims += "HTTP/1.1 100 Continue\r\n\r\n";
  }
  const std::string chunks = head + "Transfer-Encoding: chunked\r\n\r\n";
  const std::string lastChunk = chunks + "0\r\n";
  for (const std::string& answer :
       {head + "X: " + std::string(70'000, 'x') + "\r\n\r\n", head + manyFields + "\r\n",
        head + manyFields, "HTTP/1.1 200 " + std::string(70'000, 'x') + "\r\n\r\n", manyInterims,
        chunks + "1;" + std::string(200'000, 'x'),
        lastChunk + "X: " + std::string(200'000, 'x') + "\r\n\r\n", lastChunk + manyFields}) {
    EXPECT_THAT(malformed(answer), HasSubstr("64 KiB")) << answer.substr(0, 100);
  }
}

TEST(HttpAnswer, FieldMayBeAsLongAsTheHeader) {
  const std::string fieldBegin = head + "X: ";
  const std::string end = "\r\nContent-Length: 2\r\n\r\nok";
  const std::size_t room = HttpAnswer::maxHeaderSize - fieldBegin.size() - end.size() + 2;
  EXPECT_EQ(decode(fieldBegin + std::string(room, 'x') + end), "ok");
  EXPECT_THAT(malformed(fieldBegin + std::string(room + 1, 'x') + end), HasSubstr("64 KiB"));
}

// The HTTP library throws std::length_error for it.
TEST(HttpAnswer, TrailerTooLongForTheLibraryIsAnException) {
  const std::string lastChunk = head + "Transfer-Encoding: chunked\r\n\r\n0\r\n";
  const std::string trailer = "X: " + std::string(65'534, 'x') + "\r\n\r\n";
  const std::string_view all = trailer;
  EXPECT_THAT(outcome({lastChunk, all.substr(0, 60'000), all.substr(60'000)}), HasSubstr("64 KiB"));
}

TEST(HttpAnswer, AnnouncedBodyIsLimitedBeforeItIsRead) {
  for (const std::string& answer :
       {head + "Content-Length: 67108865\r\n\r\nx",
        head + "Content-Length: 18446744073709551615\r\n\r\nx",
        head + "Transfer-Encoding: chunked\r\n\r\n4000001\r\nx",
        head + "Transfer-Encoding: chunked\r\n\r\n1\r\nx\r\n4000000\r\nx"}) {
    EXPECT_THAT(malformed(answer), HasSubstr("64 MiB")) << answer;
  }
}

TEST(HttpAnswer, BodyMayBeAsLargeAsTheLimit) {
  const std::string body(HttpAnswer::maxBodySize, 'x');
  const std::string length = "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n";
  EXPECT_EQ(outcome({head, length, body}).size(), body.size());
  EXPECT_EQ(outcome({head, "\r\n", body}).size(), body.size());
  EXPECT_THAT(outcome({head, "\r\n", body, "x"}), HasSubstr("64 MiB"));
}

TEST(HttpAnswer, AnnouncedLengthCostsNoMemory) {
  HttpAnswer answer;
  feed(answer, "HTTP/1.1 200 OK\r\nContent-Length: 67108864\r\n\r\nx");
  const std::string body = answer.takeBody();
  EXPECT_EQ(body, "x");
  EXPECT_LT(body.capacity(), 1U << 20);
}

TEST(HttpAnswer, MustBeAMethodResponse) {
  for (const std::string fields : {"", "CIMOperation: MethodCall\r\n", "CIMOperation:\r\n"}) {
    EXPECT_THAT(malformed(httpAnswer("x", fields)), HasSubstr("CIMOperation"));
  }
}

TEST(HttpAnswer, MustBePlainXml) {
  const auto malformedWith = [](const char* field, const std::string& value) {
    return malformed(head + field + ": " + value + "\r\nContent-Length: 0\r\n\r\n");
  };
  for (const char* type : {"text/html", "application/json; charset=utf-8", "xml"}) {
    EXPECT_THAT(malformedWith("Content-Type", type),
                HasSubstr(std::string("its type is ") + std::string(type).substr(0, 3)))
        << type;
  }
  for (const char* coding : {"gzip", "deflate", "identity, gzip"}) {
    EXPECT_THAT(malformedWith("Content-Encoding", coding), HasSubstr(coding)) << coding;
  }
}

TEST(HttpAnswer, StatusCodeInAFieldIsARefusal) {
  const std::string text = "CIMStatusCodeDescription: no%20caf%C3%A9 100%25 %zz%\r\n";
  const std::string five = "CIMStatusCode: 5\r\n" + text;
  for (const std::string& answer :
       {httpAnswer("x", methodResponse + five), chunkedAnswer("x", five),
        chunkedAnswer("", text + "CIMStatusCode: 5\r\n"),
        chunkedAnswer("x", "CIMStatusCode: 0\r\n" + five)}) {
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

TEST(HttpError, EndsTheUseOfTheConnection) {
  for (const auto& [status, keeps] :
       {std::pair("200 OK", true), std::pair("404 Not Found", false)}) {
    HttpAnswer answer;
    feed(answer, std::string("HTTP/1.1 ") + status + "\r\nContent-Length: 0\r\n\r\n");
    EXPECT_EQ(answer.keepsAlive(), keeps) << status;
  }
}

}  // namespace
}  // namespace Pegasus
