// The parser of answers without a socket: every split and every damage, and what it costs.
#include "client/http_message.h"
#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "answers.h"

namespace Pegasus {
namespace {

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

// The body, or the text of the exception; then the end of the connection, where it is needed.
std::string outcome(const std::vector<std::string_view>& pieces) {
  try {
    HttpAnswer answer;
    for (const std::string_view piece : pieces) {
      feed(answer, piece);
    }
    if (!answer.isDone()) {
      answer.end();
    }
    answer.check();
    return answer.takeBody();
  } catch (const Exception& failure) {
    return "exception: " + failure.getMessage().toUtf8();
  }
}

const std::vector<std::string> recordings = {
    "01-enumerate-instances", "04-create-instance-already-exists", "16-request-not-well-formed",
    "17-chunked-enumerate-instances", "18-chunked-error-in-trailer"};

TEST(HttpMessage, SplitAnywhereIsTheSame) {
  for (const std::string& name : recordings) {
    const std::string bytes = recordedAnswer(name);
    const std::string whole = outcome({bytes});
    for (std::size_t cut = 1; cut < bytes.size(); cut++) {
      const std::string_view all = bytes;
      ASSERT_EQ(outcome({all.substr(0, cut), all.substr(cut)}), whole) << name << " at " << cut;
    }
    std::vector<std::string_view> single;
    for (std::size_t i = 0; i < bytes.size(); i++) {
      single.push_back(std::string_view(bytes).substr(i, 1));
    }
    EXPECT_EQ(outcome(single), whole) << name;
  }
}

TEST(HttpMessage, CutAnywhereIsAnException) {
  for (const std::string& name : recordings) {
    const std::string bytes = recordedAnswer(name);
    for (std::size_t size = 0; size < bytes.size(); size++) {
      ASSERT_EQ(outcome({std::string_view(bytes).substr(0, size)}),
                "exception: the connection ended before the answer did")
          << name << " at " << size;
    }
  }
}

// No byte that comes from the server leads to another exception than the library's own.
TEST(HttpMessage, DamageHasADefinedOutcome) {
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

TEST(HttpMessage, FieldsMayBeAsLongAsTheHeader) {
  const std::string begin = "HTTP/1.1 200 OK\r\nCIMOperation: MethodResponse\r\nX: ";
  const std::string end = "\r\nContent-Length: 2\r\n\r\nok";
  const std::size_t room = HttpAnswer::maxHeaderSize - begin.size() - end.size() + 2;
  EXPECT_EQ(outcome({begin + std::string(room, 'x') + end}), "ok");
  EXPECT_EQ(outcome({begin + std::string(room + 1, 'x') + end}),
            "exception: the header of the answer is larger than 64 KiB");
}

TEST(HttpMessage, TrailerTooLongForTheLibraryIsAnException) {
  const std::string begin =
      "HTTP/1.1 200 OK\r\nCIMOperation: MethodResponse\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n";
  const std::string trailer = "X: " + std::string(65'534, 'x') + "\r\n\r\n";
  const std::string_view all = trailer;
  EXPECT_EQ(outcome({begin, all.substr(0, 60'000), all.substr(60'000)}),
            "exception: the header of the answer is larger than 64 KiB");
}

TEST(HttpMessage, BodyMayBeAsLargeAsTheLimit) {
  const std::string body(HttpAnswer::maxBodySize, 'x');
  const std::string begin = "HTTP/1.1 200 OK\r\nCIMOperation: MethodResponse\r\n";
  const std::string length = "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n";
  EXPECT_EQ(outcome({begin, length, body}).size(), body.size());
  EXPECT_EQ(outcome({begin, "\r\n", body}).size(), body.size());
  EXPECT_EQ(outcome({begin, "\r\n", body, "x"}), "exception: the answer is larger than 64 MiB");
}

TEST(HttpMessage, NothingMoreIsAskedOverTheConnectionOfAnError) {
  for (const auto& [status, keeps] :
       {std::pair("200 OK", true), std::pair("404 Not Found", false)}) {
    HttpAnswer answer;
    feed(answer, std::string("HTTP/1.1 ") + status + "\r\nContent-Length: 0\r\n\r\n");
    EXPECT_EQ(answer.keepsAlive(), keeps) << status;
  }
}

TEST(HttpMessage, AnnouncedLengthCostsNoMemory) {
  HttpAnswer answer;
  feed(answer, "HTTP/1.1 200 OK\r\nContent-Length: 67108864\r\n\r\nx");
  const std::string body = answer.takeBody();
  EXPECT_EQ(body, "x");
  EXPECT_LT(body.capacity(), 1U << 20);
}

}  // namespace
}  // namespace Pegasus
