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
  explicit Server(HttpLimits limits = HttpLimits())
      : Server(limits, [](const tcp::socket&) { return Owner(); }) {}
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

std::string statusOf(const std::string& answer) {
  return answer.substr(0, 12);
}

TEST(HttpServer, ServesManyRequestsOverOneConnection) {
  const Server server;
  Client client(server);
  for (const char* body : {"one", "two", ""}) {
    const std::string answer = client.ask(post(body, "X: y\r\n"));
    EXPECT_EQ(statusOf(answer), "HTTP/1.1 200");
    EXPECT_EQ(bodyOf(answer), "[" + std::string(body) + "]");
    EXPECT_NE(answer.find("Seen-X: y\r\n"), std::string::npos);
  }
}

TEST(HttpServer, RequestsThatComeTogetherAreAnsweredInOrder) {
  const Server server;
  Client client(server);
  client.send(post("one") + post("two"));
  EXPECT_EQ(bodyOf(client.receive()), "[one]");
  EXPECT_EQ(bodyOf(client.receive()), "[two]");
}

TEST(HttpServer, RequestsMayComeByteByByte) {
  const Server server;
  Client client(server);
  for (const char c : post("one")) {
    client.send(std::string(1, c));
  }
  EXPECT_EQ(bodyOf(client.receive()), "[one]");
}

TEST(HttpServer, RequestsMayBeChunked) {
  const Server server;
  Client client(server);
  const std::string head =
      "M-POST /cimom HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\n";
  EXPECT_EQ(bodyOf(client.ask(head + "3\r\none\r\n4;x=y\r\n two\r\n0\r\nTrailer: x\r\n\r\n")),
            "[one two]");
  EXPECT_EQ(bodyOf(client.ask(post("next"))), "[next]");
  EXPECT_EQ(statusOf(client.ask(head + "zz\r\n")), "HTTP/1.1 400");
}

TEST(HttpServer, ContinueIsSentWhenItIsExpected) {
  const Server server;
  Client client(server);
  EXPECT_EQ(client.ask("POST / HTTP/1.1\r\nHost: localhost\r\nExpect: 100-continue\r\n"
                       "Content-Length: 3\r\n\r\n"),
            "HTTP/1.1 100 Continue\r\n\r\n");
  EXPECT_EQ(bodyOf(client.ask("one")), "[one]");
  // A client that does not wait gets its answer all the same.
  client.send(post("two", "Expect: 100-continue\r\n"));
  const std::string first = client.receive();
  EXPECT_EQ(bodyOf(statusOf(first) == "HTTP/1.1 100" ? client.receive() : first), "[two]");
}

TEST(HttpServer, ContinueIsNotSentToHttp10) {
  const Server server;
  Client client(server);
  client.send("POST / HTTP/1.0\r\nExpect: 100-continue\r\nContent-Length: 3\r\n\r\n");
  client.send("two");
  EXPECT_EQ(statusOf(client.receive()), "HTTP/1.0 200");
}

TEST(HttpServer, Http10AndConnectionCloseEndTheConnection) {
  const Server server;
  Client old(server);
  const std::string answer = old.ask("POST / HTTP/1.0\r\nContent-Length: 3\r\n\r\none");
  EXPECT_EQ(statusOf(answer), "HTTP/1.0 200");
  EXPECT_TRUE(old.isClosed());
  Client closing(server);
  EXPECT_EQ(bodyOf(closing.ask(post("one", "Connection: close\r\n"))), "[one]");
  EXPECT_TRUE(closing.isClosed());
}

TEST(HttpServer, RefusedHeadersEndTheConnectionWithoutTheBody) {
  const Server server;
  Client client(server);
  const std::string answer =
      client.ask("GET / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 100000\r\n\r\n");
  EXPECT_EQ(statusOf(answer), "HTTP/1.1 501");
  EXPECT_NE(answer.find("CIMError: early\r\n"), std::string::npos);
  EXPECT_TRUE(client.isClosed());
}

TEST(HttpServer, BytesThatAreNotHttpGet400) {
  const Server server;
  for (const char* text :
       {"hello\r\n\r\n", "POST\r\n\r\n", "POST / HTTP/9.9\r\n\r\n", "POST / HTTP/1.1\r\nx\r\n\r\n",
        "POST / HTTP/1.1\r\nContent-Length: x\r\n\r\n",
        "POST / HTTP/1.1\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\n",
        "POST / HTTP/1.1\r\nContent-Length: 99999999999999999999\r\n\r\n",
        "\x16\x03\x01\x02\r\n"}) {
    Client client(server);
    EXPECT_EQ(statusOf(client.ask(text)), "HTTP/1.1 400") << text;
    EXPECT_TRUE(client.isClosed()) << text;
  }
}

TEST(HttpServer, AHeaderOrBodyPastItsLimitIsRefused) {
  HttpLimits limits;
  limits.headerBytes = 1000;
  limits.bodyBytes = 1000;
  const Server server(limits);
  Client header(server);
  EXPECT_EQ(statusOf(header.ask(post("", "X: " + std::string(2000, 'x') + "\r\n"))),
            "HTTP/1.1 431");
  Client body(server);
  EXPECT_EQ(statusOf(body.ask(post(std::string(1001, 'x')))), "HTTP/1.1 413");
  Client chunked(server);
  EXPECT_EQ(statusOf(chunked.ask("POST / HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked"
                                 "\r\n\r\n3e8\r\n" +
                                 std::string(1000, 'x') + "\r\n1\r\nx\r\n0\r\n\r\n")),
            "HTTP/1.1 413");
  Client largest(server);
  EXPECT_EQ(bodyOf(largest.ask(post(std::string(1000, 'x')))).size(), 1002U);
}

TEST(HttpServer, ARequestOf64KiBTakesNothingOfTheBudget) {
  HttpLimits limits;
  limits.heldBytes = 100;
  const Server server(limits);
  Client client(server);
  const std::string small(65534, 'x');  // its answer has two bytes more
  EXPECT_EQ(bodyOf(client.ask(post(small))).size(), small.size() + 2);
  EXPECT_EQ(statusOf(client.ask(post(std::string(65537, 'x')))), "HTTP/1.1 503");
}

// All connections share one budget, which one answer uses up.
TEST(HttpServer, WhoTakesLongestMakesRoomForALargeRequestOrAnswer) {
  HttpLimits limits;
  limits.heldBytes = (std::size_t{32} << 20U) + 100;
  const Server server(limits);
  const std::string large(100000, 'x');
  Client notReading(server);
  notReading.setReceiveBuffer(1 << 16);
  notReading.send(post("large"));
  Client small(server);
  EXPECT_EQ(bodyOf(small.ask(post(std::string(64 << 10U, 'x')))).size(), (64U << 10U) + 2);
  notReading.wait();
  EXPECT_EQ(bodyOf(small.ask(post(large))).size(), large.size() + 2);
  EXPECT_LT(bodyOf(notReading.receive()).size(), std::size_t{32} << 20U);
  EXPECT_EQ(bodyOf(small.ask(post("large"))).size(), std::size_t{32} << 20U);
}

// In the order of time, not of size; and who asks for more than there is, is refused.
TEST(HttpServer, TheOldestOfManyLargeRequestsMakesRoom) {
  HttpLimits limits;
  limits.heldBytes = 1000000;
  limits.bodyBytes = 2000000;
  const Server server(limits);
  const auto begin = [](std::size_t size) {
    return "POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 900000\r\n\r\n" +
           std::string(size, 'x');
  };
  Client first(server);
  first.send(begin(300000));
  first.wait();
  Client second(server);
  second.send(begin(400000));
  second.wait();
  Client third(server);
  third.send(begin(899999));
  EXPECT_TRUE(first.isClosed());
  EXPECT_TRUE(second.isClosed());
  third.send("x");
  EXPECT_EQ(bodyOf(third.receive()).size(), 900002U);
  Client oldest(server);
  EXPECT_EQ(statusOf(oldest.ask(post(std::string(1000001, 'x')))), "HTTP/1.1 503");
}

TEST(HttpServer, ABodyCountsWhileItComesAndNoMoreWhenItsConnectionEnds) {
  HttpLimits limits;
  limits.heldBytes = 1000;
  limits.smallBytes = 0;
  const Server server(limits);
  const std::string begin = "POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 5000\r\n\r\n";
  for (int i = 0; i < 5; ++i) {
    Client broken(server);
    broken.send(begin + std::string(600, 'x'));
  }
  // The server learns of their ends in its own time.
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  std::string status;
  do {
    status = statusOf(Client(server).ask(post(std::string(600, 'x'))));
  } while (status != "HTTP/1.1 200" && std::chrono::steady_clock::now() < end);
  EXPECT_EQ(status, "HTTP/1.1 200");
  Client unfinished(server);
  EXPECT_EQ(statusOf(unfinished.ask(begin + std::string(1001, 'x'))), "HTTP/1.1 503");
}

TEST(HttpServer, EmptyLinesBeforeARequestAreSkipped) {
  const Server server;
  Client client(server);
  EXPECT_EQ(bodyOf(client.ask("\r\n" + post("one") + "\r\n\r\n")), "[one]");
  client.send("\r\n");
  EXPECT_EQ(bodyOf(client.ask("\r\n" + post("two"))), "[two]");
}

// The answer must arrive although the client goes on sending what is not read.
TEST(HttpServer, RefusalReachesAClientThatStillSends) {
  const Server server;
  Client client(server);
  EXPECT_EQ(statusOf(client.ask(post(std::string(std::size_t{17} << 20U, 'x')))), "HTTP/1.1 413");
}

TEST(HttpServer, AClientThatSendsOnAfterARefusalIsCutOff) {
  const Server server;
  Client client(server);
  EXPECT_NE(client.ask("GET / HTTP/1.1\r\nHost: x\r\n\r\n"), "");
  EXPECT_TRUE(client.isClosed());
  EXPECT_TRUE(client.isCutOff());
}

TEST(HttpServer, FieldsThatGoOnInTheNextLineAreRefused) {
  const Server server;
  for (const char* fields :
       {"X: a\r\n b\r\n", "X: a\r\n\tb\r\nY: c\r\n", "X:\r\n b\r\n", "Y: c\r\nX: \r\n b\r\n"}) {
    Client client(server);
    EXPECT_EQ(client.ask("POST / HTTP/1.1\r\n" + std::string(fields) + "Content-Length: 0\r\n\r\n")
                  .substr(0, 12),
              "HTTP/1.1 400")
        << fields;
    EXPECT_TRUE(client.isClosed());
  }
  Client client(server);
  const std::string chunked =
      client.ask("POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n0\r\nX: a\r\n b\r\n\r\n");
  EXPECT_EQ(chunked.substr(0, 12), "HTTP/1.1 400") << "in a trailer";
}

TEST(HttpServer, WhateverTheHandlerThrowsGivesA500AndTheNextRequestIsServed) {
  const Server server;
  Client client(server);
  for (const std::string what :
       {"throw std::exception", "throw Pegasus::Exception", "throw something else"}) {
    EXPECT_EQ(statusOf(client.ask(post(what))), "HTTP/1.1 500") << what;
    EXPECT_EQ(bodyOf(client.ask(post("next"))), "[next]");
    Client other(server);
    EXPECT_EQ(statusOf(other.ask(post("", "X: " + what + "\r\n"))), "HTTP/1.1 500") << what;
    EXPECT_TRUE(other.isClosed());
  }
}

TEST(HttpServer, StuckClientsDoNotHinderOthersAndAreDropped) {
  HttpLimits limits;
  limits.idle = milliseconds(1000);
  limits.exchange = milliseconds(1000);
  const Server server(limits);
  Client silent(server);
  Client inHeader(server);
  inHeader.send("POST / HTT");
  Client inBody(server);
  inBody.send("POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 10\r\n\r\n12345");
  Client notReading(server);
  notReading.setReceiveBuffer(1 << 16);  // a fixed size: it does not grow to take the whole answer
  notReading.send(post("large"));
  Client good(server);
  EXPECT_EQ(bodyOf(good.ask(post("one"))), "[one]");
  EXPECT_TRUE(silent.isClosed());
  EXPECT_TRUE(inHeader.isClosed());
  EXPECT_TRUE(inBody.isClosed());
  EXPECT_LT(bodyOf(notReading.receive()).size(), std::size_t{32} << 20U);
}

TEST(HttpServer, DripOfBytesDoesNotProlongTheDeadline) {
  HttpLimits limits;
  limits.exchange = milliseconds(300);
  const Server server(limits);
  Client client(server);
  client.send("POST / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 1000\r\n\r\n");
  EXPECT_TRUE(client.isCutOff());
}

TEST(HttpServer, OneConnectionTooManyReplacesTheOneUnusedForLongest) {
  HttpLimits limits;
  limits.connections = 2;
  const Server server(limits);
  Client first(server);
  Client second(server);
  EXPECT_EQ(bodyOf(second.ask(post("2"))), "[2]");
  EXPECT_EQ(bodyOf(first.ask(post("1"))), "[1]");
  Client third(server);
  EXPECT_EQ(bodyOf(third.ask(post("3"))), "[3]");
  EXPECT_TRUE(second.isClosed());
  EXPECT_EQ(bodyOf(first.ask(post("1"))), "[1]");
}

TEST(HttpServer, AConnectionThatBeginsARequestIsNotTheOneUnusedForLongest) {
  HttpLimits limits;
  limits.connections = 2;
  const Server server(limits);
  Client first(server);
  EXPECT_EQ(bodyOf(first.ask(post("1"))), "[1]");
  Client second(server);
  EXPECT_EQ(bodyOf(second.ask(post("2"))), "[2]");
  const std::string request = post("three");
  first.send(request.substr(0, 30));
  first.wait();
  Client third(server);
  EXPECT_EQ(bodyOf(third.ask(post("3"))), "[3]");
  EXPECT_TRUE(second.isClosed());
  first.send(request.substr(30));
  EXPECT_EQ(bodyOf(first.receive()), "[three]");
}

TEST(HttpServer, TheAccountWithTheMostConnectionsMakesRoom) {
  HttpLimits limits;
  limits.connections = 3;
  std::atomic<uid_t> account = 1;
  const Server server(limits, [&](const tcp::socket&) { return Owner(account.load()); });
  Client only(server);
  EXPECT_EQ(bodyOf(only.ask(post("1"))), "[1]");
  account = 2;
  std::vector<std::unique_ptr<Client>> many;
  for (int i = 0; i < 10; ++i) {
    many.push_back(std::make_unique<Client>(server));
    EXPECT_EQ(bodyOf(many.back()->ask(post("2"))), "[2]");
  }
  EXPECT_TRUE(many[7]->isClosed());
  EXPECT_EQ(bodyOf(many[8]->ask(post("2"))), "[2]");
  EXPECT_EQ(bodyOf(only.ask(post("1"))), "[1]");
}

TEST(HttpServer, WhereTheKernelDoesNotAnswerAllConnectionsAreOfOneAccount) {
  HttpLimits limits;
  limits.connections = 1;
  const Server server(limits, [](const tcp::socket&) -> Owner {
    throw std::system_error(EACCES, std::generic_category());
  });
  Client first(server);
  EXPECT_EQ(bodyOf(first.ask(post("1"))), "[1]");
  Client second(server);
  EXPECT_EQ(bodyOf(second.ask(post("2"))), "[2]");
  EXPECT_TRUE(first.isClosed());
}

TEST(HttpServer, OthersAreAnsweredBetweenThePartsOfALongAnswer) {
  const Server server;
  Client client(server);
  Client other(server);
  client.send(post("in parts"));
  client.wait();
  EXPECT_EQ(bodyOf(other.ask(post("small"))), "[small]");
  EXPECT_EQ(bodyOf(client.receive()), "begun and done");
  client.send(post("in parts"));
  client.wait();
  EXPECT_EQ(bodyOf(other.ask(post("small"))), "[small]");
  EXPECT_EQ(statusOf(client.receive()), "HTTP/1.1 500");
  EXPECT_EQ(bodyOf(client.ask(post("next"))), "[next]");
}

TEST(HttpServer, StopEndsAnAnswerInParts) {
  auto server = std::make_unique<Server>();
  Client client(*server);
  client.send(post("in parts"));
  client.wait();
  server.reset();
  EXPECT_TRUE(client.isClosed());
}

TEST(HttpServer, ConnectionsThatComeAndGoLeaveNothing) {
  HttpLimits limits;
  limits.connections = 2;
  const Server server(limits);
  Client kept(server);
  for (int i = 0; i < 50; ++i) {
    Client passing(server);
    EXPECT_EQ(bodyOf(passing.ask(post("x", "Connection: close\r\n"))), "[x]");
    EXPECT_TRUE(passing.isClosed());
    EXPECT_EQ(bodyOf(kept.ask(post("y"))), "[y]");
  }
}

TEST(HttpServer, StopClosesConnections) {
  auto server = std::make_unique<Server>();
  Client client(*server);
  EXPECT_EQ(bodyOf(client.ask(post("one"))), "[one]");
  server.reset();
  EXPECT_TRUE(client.isClosed());
}

TEST(HttpServer, PortInUseIsAnError) {
  const Server server;
  asio::io_context io;
  EchoHandler handler;
  EXPECT_THROW(HttpServer(io, server.endpoint(), handler), boost::system::system_error);
}

}  // namespace
}  // namespace cimd
