// The time-out is for one whole operation, whatever the server does meanwhile.
#include <Pegasus/Client/CIMClient.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <vector>

#include "scripted_server.h"

namespace Pegasus {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr Uint32 timeOut = 300;

// Expects the operation to take the time-out and not much longer, even on a busy machine.
template <typename Expected, typename Operation>
void expectInTime(Operation operation) {
  const auto begin = steady_clock::now();
  EXPECT_THROW(operation(), Expected);
  const auto taken = steady_clock::now() - begin;
  EXPECT_GE(taken, milliseconds(timeOut));
  EXPECT_LT(taken, milliseconds(15'000));
}

void expectTimeOutAndThenAnAnswer(const ScriptedServer::Script& script) {
  ScriptedServer server({script, [](Peer& peer) { peer.answer(propertyAnswer("second")); }});
  CIMClient client(timeOut);
  client.connect(server.address(), "", "");
  expectInTime<ConnectionTimeoutException>([&] { askProperty(client); });
  server.awaitClosed(1);
  EXPECT_EQ(askProperty(client), "second");
  EXPECT_EQ(server.requests().size(), 2U);
  EXPECT_EQ(server.problems(), "");
}

// Until the client is gone.
void sendAgainAndAgain(const Peer& peer, const std::string& bytes, milliseconds pause) {
  while (peer.send(bytes)) {
    std::this_thread::sleep_for(pause);
  }
}

TEST(TimeOut, HoldsForASilentServer) {
  expectTimeOutAndThenAnAnswer([](Peer& peer) {
    peer.readRequest();
    peer.awaitClose();
  });
}

TEST(TimeOut, IsNotProlongedByDrippingBody) {
  expectTimeOutAndThenAnAnswer([](Peer& peer) {
    peer.answer("HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\n");
    sendAgainAndAgain(peer, "X", milliseconds(50));
  });
}

// Sends faster than the client can read: there is always more.
TEST(TimeOut, IsNotProlongedByAServerThatIsAlwaysAhead) {
  std::string chunks;
  while (chunks.size() < 1U << 20) {
    chunks += "1;ext=ension\r\nx\r\n";
  }
  expectTimeOutAndThenAnAnswer([&](Peer& peer) {
    peer.answer("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n");
    sendAgainAndAgain(peer, chunks, milliseconds(0));
  });
}

// The answer is complete and right, but for the operation before.
TEST(TimeOut, LateAnswerIsNotTheNextAnswer) {
  expectTimeOutAndThenAnAnswer([](Peer& peer) {
    peer.readRequest();
    peer.awaitClose();
    peer.send(propertyAnswer("first"));
  });
}

TEST(TimeOut, HoldsForSendingToo) {
  // Takes the connection and never reads: the kernel does the first, for a socket that listens.
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_EQ(listen(listener, 1), 0);
  sockaddr_in address{};
  socklen_t size = sizeof address;
  ASSERT_EQ(getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size), 0);
  CIMClient client(timeOut);
  client.connect("127.0.0.1:" + std::to_string(ntohs(address.sin_port)), "", "");
  const std::string large(16U << 20, 'x');
  const CIMObjectPath name = fruName(large.c_str());
  expectInTime<ConnectionTimeoutException>([&] { client.deleteInstance("root/kvasd", name); });
  close(listener);
}

// A listening socket whose queue is full answers no further connection.
TEST(TimeOut, HoldsForConnecting) {
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_EQ(listen(listener, 0), 0);
  sockaddr_in address{};
  socklen_t size = sizeof address;
  ASSERT_EQ(getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size), 0);
  std::vector<int> waiting;
  for (int i = 0; i < 4; i++) {
    waiting.push_back(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const int connected = connect(waiting.back(), reinterpret_cast<sockaddr*>(&address), size);
    EXPECT_TRUE(connected == 0 || errno == EINPROGRESS);
  }
  CIMClient client(timeOut);
  const std::string target = "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
  expectInTime<CannotConnectException>([&] { client.connect(target, "", ""); });
  EXPECT_THROW(askProperty(client), NotConnectedException);
  for (const int descriptor : waiting) {
    close(descriptor);
  }
  close(listener);
}

TEST(TimeOut, StartsAgainWithEachOperation) {
  ScriptedServer server({[](Peer& peer) {
    for (int i = 0; i < 3; i++) {
      peer.readRequest();
      std::this_thread::sleep_for(milliseconds(500));
      peer.send(propertyAnswer("x"));
    }
  }});
  CIMClient client(1400);
  client.connect(server.address(), "", "");
  for (int i = 0; i < 3; i++) {
    EXPECT_EQ(askProperty(client), "x");
  }
  EXPECT_EQ(server.connections(), 1U);
}

TEST(TimeOut, IsNotDisturbedBySignals) {
  struct sigaction interrupt = {};
  interrupt.sa_handler = [](int) {};
  ASSERT_EQ(sigaction(SIGALRM, &interrupt, nullptr), 0);
  const itimerval everyMillisecond{{0, 1000}, {0, 1000}};
  const itimerval never{};
  ScriptedServer server({[](Peer& peer) {
                           peer.readRequest();
                           std::this_thread::sleep_for(milliseconds(100));
                           peer.send(propertyAnswer("x"));
                         },
                         [](Peer& peer) {
                           peer.readRequest();
                           peer.awaitClose();
                         }});
  CIMClient client(timeOut);
  client.connect(server.address(), "", "");
  setitimer(ITIMER_REAL, &everyMillisecond, nullptr);
  EXPECT_EQ(askProperty(client), "x");
  server.awaitClosed(1);
  expectInTime<ConnectionTimeoutException>([&] { askProperty(client); });
  // The handler stays: the last signal may still be on its way.
  setitimer(ITIMER_REAL, &never, nullptr);
}

}  // namespace
}  // namespace Pegasus
