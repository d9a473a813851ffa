// Real connections over the loopback interface, and what the kernel says of them.
#include "http/connection_owner.h"
#include <gtest/gtest.h>

#include <fcntl.h>
#include <netinet/tcp.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <chrono>
#include <functional>
#include <thread>

namespace cimd {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

class ConnectionOwner : public testing::Test {
 protected:
  // Skips the test where this address cannot be had.
  void listenOn(const char* address) {
    const tcp::endpoint endpoint(asio::ip::make_address(address), 0);
    boost::system::error_code error;
    acceptor_.open(endpoint.protocol(), error);
    if (!error && endpoint.address().is_v6()) {
      acceptor_.set_option(asio::ip::v6_only(false), error);
    }
    if (!error) {
      acceptor_.bind(endpoint, error);
    }
    if (error) {
      GTEST_SKIP() << address << ": " << error.message();
    }
    acceptor_.listen();
  }
  // The listening socket takes clients of IPv4 and IPv6 alike where it is one of IPv6.
  void connectTo(const std::string& address) {
    client_.connect({asio::ip::make_address(address), acceptor_.local_endpoint().port()});
    accept();
  }
  void accept() {
    served_ = acceptor_.accept();
    peer_ = served_.remote_endpoint();
    own_ = served_.local_endpoint();
  }
  std::optional<uid_t> owner() const { return ownerOfConnection(peer_, own_); }

  asio::io_context io_;
  tcp::acceptor acceptor_{io_};
  tcp::socket client_{io_};
  tcp::socket served_{io_};
  tcp::endpoint peer_;
  tcp::endpoint own_;
};

class ConnectionOwnerAt : public ConnectionOwner, public testing::WithParamInterface<const char*> {
 protected:
  void SetUp() override { listenOn(GetParam()); }
};

TEST_P(ConnectionOwnerAt, IsKnownUntilTheClientClosesItsSocket) {
  connectTo(GetParam());
  EXPECT_EQ(owner(), getuid());
  client_.shutdown(tcp::socket::shutdown_send);
  EXPECT_EQ(owner(), getuid()) << "half closed by the client";
  served_.shutdown(tcp::socket::shutdown_send);
  client_.close();
  EXPECT_EQ(owner(), std::nullopt) << "closed by the client";
}

// Every one of these counts as root's for the kernel.
TEST_P(ConnectionOwnerAt, IsUnknownForAClientThatSendsAndClosesAtOnce) {
  connectTo(GetParam());
  asio::write(client_, asio::buffer("request", 7));
  client_.close();
  EXPECT_EQ(owner(), std::nullopt);
  std::array<char, 7> request{};
  EXPECT_EQ(asio::read(served_, asio::buffer(request)), 7U) << "although the request can be read";
  EXPECT_EQ(owner(), std::nullopt);
}

TEST_P(ConnectionOwnerAt, IsUnknownAfterAReset) {
  connectTo(GetParam());
  client_.set_option(asio::socket_base::linger(true, 0));
  client_.close();
  EXPECT_EQ(owner(), std::nullopt);
}

// The kernel finds such a socket for any peer.
TEST_P(ConnectionOwnerAt, IsNotThatOfASocketThatListensAtThePeersAddress) {
  EXPECT_EQ(
      ownerOfConnection(acceptor_.local_endpoint(), {acceptor_.local_endpoint().address(), 5988}),
      std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(Addresses, ConnectionOwnerAt,
                         testing::Values("127.0.0.1", "127.9.9.9", "::1"));

// An IPv4 client of an IPv6 socket, and an IPv6 client of an IPv4 socket.
TEST_F(ConnectionOwner, AnIPv4AddressInIPv6IsThatIPv4Address) {
  ASSERT_NO_FATAL_FAILURE(listenOn("::"));
  if (IsSkipped()) {
    return;
  }
  connectTo("127.0.0.1");
  EXPECT_TRUE(peer_.address().to_v6().is_v4_mapped());
  EXPECT_EQ(owner(), getuid());
  client_.close();
  EXPECT_EQ(owner(), std::nullopt);

  acceptor_.close();
  ASSERT_NO_FATAL_FAILURE(listenOn("127.0.0.1"));
  connectTo("::ffff:127.0.0.1");
  EXPECT_TRUE(client_.local_endpoint().address().is_v6());
  EXPECT_TRUE(peer_.address().is_v4());
  EXPECT_EQ(owner(), getuid());
}

// Runs the action in its own process, which ends with the status that the action returns.
int statusOfChild(const std::function<int()>& action) {
  const pid_t child = fork();
  if (child == 0) {
    _exit(action());
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool becomes(uid_t account) {
  return setresgid(account, account, account) == 0 && setresuid(account, account, account) == 0;
}

TEST_F(ConnectionOwner, IsTheAccountThatMadeTheSocketAndAnybodyMayAsk) {
  constexpr uid_t other = 12345;
  if (statusOfChild([] { return becomes(other) ? 0 : 1; }) != 0) {
    GTEST_SKIP() << "needs root, to become another account";
  }
  ASSERT_NO_FATAL_FAILURE(listenOn("127.0.0.1"));
  const tcp::endpoint listening = acceptor_.local_endpoint();
  std::array<int, 2> done{};
  ASSERT_EQ(pipe2(done.data(), O_CLOEXEC), 0);
  std::thread server([&] {
    accept();
    EXPECT_EQ(owner(), other);
    EXPECT_EQ(write(done[1], "x", 1), 1);
  });
  EXPECT_EQ(statusOfChild([&] {
              // No privilege is left for either: the child both is asked about and asks.
              tcp::socket client(io_);
              if (!becomes(other)) {
                return 1;
              }
              client.connect(listening);
              char byte = 0;
              const bool isKnown = ownerOfConnection(client.local_endpoint(), listening) == other;
              return read(done[0], &byte, 1) == 1 && isKnown ? 0 : 2;
            }),
            0);
  server.join();
  close(done[0]);
  close(done[1]);
}

TEST_F(ConnectionOwner, IsUnknownForAnAccountThatTheUserNamespaceLacks) {
  ASSERT_NO_FATAL_FAILURE(listenOn("127.0.0.1"));
  connectTo("127.0.0.1");
  constexpr int noNamespace = 77;
  const int status = statusOfChild([&] {
    if (unshare(CLONE_NEWUSER) != 0) {
      return noNamespace;
    }
    // In its own thread, so that its socket to ask with belongs to the new namespace.
    Owner found = 0;
    std::thread([&] { found = owner(); }).join();
    return found ? 1 : 0;
  });
  if (status == noNamespace) {
    GTEST_SKIP() << "this process may not make a user namespace";
  }
  EXPECT_EQ(status, 0);
}

TEST_F(ConnectionOwner, AKernelThatDoesNotAnswerIsAnError) {
  ASSERT_NO_FATAL_FAILURE(listenOn("127.0.0.1"));
  connectTo("127.0.0.1");
  EXPECT_NO_THROW(checkOwnersAreKnown(acceptor_.local_endpoint()));
  EXPECT_THROW(checkOwnersAreKnown(peer_), std::system_error) << "nobody listens there";
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  rlimit none = before;
  none.rlim_cur = 0;
  // Each thread keeps a socket to ask with, once it has one. The sanitizer needs a file to look at
  // the thread, so it must have begun.
  std::thread([&] {
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    EXPECT_THROW(owner(), std::system_error);
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
  }).join();
  EXPECT_EQ(owner(), getuid());
}

}  // namespace
}  // namespace cimd
