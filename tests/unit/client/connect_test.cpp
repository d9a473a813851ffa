// Opening a connection: addresses, refusals, and the state of being connected.
#include <Pegasus/Client/CIMClient.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>

#include "scripted_server.h"
#include "system_calls.h"

namespace Pegasus {
namespace {

// The message for an address; empty if connect() does not throw.
std::string refusalOf(const std::string& address) {
  CIMClient client(20'000);
  try {
    client.connect(address, "", "");
  } catch (const CannotConnectException& refusal) {
    return refusal.getMessage().toUtf8();
  }
  return "";
}

std::string portOf(const ScriptedServer& server) {
  return server.address().substr(server.address().rfind(':') + 1);
}

TEST(Connect, OpensTheConnectionAtOnce) {
  ScriptedServer server({[](Peer& peer) { peer.awaitClose(); }});
  {
    CIMClient client(20'000);
    client.connect(server.address(), "", "");
  }
  server.awaitClosed(1);
  EXPECT_EQ(server.connections(), 1U);
  EXPECT_EQ(server.problems(), "");
}

// The forms of host and port are tested with splitHostPort().
TEST(Connect, AddressMustBeHostAndPort) {
  using namespace std::string_literals;
  for (const std::string& address :
       {""s, "127.0.0.1"s, "127.0.0.1:"s, "127.0.0.1:0"s, "127.0.0.1:65536"s, "127.0.0.1 :5988"s,
        "::1:5988"s, "[::1]"s, "[localhost]:5988"s, "[::1\r\nHost: b]:5988"s, "http://localhost:1"s,
        "127.0.0.1/x:5988"s, "a\r\nHost: b:5988"s, "127.0.0.1\0x:5988"s, "127.0.0.1:5988\0"s}) {
    EXPECT_THAT(refusalOf(address), testing::HasSubstr("not host:port")) << address;
  }
  EXPECT_NE(refusalOf("[1:2]:5988"), "");
  // An IPv6 address may have a zone. There is none like this on the interface.
  EXPECT_THAT(refusalOf("[fe80::1%lo]:1"),
              testing::AllOf(testing::Not(testing::HasSubstr("not host:port")), testing::Ne("")));
}

// The label is longer than any label of a name, so no name server is asked.
TEST(Connect, UnknownNameIsRefused) {
  EXPECT_NE(refusalOf(std::string(64, 'a') + ":5988"), "");
}

TEST(Connect, NameIsLookedUpAndEachAddressIsTried) {
  ScriptedServer server({answerOnce});
  CIMClient client(20'000);
  client.connect("localhost:" + portOf(server), "", "");
  EXPECT_EQ(askProperty(client), "x");
  ASSERT_EQ(server.requests().size(), 1U);
  EXPECT_THAT(server.requests()[0],
              testing::HasSubstr("\r\nHost: localhost:" + portOf(server) + "\r\n"));
}

TEST(Connect, Ipv6AddressIsInBrackets) {
  std::optional<ScriptedServer> server;
  try {
    server.emplace(std::vector<ScriptedServer::Script>{answerOnce}, "::1");
  } catch (const std::runtime_error&) {
    GTEST_SKIP() << "this system has no IPv6";
  }
  CIMClient client(20'000);
  client.connect(server->address(), "", "");
  EXPECT_EQ(askProperty(client), "x");
  ASSERT_EQ(server->requests().size(), 1U);
  EXPECT_THAT(server->requests()[0], testing::HasSubstr("\r\nHost: [::1]:" + portOf(*server)));
}

TEST(Connect, ClosedPortIsRefused) {
  // Bound, so that no other process gets the port, but not listening.
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  ASSERT_EQ(bind(socket, reinterpret_cast<sockaddr*>(&address), size), 0);
  ASSERT_EQ(getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size), 0);
  EXPECT_THAT(refusalOf("127.0.0.1:" + std::to_string(ntohs(address.sin_port))),
              testing::HasSubstr("Connection refused"));
  close(socket);
}

TEST(Connect, FailureWhileWaitingIsAFailureToConnect) {
  ScriptedServer server({});
  systemCalls.pollError = ENOMEM;
  const std::string refusal = refusalOf(server.address());
  systemCalls.pollError = 0;
  EXPECT_THAT(refusal, testing::HasSubstr("Cannot allocate memory"));
}

TEST(Connect, CredentialsAreRefusedWithoutAConnection) {
  ScriptedServer server({});
  CIMClient client(20'000);
  EXPECT_THROW(client.connect(server.address(), "root", ""), CannotConnectException);
  EXPECT_THROW(client.connect(server.address(), "", "secret"), CannotConnectException);
  EXPECT_THROW(askProperty(client), NotConnectedException);
  EXPECT_EQ(server.connections(), 0U);
}

TEST(Connect, SecondCallIsAnError) {
  ScriptedServer server({answerOnce});
  CIMClient client(20'000);
  client.connect(server.address(), "", "");
  EXPECT_THROW(client.connect(server.address(), "", ""), AlreadyConnectedException);
  EXPECT_EQ(askProperty(client), "x");
  EXPECT_EQ(server.connections(), 1U);
}

TEST(Connect, CanBeRepeatedAfterAFailure) {
  ScriptedServer server({answerOnce});
  CIMClient client(20'000);
  EXPECT_THROW(client.connect("127.0.0.1", "", ""), CannotConnectException);
  client.connect(server.address(), "", "");
  EXPECT_EQ(askProperty(client), "x");
}

TEST(Connect, IsNeededBeforeOperationsAndAgainAfterDisconnect) {
  ScriptedServer server({[](Peer& peer) { peer.awaitClose(); }, answerOnce});
  CIMClient client(20'000);
  client.disconnect();
  EXPECT_THROW(askProperty(client), NotConnectedException);
  client.connect(server.address(), "", "");
  client.disconnect();
  server.awaitClosed(1);
  EXPECT_THROW(askProperty(client), NotConnectedException);
  EXPECT_THROW(client.deleteInstance("root/kvasd", fruName()), NotConnectedException);
  client.disconnect();
  client.connect(server.address(), "", "");
  EXPECT_EQ(askProperty(client), "x");
  EXPECT_EQ(server.connections(), 2U);
  EXPECT_EQ(server.problems(), "");
}

// Commands that the program starts must not hold the connection open.
TEST(Connect, SocketIsNotInheritedAndSendsAtOnce) {
  const auto isSocket = [](int descriptor) {
    struct stat status = {};
    return fstat(descriptor, &status) == 0 && S_ISSOCK(status.st_mode);
  };
  const auto openSockets = [&] {
    std::vector<int> sockets;
    for (int descriptor = 3; descriptor < 256; descriptor++) {
      if (isSocket(descriptor)) {
        sockets.push_back(descriptor);
      }
    }
    return sockets;
  };
  // Not accepted by a thread of this process, so that only the client's own socket is new.
  const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_EQ(listen(listener, 1), 0);
  sockaddr_in address{};
  socklen_t size = sizeof address;
  ASSERT_EQ(getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size), 0);
  const std::vector<int> before = openSockets();
  CIMClient client(20'000);
  client.connect("127.0.0.1:" + std::to_string(ntohs(address.sin_port)), "", "");
  const std::vector<int> after = openSockets();
  ASSERT_EQ(after.size(), before.size() + 1);
  const int socket = *std::find_if(after.begin(), after.end(), [&](int descriptor) {
    return std::find(before.begin(), before.end(), descriptor) == before.end();
  });
  EXPECT_NE(fcntl(socket, F_GETFD) & FD_CLOEXEC, 0);
  int noDelay = 0;
  size = sizeof noDelay;
  ASSERT_EQ(getsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &noDelay, &size), 0);
  EXPECT_NE(noDelay, 0);
  client.disconnect();
  EXPECT_EQ(openSockets(), before);
  close(listener);
}

}  // namespace
}  // namespace Pegasus
