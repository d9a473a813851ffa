// The HTTP transport over real connections, with a handler that only reports what it got.
#include "http/http_server.h"
#include <Pegasus/Common/Exception.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <atomic>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/streambuf.hpp>
#include <boost/asio/write.hpp>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace cimd {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using asio::ip::tcp;
using std::chrono::milliseconds;

class EchoHandler : public RequestHandler {
 public:
  std::variant<CimRequest, HttpAnswer> check(const RequestHeader& header) override {
    if (header.method_string() == "GET") {
      HttpAnswer refused(http::status::not_implemented, 11);
      refused.set("CIMError", "early");
      return refused;
    }
    CimRequest request;
    request.object = std::string(header["x"]);
    throwIfAsked(request.object);
    return request;
  }
  std::optional<BegunAnswer> answer(const CimRequest& request, std::string body, Caller& /*caller*/,
                                    Length length) override {
    throwIfAsked(body);
    ++answers_;
    if (body == "in parts") {
      return length == Length::brief ? std::nullopt : inParts();
    }
    HttpAnswer answer;
    answer.set("Seen-X", request.object);
    answer.body() = body == "large" ? std::string(std::size_t{32} << 20U, 'l') : "[" + body + "]";
    return BegunAnswer{std::move(answer), nullptr};
  }

 private:
  // Has more parts until another request has been answered, and then fails if it is the second.
  std::optional<BegunAnswer> inParts() {
    BegunAnswer begun;
    begun.answer.body() = "begun";
    begun.more = [this, before = answers_](std::string& body) {
      std::this_thread::sleep_for(milliseconds(1));
      if (answers_ == before) {
        return true;
      }
      throwIfAsked(isPartBad_ ? "throw something else" : "");
      isPartBad_ = true;
      body += " and done";
      return false;
    };
    return begun;
  }

  int answers_ = 0;
  bool isPartBad_ = false;
  static void throwIfAsked(const std::string& text) {
    if (text == "throw std::exception") {
      throw std::runtime_error("failed");
    }
    if (text == "throw Pegasus::Exception") {
      throw Pegasus::Exception("failed");
    }
    if (text == "throw something else") {
      throw 7;  // NOLINT
    }
  }
};

// Runs for the time of a test, on a port that the system chose.
class Server {
 public:
  Server(HttpLimits limits, HttpServer::OwnerOf ownerOf)
      : server_(io_, tcp::endpoint(asio::ip::make_address("127.0.0.1"), 0), handler_, limits,
                std::move(ownerOf)),
        endpoint_(server_.localEndpoint()),
        thread_([this] { io_.run(); }) {}
  ~Server() {
    asio::post(io_, [this] { server_.stop(); });
    thread_.join();
  }
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  const tcp::endpoint& endpoint() const { return endpoint_; }

 private:
  asio::io_context io_;
  EchoHandler handler_;
  HttpServer server_;
  tcp::endpoint endpoint_;
  std::thread thread_;
};

class Client {
 public:
  explicit Client(const Server& server) : socket_(io_) {
    socket_.connect(server.endpoint());
    // No test waits for ever for an answer that does not come.
    const timeval limit{20, 0};
    setsockopt(socket_.native_handle(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
  }

  void send(const std::string& text) {
    boost::system::error_code ignored;  // the server may have refused it already
    asio::write(socket_, asio::buffer(text), ignored);
  }

  // The next answer: its header as it came, and the body by its Content-Length.
  std::string receive() {
    fill([&] { return received_.find("\r\n\r\n") != std::string::npos; });
    const std::size_t end = received_.find("\r\n\r\n");
    if (end == std::string::npos) {
      return "";
    }
    std::size_t length = 0;
    const std::string name = "Content-Length: ";
    const std::size_t at = received_.find(name);
    if (at < end) {
      length = std::stoul(received_.substr(at + name.size()));
    }
    const std::size_t total = end + 4 + length;
    fill([&] { return received_.size() >= total; });
    std::string answer = received_.substr(0, total);
    received_.erase(0, total);
    return answer;
  }

  std::string ask(const std::string& text) {
    send(text);
    return receive();
  }

  // Whether the server closes the connection without another byte.
  bool isClosed() {
    fill([&] { return !received_.empty(); });
    return received_.empty() && ended_;
  }

  // Whether the server takes nothing more from a client that goes on sending.
  bool isCutOff() {
    for (int i = 0; i < 400; ++i) {
      if (::send(socket_.native_handle(), "x", 1, MSG_NOSIGNAL) < 0) {
        return true;
      }
      std::this_thread::sleep_for(milliseconds(50));
    }
    return false;
  }

  // For the server to take what was sent.
  void wait() { std::this_thread::sleep_for(milliseconds(200)); }

  void setReceiveBuffer(int bytes) {
    socket_.set_option(asio::socket_base::receive_buffer_size(bytes));
  }

 private:
  template <typename Enough>
  void fill(Enough enough) {
    while (!enough()) {
      char bytes[65536];
      const ssize_t count = recv(socket_.native_handle(), bytes, sizeof bytes, 0);
      if (count <= 0) {
        ended_ = count == 0 || errno == ECONNRESET;
        return;
      }
      received_.append(bytes, static_cast<std::size_t>(count));
    }
  }

  asio::io_context io_;
  tcp::socket socket_;
  std::string received_;
  bool ended_ = false;
};

std::string post(const std::string& body, const std::string& headers = "") {
  return "POST /cimom HTTP/1.1\r\nHost: localhost\r\n" + headers +
         "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string bodyOf(const std::string& answer) {
  const std::size_t end = answer.find("\r\n\r\n");
  return end == std::string::npos ? "no answer" : answer.substr(end + 4);
}

// 0 without an answer.
int statusOf(const std::string& answer) {
  return answer.starts_with("HTTP/1.") ? std::stoi(answer.substr(9, 3)) : 0;
}

class HttpServerTest : public testing::Test {
 protected:
  // The server begins with the first client, with the limits that are set by then.
  const Server& server() {
    if (!server_) {
      server_.emplace(limits_, ownerOf_);
    }
    return *server_;
  }
  Client connect() { return Client(server()); }
  void stop() { server_.reset(); }

  HttpLimits limits_;
  HttpServer::OwnerOf ownerOf_ = [](const tcp::socket&) { return Owner(); };

 private:
  std::optional<Server> server_;
};

TEST_F(HttpServerTest, ServesRequestsOverOneConnectionHoweverTheyCome) {
  Client client = connect();
  const std::string answer = client.ask(post("one", "X: y\r\n"));
  EXPECT_EQ(statusOf(answer), 200);
  EXPECT_EQ(bodyOf(answer), "[one]");
  EXPECT_NE(answer.find("Seen-X: y\r\n"), std::string::npos);
  EXPECT_EQ(bodyOf(client.ask(post(""))), "[]");
  client.send(post("two") + post("three"));
  EXPECT_EQ(bodyOf(client.receive()), "[two]");
  EXPECT_EQ(bodyOf(client.receive()), "[three]");
  for (const char c : post("byte by byte")) {
    client.send(std::string(1, c));
  }
  EXPECT_EQ(bodyOf(client.receive()), "[byte by byte]");
  EXPECT_EQ(bodyOf(client.ask("\r\n" + post("four") + "\r\n\r\n")), "[four]");
  client.send("\r\n");
  EXPECT_EQ(bodyOf(client.ask("\r\n" + post("after empty lines"))), "[after empty lines]");
}

TEST_F(HttpServerTest, RequestsMayBeChunked) {
  Client client = connect();
  const std::string head =
      "M-POST /cimom HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\n";
  EXPECT_EQ(bodyOf(client.ask(head + "3\r\none\r\n4;x=y\r\n two\r\n0\r\nTrailer: x\r\n\r\n")),
            "[one two]");
  EXPECT_EQ(bodyOf(client.ask(post("next"))), "[next]");
  EXPECT_EQ(statusOf(client.ask(head + "zz\r\n")), 400);
}

TEST_F(HttpServerTest, ContinueIsSentWhenItIsExpected) {
  Client client = connect();
  EXPECT_EQ(client.ask("POST / HTTP/1.1\r\nHost: localhost\r\nExpect: 100-continue\r\n"
                       "Content-Length: 3\r\n\r\n"),
            "HTTP/1.1 100 Continue\r\n\r\n");
  EXPECT_EQ(bodyOf(client.ask("one")), "[one]");
  // A client that does not wait gets its answer all the same.
  client.send(post("two", "Expect: 100-continue\r\n"));
  const std::string first = client.receive();
  EXPECT_EQ(bodyOf(statusOf(first) == 100 ? client.receive() : first), "[two]");
}

TEST_F(HttpServerTest, Http10AndConnectionCloseEndTheConnection) {
  Client old = connect();
  old.send("POST / HTTP/1.0\r\nExpect: 100-continue\r\nContent-Length: 3\r\n\r\n");
  old.wait();
  const std::string answer = old.ask("two");
  EXPECT_EQ(answer.substr(0, 12), "HTTP/1.0 200") << "without an interim answer";
  EXPECT_EQ(bodyOf(answer), "[two]");
  EXPECT_TRUE(old.isClosed());
  Client closing = connect();
  EXPECT_EQ(bodyOf(closing.ask(post("one", "Connection: close\r\n"))), "[one]");
  EXPECT_TRUE(closing.isClosed());
}

TEST_F(HttpServerTest, RefusedHeadersEndTheConnectionWithoutTheBody) {
  Client client = connect();
  const std::string answer =
      client.ask("GET / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 100000\r\n\r\n");
  EXPECT_EQ(statusOf(answer), 501);
  EXPECT_NE(answer.find("CIMError: early\r\n"), std::string::npos);
  EXPECT_TRUE(client.isClosed());
}

TEST_F(HttpServerTest, BytesThatAreNotHttpGet400) {
  for (const char* text :
       {"hello\r\n\r\n", "POST\r\n\r\n", "POST / HTTP/9.9\r\n\r\n", "POST / HTTP/1.1\r\nx\r\n\r\n",
        "POST / HTTP/1.1\r\nContent-Length: x\r\n\r\n",
        "POST / HTTP/1.1\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\n",
        "POST / HTTP/1.1\r\nContent-Length: 99999999999999999999\r\n\r\n",
        "\x16\x03\x01\x02\r\n"}) {
    Client client = connect();
    EXPECT_EQ(statusOf(client.ask(text)), 400) << text;
    EXPECT_TRUE(client.isClosed()) << text;
  }
}

TEST_F(HttpServerTest, AHeaderOrBodyPastItsLimitIsRefused) {
  limits_.headerBytes = 1000;
  limits_.bodyBytes = 1000;
  Client header = connect();
  EXPECT_EQ(statusOf(header.ask(post("", "X: " + std::string(2000, 'x') + "\r\n"))), 431);
  Client body = connect();
  EXPECT_EQ(statusOf(body.ask(post(std::string(1001, 'x')))), 413);
  Client chunked = connect();
  EXPECT_EQ(statusOf(chunked.ask("POST / HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked"
                                 "\r\n\r\n3e8\r\n" +
                                 std::string(1000, 'x') + "\r\n1\r\nx\r\n0\r\n\r\n")),
            413);
  Client largest = connect();
  EXPECT_EQ(bodyOf(largest.ask(post(std::string(1000, 'x')))).size(), 1002U);
}

TEST_F(HttpServerTest, ARequestOf64KiBTakesNothingOfTheBudget) {
  limits_.heldBytes = 100;
  Client client = connect();
  const std::string small(65534, 'x');  // its answer has two bytes more
  EXPECT_EQ(bodyOf(client.ask(post(small))).size(), small.size() + 2);
  EXPECT_EQ(statusOf(client.ask(post(std::string(65537, 'x')))), 503);
}

// All connections share one budget, which one answer uses up.
TEST_F(HttpServerTest, WhoTakesLongestMakesRoomForALargeRequestOrAnswer) {
  limits_.heldBytes = (std::size_t{32} << 20U) + 100;
  const std::string large(100000, 'x');
  Client notReading = connect();
  notReading.setReceiveBuffer(1 << 16);
  notReading.send(post("large"));
  Client small = connect();
  EXPECT_EQ(bodyOf(small.ask(post(std::string(64 << 10U, 'x')))).size(), (64U << 10U) + 2);
  notReading.wait();
  EXPECT_EQ(bodyOf(small.ask(post(large))).size(), large.size() + 2);
  EXPECT_LT(bodyOf(notReading.receive()).size(), std::size_t{32} << 20U);
  EXPECT_EQ(bodyOf(small.ask(post("large"))).size(), std::size_t{32} << 20U);
}

TEST_F(HttpServerTest, ABodyCountsWhileItComesAndNoMoreWhenItsConnectionEnds) {
  limits_.heldBytes = 1000;
  limits_.smallBytes = 0;
  const std::string begin = "POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 5000\r\n\r\n";
  for (int i = 0; i < 5; ++i) {
    Client broken = connect();
    broken.send(begin + std::string(600, 'x'));
  }
  // The server learns of their ends in its own time.
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  int status = 0;
  do {
    status = statusOf(connect().ask(post(std::string(600, 'x'))));
  } while (status != 200 && std::chrono::steady_clock::now() < end);
  EXPECT_EQ(status, 200);
  Client unfinished = connect();
  EXPECT_EQ(statusOf(unfinished.ask(begin + std::string(1001, 'x'))), 503);
}

// The answer must arrive although the client goes on sending what is not read.
TEST_F(HttpServerTest, RefusalReachesAClientThatStillSends) {
  Client client = connect();
  EXPECT_EQ(statusOf(client.ask(post(std::string(std::size_t{17} << 20U, 'x')))), 413);
}

TEST_F(HttpServerTest, AClientThatSendsOnAfterARefusalIsCutOff) {
  Client client = connect();
  EXPECT_NE(client.ask("GET / HTTP/1.1\r\nHost: x\r\n\r\n"), "");
  EXPECT_TRUE(client.isClosed());
  EXPECT_TRUE(client.isCutOff());
}

TEST_F(HttpServerTest, FieldsThatGoOnInTheNextLineAreRefused) {
  for (const char* fields :
       {"X: a\r\n b\r\n", "X: a\r\n\tb\r\nY: c\r\n", "X:\r\n b\r\n", "Y: c\r\nX: \r\n b\r\n"}) {
    Client client = connect();
    EXPECT_EQ(statusOf(client.ask("POST / HTTP/1.1\r\n" + std::string(fields) +
                                  "Content-Length: 0\r\n\r\n")),
              400)
        << fields;
    EXPECT_TRUE(client.isClosed());
  }
  Client client = connect();
  const std::string chunked =
      client.ask("POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n0\r\nX: a\r\n b\r\n\r\n");
  EXPECT_EQ(statusOf(chunked), 400) << "in a trailer";
}

TEST_F(HttpServerTest, WhateverTheHandlerThrowsGivesA500AndTheNextRequestIsServed) {
  Client client = connect();
  for (const std::string what :
       {"throw std::exception", "throw Pegasus::Exception", "throw something else"}) {
    EXPECT_EQ(statusOf(client.ask(post(what))), 500) << what;
    EXPECT_EQ(bodyOf(client.ask(post("next"))), "[next]");
    Client other = connect();
    EXPECT_EQ(statusOf(other.ask(post("", "X: " + what + "\r\n"))), 500) << what;
    EXPECT_TRUE(other.isClosed());
  }
}

TEST_F(HttpServerTest, StuckClientsDoNotHinderOthersAndAreDropped) {
  limits_.idle = milliseconds(1000);
  limits_.exchange = milliseconds(1000);
  Client notReading = connect();
  notReading.setReceiveBuffer(1 << 16);  // a fixed size: it does not grow to take the whole answer
  notReading.send(post("large"));
  Client good = connect();
  EXPECT_EQ(bodyOf(good.ask(post("one"))), "[one]");
  // After the large answer has begun: once these have been dropped, its client has been, too.
  Client silent = connect();
  Client inHeader = connect();
  inHeader.send("POST / HTT");
  Client inBody = connect();
  inBody.send("POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 10\r\n\r\n12345");
  EXPECT_EQ(bodyOf(good.ask(post("two"))), "[two]");
  EXPECT_TRUE(silent.isClosed());
  EXPECT_TRUE(inHeader.isClosed());
  EXPECT_TRUE(inBody.isClosed());
  EXPECT_LT(bodyOf(notReading.receive()).size(), std::size_t{32} << 20U);
}

TEST_F(HttpServerTest, DripOfBytesDoesNotProlongTheDeadline) {
  limits_.exchange = milliseconds(300);
  Client client = connect();
  client.send("POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 1000\r\n\r\n");
  EXPECT_TRUE(client.isCutOff());
}

TEST_F(HttpServerTest, OneConnectionTooManyReplacesTheOneUnusedForLongest) {
  limits_.connections = 2;
  Client first = connect();
  Client second = connect();
  EXPECT_EQ(bodyOf(second.ask(post("2"))), "[2]");
  EXPECT_EQ(bodyOf(first.ask(post("1"))), "[1]");
  Client third = connect();
  EXPECT_EQ(bodyOf(third.ask(post("3"))), "[3]");
  EXPECT_TRUE(second.isClosed());
  EXPECT_EQ(bodyOf(first.ask(post("1"))), "[1]");
}

TEST_F(HttpServerTest, AConnectionThatBeginsARequestIsNotTheOneUnusedForLongest) {
  limits_.connections = 2;
  Client first = connect();
  EXPECT_EQ(bodyOf(first.ask(post("1"))), "[1]");
  Client second = connect();
  EXPECT_EQ(bodyOf(second.ask(post("2"))), "[2]");
  const std::string request = post("three");
  first.send(request.substr(0, 30));
  first.wait();
  Client third = connect();
  EXPECT_EQ(bodyOf(third.ask(post("3"))), "[3]");
  EXPECT_TRUE(second.isClosed());
  first.send(request.substr(30));
  EXPECT_EQ(bodyOf(first.receive()), "[three]");
}

TEST_F(HttpServerTest, TheAccountWithTheMostConnectionsMakesRoom) {
  limits_.connections = 3;
  std::atomic<uid_t> account = 1;
  ownerOf_ = [&](const tcp::socket&) { return Owner(account.load()); };
  Client only = connect();
  EXPECT_EQ(bodyOf(only.ask(post("1"))), "[1]");
  account = 2;
  std::vector<std::unique_ptr<Client>> many;
  for (int i = 0; i < 10; ++i) {
    many.push_back(std::make_unique<Client>(server()));
    EXPECT_EQ(bodyOf(many.back()->ask(post("2"))), "[2]");
  }
  EXPECT_TRUE(many[7]->isClosed());
  EXPECT_EQ(bodyOf(many[8]->ask(post("2"))), "[2]");
  EXPECT_EQ(bodyOf(only.ask(post("1"))), "[1]");
}

TEST_F(HttpServerTest, WhereTheKernelDoesNotAnswerAllConnectionsAreOfOneAccount) {
  limits_.connections = 1;
  ownerOf_ = [](const tcp::socket&) -> Owner {
    throw std::system_error(EACCES, std::generic_category());
  };
  Client first = connect();
  EXPECT_EQ(bodyOf(first.ask(post("1"))), "[1]");
  Client second = connect();
  EXPECT_EQ(bodyOf(second.ask(post("2"))), "[2]");
  EXPECT_TRUE(first.isClosed());
}

TEST_F(HttpServerTest, OthersAreAnsweredBetweenThePartsOfALongAnswer) {
  Client client = connect();
  Client other = connect();
  client.send(post("in parts"));
  client.wait();
  EXPECT_EQ(bodyOf(other.ask(post("small"))), "[small]");
  EXPECT_EQ(bodyOf(client.receive()), "begun and done");
  client.send(post("in parts"));
  client.wait();
  EXPECT_EQ(bodyOf(other.ask(post("small"))), "[small]");
  EXPECT_EQ(statusOf(client.receive()), 500);
  EXPECT_EQ(bodyOf(client.ask(post("next"))), "[next]");
}

TEST_F(HttpServerTest, ConnectionsThatComeAndGoLeaveNothing) {
  limits_.connections = 2;
  Client kept = connect();
  for (int i = 0; i < 50; ++i) {
    Client passing = connect();
    EXPECT_EQ(bodyOf(passing.ask(post("x", "Connection: close\r\n"))), "[x]");
    EXPECT_TRUE(passing.isClosed());
    EXPECT_EQ(bodyOf(kept.ask(post("y"))), "[y]");
  }
}

TEST_F(HttpServerTest, StopClosesConnectionsAndEndsAnswersInParts) {
  Client idle = connect();
  EXPECT_EQ(bodyOf(idle.ask(post("one"))), "[one]");
  Client waiting = connect();
  waiting.send(post("in parts"));
  waiting.wait();
  stop();
  EXPECT_TRUE(idle.isClosed());
  EXPECT_TRUE(waiting.isClosed());
}

TEST_F(HttpServerTest, PortInUseIsAnError) {
  asio::io_context io;
  EchoHandler handler;
  EXPECT_THROW(HttpServer(io, server().endpoint(), handler), boost::system::system_error);
}

}  // namespace
}  // namespace cimd
