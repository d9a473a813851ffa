// When a connection is kept, dropped and opened again.
#include <Pegasus/Client/CIMClient.h>
#include <gtest/gtest.h>
#include "client/http_connection.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <optional>
#include <thread>

#include "scripted_server.h"
#include "system_calls.h"

namespace Pegasus {
namespace {

class KeptConnection : public testing::Test {
 protected:
  // A client that is connected to a server with these scripts.
  void start(std::vector<ScriptedServer::Script> scripts) {
    server.emplace(std::move(scripts));
    client.connect(server->address(), "", "");
  }
  void expectServed(std::size_t connections, std::size_t requests) {
    EXPECT_EQ(server->connections(), connections);
    EXPECT_EQ(server->requests().size(), requests);
    EXPECT_EQ(server->problems(), "");
  }

  std::optional<ScriptedServer> server;
  CIMClient client{20'000};
};

TEST_F(KeptConnection, ServesAllOperations) {
  start({[](Peer& peer) {
    for (int i = 0; i < 100; i++) {
      peer.answer(propertyAnswer(std::to_string(i)));
    }
    peer.awaitClose();
  }});
  for (int i = 0; i < 100; i++) {
    EXPECT_EQ(askProperty(client), std::to_string(i));
  }
  expectServed(1, 100);
}

TEST_F(KeptConnection, IsKeptAfterRefusals) {
  start({[](Peer& peer) {
    peer.answer(recordedAnswer("10-get-property-no-such-property"));
    peer.answer(httpAnswer("", "CIMOperation: MethodResponse\r\nCIMStatusCode: 6\r\n"));
    peer.answer(propertyAnswer("x"));
  }});
  EXPECT_THROW(askProperty(client), CIMException);
  EXPECT_THROW(askProperty(client), CIMException);
  EXPECT_EQ(askProperty(client), "x");
  expectServed(1, 3);
}

// HttpConnection does this itself, without its owner.
TEST_F(KeptConnection, IsOpenedAgainAfterSomethingOtherThanHttp) {
  server.emplace(std::vector<ScriptedServer::Script>{[](Peer& peer) {
                                                       peer.answer("not HTTP\r\n\r\n");
                                                       peer.awaitClose();
                                                     },
                                                     answerOnce});
  {
    HttpConnection connection(server->address());
    const auto ask = [&] {
      return connection.exchange("GetProperty", "root", R"(<MESSAGE ID="1001"/>)",
                                 std::chrono::steady_clock::now() + std::chrono::seconds(20));
    };
    EXPECT_THROW(ask(), CIMClientMalformedHTTPException);
    EXPECT_NO_THROW(ask());
  }
  expectServed(2, 2);
}

TEST_F(KeptConnection, ClosedWhileIdleIsOpenedAgain) {
  start({[](Peer& peer) { peer.answer(propertyAnswer("x")); }, answerOnce});
  EXPECT_EQ(askProperty(client), "x");
  server->awaitClosed(1);
  EXPECT_EQ(askProperty(client), "x");
  expectServed(2, 2);
}

// The time-outs of the looks whether the server has closed the connection.
class LookingClient : public KeptConnection {
 protected:
  void SetUp() override {
    systemCalls.beforePpoll = [this](std::chrono::nanoseconds timeOut) {
      looks.push_back(timeOut);
    };
  }
  void TearDown() override { systemCalls.beforePpoll = nullptr; }

  // Asks, and returns how long that took.
  std::chrono::nanoseconds ask() {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(askProperty(client), "x");
    return std::chrono::steady_clock::now() - begin;
  }
  std::size_t waits() const {
    return static_cast<std::size_t>(
        std::count_if(looks.begin(), looks.end(), [](auto wait) { return wait.count() > 0; }));
  }

  std::vector<std::chrono::nanoseconds> looks;
};

TEST_F(LookingClient, WaitsAtMostOnceForAServerThatKeepsItsConnection) {
  start({[](Peer& peer) {
    for (int i = 0; i < 5; i++) {
      peer.answer(propertyAnswer("x"));
    }
    peer.awaitClose();
  }});
  for (int i = 0; i < 5; i++) {
    ask();
  }
  // The first one looks at a connection over which nothing has been sent yet.
  ASSERT_EQ(looks.size(), 5U);
  looks.erase(looks.begin() + 1);
  EXPECT_EQ(waits(), 0U);
  expectServed(1, 5);
}

TEST_F(LookingClient, WaitsNoLongerThanTheAnswerTook) {
  const ScriptedServer::Script answerTwice = [](Peer& peer) {
    peer.answer(propertyAnswer("x"));
    peer.answer(propertyAnswer("x"));
  };
  start(std::vector<ScriptedServer::Script>(20, answerTwice));
  for (int i = 0; i < 20; i++) {
    const auto taken = ask();
    looks.clear();
    ask();
    ASSERT_EQ(looks.size(), 1U);
    EXPECT_LE(looks[0], taken);
    client.disconnect();
    client.connect(server->address(), "", "");
  }
}

TEST_F(LookingClient, DoesNotWaitLongForAServerThatAnswersSlowly) {
  start({[](Peer& peer) {
    peer.readRequest();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    peer.send(propertyAnswer("x"));
    peer.answer(propertyAnswer("x"));
  }});
  ask();
  ask();
  ASSERT_EQ(looks.size(), 2U);
  EXPECT_LE(looks[1], std::chrono::milliseconds(20));
}

// The server has not announced the end, and closes only while the client waits. Each answer takes
// long enough for a wait, however busy the machine is.
TEST_F(LookingClient, OpensAnotherConnectionAfterACloseDuringTheWait) {
  constexpr std::size_t rounds = 5;
  std::vector<std::promise<void>> waiting(rounds);
  std::vector<ScriptedServer::Script> scripts;
  scripts.reserve(rounds + 1);
  for (std::promise<void>& clientWaits : waiting) {
    scripts.emplace_back([&](Peer& peer) {
      peer.readRequest();
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      peer.send(propertyAnswer("x"));
      clientWaits.get_future().wait();
    });
  }
  scripts.push_back(answerOnce);
  start(scripts);
  ask();
  systemCalls.beforePpoll = [&](std::chrono::nanoseconds timeOut) {
    waiting[looks.size() - 1].set_value();
    server->awaitClosed(looks.size());
    looks.push_back(timeOut);
  };
  for (std::size_t i = 0; i < rounds; i++) {
    ask();
  }
  EXPECT_GE(waits(), 1U);
  expectServed(rounds + 1, rounds + 1);
}

TEST_F(KeptConnection, ResetWhileIdleIsOpenedAgain) {
  start({[](Peer& peer) {
           peer.answer(propertyAnswer("x"));
           peer.resetAtEnd();
         },
         answerOnce});
  EXPECT_EQ(askProperty(client), "x");
  server->awaitClosed(1);
  EXPECT_EQ(askProperty(client), "x");
  expectServed(2, 2);
}

TEST_F(KeptConnection, ClosedRightAfterConnectIsOpenedAgain) {
  start({[](Peer&) {}, answerOnce});
  server->awaitClosed(1);
  EXPECT_EQ(askProperty(client), "x");
  expectServed(2, 1);
}

TEST_F(KeptConnection, CannotBeOpenedAgainWithoutAServer) {
  start({[](Peer&) {}});
  server->awaitClosed(1);
  server.reset();
  for (int i = 0; i < 2; i++) {
    EXPECT_THROW(askProperty(client), CannotConnectException);
  }
  EXPECT_THROW(client.connect("127.0.0.1:5988", "", ""), AlreadyConnectedException);
}

TEST_F(KeptConnection, CloseInsteadOfAnAnswerIsAnErrorAndNothingIsSentAgain) {
  start({[](Peer& peer) { peer.readRequest(); }, answerOnce});
  EXPECT_THROW(client.createInstance("root/kvasd", CIMInstance{String("KVAXDT_FRU")}),
               CIMClientMalformedHTTPException);
  expectServed(1, 1);
}

TEST_F(KeptConnection, ResetInsteadOfAnAnswerIsAnErrorAndNothingIsSentAgain) {
  start({[](Peer& peer) {
           peer.readRequest();
           peer.resetAtEnd();
         },
         answerOnce});
  EXPECT_THROW(askProperty(client), CIMClientMalformedHTTPException);
  expectServed(1, 1);
}

// Without care, sending after the reset would raise a signal.
TEST_F(KeptConnection, BreakWhileSendingIsAnErrorAndNotASignal) {
  start({[](Peer& peer) {
           peer.readBytes(1);
           peer.endSending();
         },
         answerOnce});
  const std::string large(16U << 20, 'x');
  EXPECT_THROW(client.deleteInstance("root/kvasd", fruName(large.c_str())),
               CIMClientMalformedHTTPException);
  server->awaitClosed(1);
  EXPECT_EQ(askProperty(client), "x");
  expectServed(2, 1);
}

TEST_F(KeptConnection, IsClosedWhenTheServerSaysSo) {
  const std::string body = propertyBody("x");
  const std::string fields = "CIMOperation: MethodResponse\r\n";
  std::string oldAnswer = httpAnswer(body, fields);
  oldAnswer.replace(0, 8, "HTTP/1.0");
  const auto closing = [&](const std::string& answer) {
    return [answer](Peer& peer) {
      peer.answer(answer);
      peer.awaitClose();
    };
  };
  start({closing(httpAnswer(body, fields + "Connection: close\r\n")), closing(oldAnswer),
         [&](Peer& peer) {
           peer.answer("HTTP/1.1 200 OK\r\n" + fields + "\r\n" + body);  // until the end
         },
         answerOnce});
  for (std::size_t i = 1; i <= 3; i++) {
    EXPECT_EQ(askProperty(client), "x");
    server->awaitClosed(i);  // by the client: the server waits for it
  }
  EXPECT_EQ(askProperty(client), "x");
  expectServed(4, 4);
}

TEST_F(KeptConnection, BytesAfterAnAnswerAreNotTheNextAnswer) {
  const std::string second = propertyAnswer("smuggled");
  start({[&](Peer& peer) {
           peer.answer(propertyAnswer("x") + second);
           peer.awaitClose();
         },
         answerOnce});
  EXPECT_EQ(askProperty(client), "x");
  EXPECT_EQ(askProperty(client), "x");
  expectServed(2, 2);
}

TEST_F(KeptConnection, UnsolicitedBytesAreNotTheNextAnswer) {
  std::promise<void> answered;
  std::promise<void> sent;
  start({[&](Peer& peer) {
           peer.answer(propertyAnswer("x"));
           answered.get_future().wait();
           peer.send("HTTP/1.1 408 Request Timeout\r\nContent-Length: 0\r\n\r\n");
           sent.set_value();
           peer.awaitClose();
         },
         answerOnce});
  EXPECT_EQ(askProperty(client), "x");
  answered.set_value();
  sent.get_future().wait();
  EXPECT_EQ(askProperty(client), "x");
  expectServed(2, 2);
}

// Some servers keep the connection open after an error that announces no length.
TEST_F(KeptConnection, HttpErrorIsThrownWithoutWaitingForABody) {
  start({[](Peer& peer) {
           peer.answer(recordedAnswer("16-request-not-well-formed"));
           peer.awaitClose();
         },
         answerOnce});
  EXPECT_THROW(askProperty(client), CIMClientHTTPErrorException);
  server->awaitClosed(1);
  EXPECT_EQ(askProperty(client), "x");
  expectServed(2, 2);
}

TEST_F(KeptConnection, IsClosedAfterAnAnswerThatCannotBeUsed) {
  const std::vector<std::string> answers = {
      httpAnswer("<CIM"), httpAnswer("<html/>"),
      httpAnswer("<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\"/></CIM>"),
      // Well-formed, but with a result that cannot be read.
      httpAnswer(propertyBody("x</VALUE><VALUE>y")), httpAnswer("", "", "500 Internal Error")};
  std::vector<ScriptedServer::Script> scripts(answers.size() + 1, answerOnce);
  for (std::size_t i = 0; i < answers.size(); i++) {
    scripts[i] = [answer = answers[i]](Peer& peer) {
      peer.answer(answer);
      peer.awaitClose();
    };
  }
  start(scripts);
  for (std::size_t i = 1; i <= answers.size(); i++) {
    EXPECT_THROW(askProperty(client), Exception);
    server->awaitClosed(i);
  }
  EXPECT_EQ(askProperty(client), "x");
  expectServed(answers.size() + 1, answers.size() + 1);
}

}  // namespace
}  // namespace Pegasus
