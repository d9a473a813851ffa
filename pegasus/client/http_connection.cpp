#include "client/http_connection.h"

#include <Pegasus/Common/Exception.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include "client/http_exchange.h"
#include "text/ascii.h"
#include "text/host_port.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <memory>
#include <system_error>

namespace Pegasus {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

[[noreturn]] void throwCannotConnect(const std::string& where, const std::string& why) {
  throw CannotConnectException(String("cannot connect to " + where + ": " + why));
}

[[noreturn]] void throwBroken(int error) {
  throw CIMClientMalformedHTTPException(
      String("the connection broke: " + std::generic_category().message(error)));
}

// The longest wait for a server that may be about to close the connection after its first answer.
constexpr milliseconds maxCloseTime{20};

// How late a time-out may be noticed: a waiting client wakes up this often.
constexpr milliseconds deadlinePause{50};

// Whether a call failed only because nothing happened for a while, or because of a signal.
bool isTransient(int error) {
  return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

using Addresses = std::unique_ptr<addrinfo, decltype(&freeaddrinfo)>;

// A numeric address is tried first, which needs no files and libraries of the name service.
Addresses lookUp(const std::string& host, const std::string& port) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  int error = 0;
  for (const int flags : {AI_NUMERICHOST | AI_NUMERICSERV, AI_NUMERICSERV}) {
    hints.ai_flags = flags;
    addrinfo* found = nullptr;
    error = getaddrinfo(host.c_str(), port.c_str(), &hints, &found);
    if (error == 0) {
      return {found, freeaddrinfo};
    }
    if (host.find(':') != std::string::npos) {
      break;  // no name has a colon
    }
  }
  throwCannotConnect(host, gai_strerror(error));
}

// Rounded up, so that poll() does not come back just before the deadline again and again.
int millisecondsUntil(Deadline deadline) {
  const auto left = std::chrono::ceil<milliseconds>(deadline - steady_clock::now()).count();
  return static_cast<int>(std::clamp<std::int64_t>(left, 0, std::numeric_limits<int>::max()));
}

bool consistsOf(std::string_view host, std::string_view others) {
  return std::all_of(host.begin(), host.end(), [others](char c) {
    return text::isDigit(c) || text::isLetter(c) || others.find(c) != std::string_view::npos;
  });
}

// A name, an IPv4 address, or in brackets an IPv6 address, which may have a zone: fe80::1%eth0.
// Nothing else can get into the Host header.
bool isHost(const text::HostPort& address) {
  return address.isBracketed
             ? address.host.find(':') != std::string_view::npos && consistsOf(address.host, ":.%-_")
             : consistsOf(address.host, ".-_");
}

}  // namespace

HttpConnection::HttpConnection(const String& address) : hostHeader_(address.toUtf8()) {
  const auto parts = text::splitHostPort(hostHeader_);
  if (!parts || text::parsePort(parts->port.value_or("")).value_or(0) == 0 || !isHost(*parts)) {
    throwCannotConnect(hostHeader_, "the address is not host:port");
  }
  host_ = parts->host;
  port_ = *parts->port;
}

HttpConnection::~HttpConnection() {
  close();
}

void HttpConnection::close() {
  if (socket_ >= 0) {
    ::close(socket_);
    socket_ = -1;
  }
}

// Returns 0 once the connection attempt has succeeded, or the error that ended it.
int HttpConnection::awaitConnection(Deadline deadline) const {
  pollfd waiting{socket_, POLLOUT, 0};
  int ready = 0;
  do {
    ready = poll(&waiting, 1, millisecondsUntil(deadline));
  } while (ready < 0 && errno == EINTR);
  if (ready < 0) {
    return errno;
  }
  if (ready == 0) {
    return ETIMEDOUT;
  }
  int error = 0;
  socklen_t size = sizeof error;
  getsockopt(socket_, SOL_SOCKET, SO_ERROR, &error, &size);
  return error;
}

// Returns 0, or the error for which this address does not take the connection.
int HttpConnection::tryConnect(const addrinfo& address, Deadline deadline) {
  socket_ = socket(address.ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (socket_ < 0) {
    return errno;
  }
  int error = connect(socket_, address.ai_addr, address.ai_addrlen) == 0 ? 0 : errno;
  if (error == EINPROGRESS || error == EINTR) {
    error = awaitConnection(deadline);
  }
  if (error != 0) {
    close();
    return error;
  }
  const int on = 1;
  setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  // From here on the socket blocks, so that an answer costs no other call than the one that
  // receives it. Each call returns now and then to check the deadline.
  fcntl(socket_, F_SETFL, 0);
  const timeval pause{0, std::chrono::microseconds(deadlinePause).count()};
  setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &pause, sizeof pause);
  setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, &pause, sizeof pause);
  return 0;
}

void HttpConnection::open(Deadline deadline) {
  close();
  const Addresses addresses = lookUp(host_, port_);
  int error = 0;
  for (const addrinfo* address = addresses.get(); address != nullptr; address = address->ai_next) {
    error = tryConnect(*address, deadline);
    if (error == 0) {
      return;
    }
    if (steady_clock::now() >= deadline) {
      break;
    }
  }
  throwCannotConnect(hostHeader_, error == ETIMEDOUT ? "no answer in time"
                                                     : std::generic_category().message(error));
}

// Between two exchanges nothing is to be read: an end, an error or unsolicited bytes make the
// connection useless. A server may close it right after its answer without having said so. Until
// the server has answered twice over one connection, it gets a moment for that, counted from the
// answer and no longer than the answer took: a server that is quick to answer is quick to close,
// and the client of a server that keeps its connections must not be slowed down.
bool HttpConnection::isStale() const {
  pollfd waiting{socket_, POLLIN, 0};
  const auto left = closeUntil_ - steady_clock::now();
  const bool isWaiting = !isServerKeeping_ && left > left.zero();
  timespec pause{};
  pause.tv_nsec =
      isWaiting ? static_cast<decltype(pause.tv_nsec)>(std::chrono::nanoseconds(left).count()) : 0;
  return ppoll(&waiting, 1, &pause, nullptr) > 0;
}

void HttpConnection::dropIfStale() {
  if (socket_ >= 0 && isStale()) {
    close();
    isServerKeeping_ = false;
  }
}

// A closed connection is an error here and never a signal.
void HttpConnection::send(std::string_view bytes, Deadline deadline) const {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    } else if (!isTransient(errno)) {
      throwBroken(errno);
    }
    if (steady_clock::now() >= deadline) {
      throw ConnectionTimeoutException();
    }
  }
}

void HttpConnection::receive(HttpAnswer& answer, Deadline deadline) const {
  while (!answer.isDone()) {
    const auto [space, size] = answer.prepare();
    const ssize_t received = recv(socket_, space, size, 0);
    if (received > 0) {
      answer.commit(static_cast<std::size_t>(received));
    } else if (received == 0) {
      answer.end();
    } else if (!isTransient(errno)) {
      throwBroken(errno);
    }
    // A server that always has the next byte ready in time must not prolong the exchange.
    if (!answer.isDone() && steady_clock::now() >= deadline) {
      throw ConnectionTimeoutException();
    }
  }
}

std::string HttpConnection::exchange(std::string_view method, const String& nameSpace,
                                     std::string_view body, Deadline deadline) {
  const std::string request = makeHttpRequest(hostHeader_, method, nameSpace, body);
  dropIfStale();
  const bool isReused = socket_ >= 0 && closeUntil_ != Deadline();
  if (socket_ < 0) {
    open(deadline);
  }
  HttpAnswer answer;
  const auto begin = steady_clock::now();
  try {
    send(request, deadline);
    receive(answer, deadline);
  } catch (...) {
    close();
    throw;
  }
  const auto end = steady_clock::now();
  closeUntil_ = end + std::min<steady_clock::duration>(end - begin, maxCloseTime);
  isServerKeeping_ = isServerKeeping_ || isReused;
  if (!answer.keepsAlive()) {
    close();
  }
  answer.check();
  return answer.takeBody();
}

}  // namespace Pegasus
