// Feeds HTTP responses to the client from a socket pair, in pieces of any size.
//
// The first byte of the input chooses the operation, and the second is the number of the bytes
// after it that are sizes of pieces. The rest is the response, or several of them, with separators,
// to one operation after the other. The connection ends after the last.
//
// The linker replaces the functions that the client calls by those below, so that the sizes of
// pieces are exact and no time is spent waiting.
#include <Pegasus/Client/CIMClient.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "support/check.h"
#include "support/round_trip.h"

// NOLINTBEGIN(bugprone-reserved-identifier): the names are the linker's
extern "C" {
ssize_t __real_send(int socket, const void* bytes, size_t size, int flags);
ssize_t __real_recv(int socket, void* bytes, size_t size, int flags);
int __real_poll(pollfd* sockets, nfds_t count, int timeOut);
int __real_ppoll(pollfd* sockets, nfds_t count, const timespec* timeOut, const sigset_t* signals);
}

namespace {

using fuzz::require;
using Pegasus::CIMClient;
using Pegasus::CIMInstance;
using Pegasus::CIMObjectPath;
using Pegasus::String;

constexpr std::string_view separator = "\n~~~~\n";

// The server's side of the connection.
class Server {
 public:
  Server(std::string_view answers, std::string_view pieces) : answers_(answers), pieces_(pieces) {}
  ~Server() { close(); }
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  // A new connection in place of the client's unconnected socket.
  int accept(int client) {
    close();
    int pair[2];
    require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) == 0, "there are sockets");
    dup2(pair[0], client);
    ::close(pair[0]);
    socket_ = pair[1];
    return 0;
  }

  // Sends the whole response to a request that has arrived; it is small enough for the socket.
  void answer() {
    char request[65536];
    while (__real_recv(socket_, request, sizeof request, MSG_DONTWAIT) > 0) {
    }
    const std::size_t end = std::min(answers_.find(separator), answers_.size());
    const std::string_view bytes = answers_.substr(0, end);
    require(bytes.empty() || __real_send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
                                 static_cast<ssize_t>(bytes.size()),
            "an answer can be sent");
    answers_.remove_prefix(std::min(end + separator.size(), answers_.size()));
  }

  // How many bytes, at most `size`, the client gets at once. The connection ends when none are
  // left.
  std::size_t nextPiece(int client, std::size_t size) {
    int waiting = 0;
    ioctl(client, FIONREAD, &waiting);
    if (waiting == 0) {
      shutdown(socket_, SHUT_WR);
    }
    if (pieces_.empty()) {
      return size;
    }
    const std::size_t piece = fuzz::takeByte(pieces_);
    return std::min(size, piece + 1);
  }

 private:
  void close() {
    if (socket_ >= 0) {
      ::close(socket_);
      socket_ = -1;
    }
  }

  std::string_view answers_;
  std::string_view pieces_;
  int socket_ = -1;
};

Server* server = nullptr;

}  // namespace

extern "C" {
int __wrap_connect(int socket, const sockaddr* /*address*/, socklen_t /*size*/) {
  return server->accept(socket);
}
ssize_t __wrap_send(int socket, const void* bytes, size_t size, int flags) {
  const ssize_t sent = __real_send(socket, bytes, size, flags);
  server->answer();
  return sent;
}
ssize_t __wrap_recv(int socket, void* bytes, size_t size, int flags) {
  return __real_recv(socket, bytes, server->nextPiece(socket, size), flags);
}
int __wrap_poll(pollfd* sockets, nfds_t count, int /*timeOut*/) {
  return __real_poll(sockets, count, 0);
}
int __wrap_ppoll(pollfd* sockets, nfds_t count, const timespec* /*timeOut*/,
                 const sigset_t* signals) {
  const timespec atOnce{};
  return __real_ppoll(sockets, count, &atOnce, signals);
}
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

CIMObjectPath samplePath() {
  Pegasus::Array<Pegasus::CIMKeyBinding> keys;
  keys.append({"FRUNumber", "A110003", Pegasus::CIMKeyBinding::STRING});
  return {"", "", "KVAXDT_FRU", keys};
}

std::string perform(CIMClient& client, unsigned operation) {
  const String nameSpace = "root/kvasd";
  const String className = "KVAXDT_FRU";
  std::string result;
  switch (operation % 6) {
    case 0:
      for (const CIMInstance& instance : client.enumerateInstances(nameSpace, className)) {
        result += fuzz::encoded(instance);
      }
      return result;
    case 1:
      for (const CIMObjectPath& path : client.enumerateInstanceNames(nameSpace, className)) {
        result += fuzz::encoded(path);
      }
      return result;
    case 2:
      return fuzz::encoded(client.getInstance(nameSpace, samplePath()));
    case 3:
      return fuzz::encoded(client.getProperty(nameSpace, samplePath(), "IdentifyingNumber"));
    case 4:
      return client.createInstance(nameSpace, CIMInstance(className)).getClassName().toUtf8();
    default:
      client.deleteInstance(nameSpace, samplePath());
      return "deleted";
  }
}

// The outcome of each operation, as text.
std::string outcomes(unsigned operation, std::string_view answers, std::string_view pieces) {
  Server current(answers, pieces);
  server = &current;
  CIMClient client(60'000);
  std::string all;
  client.connect("127.0.0.1:5988", "", "");
  std::size_t count = 1;
  for (std::size_t at = answers.find(separator); at != std::string_view::npos && count < 4;
       at = answers.find(separator, at + 1)) {
    ++count;
  }
  for (; count > 0; --count) {
    try {
      all += "result " + perform(client, operation++) + '\n';
    } catch (const Pegasus::ConnectionTimeoutException&) {
      require(false, "a connection that ends is not a time-out");
    } catch (const Pegasus::CIMClientMalformedHTTPException&) {
      // Bytes that are not HTTP may be recognised at once, or only at the end of the header.
      all += "not HTTP\n";
    } catch (const Pegasus::Exception& error) {
      all += "error " + error.getMessage().toUtf8() + '\n';
    }
  }
  return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view input = fuzz::asText(data, size);
  const unsigned operation = fuzz::takeByte(input);
  const std::size_t count = std::min<std::size_t>(fuzz::takeByte(input), input.size());
  const std::string_view pieces = input.substr(0, count);
  input.remove_prefix(count);
  // The client makes room for 64 KiB before each piece, however small it is.
  const fuzz::ResourceLimit limit({std::size_t{2} << 20U, 256}, {200'000, 200}, size);
  const std::string inPieces = outcomes(operation, input, pieces);
  const std::string atOnce = outcomes(operation, input, {});
  if (inPieces != atOnce) {
    std::fprintf(stderr, "in pieces: %sat once: %s", inPieces.c_str(), atOnce.c_str());
  }
  require(inPieces == atOnce, "the pieces in which a response arrives make no difference");
  return 0;
}
