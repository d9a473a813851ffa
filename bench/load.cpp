#include "load.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <stdexcept>
#include <system_error>

namespace bench {

namespace {

// A server that is stuck must not let the benchmark hang.
constexpr int patienceSeconds = 60;
// Holds whole what is looked at: error answers are small.
constexpr std::size_t bufferSize = std::size_t{256} << 10U;

[[noreturn]] void fail(const std::string& step) {
  throw std::system_error(errno, std::system_category(), step);
}

int connectTo(std::uint16_t port) {
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const int on = 1;
  const timeval patience{patienceSeconds, 0};
  if (socket < 0 || setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) != 0 ||
      setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience) != 0 ||
      connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    fail("cannot connect to port " + std::to_string(port));
  }
  return socket;
}

// Of the answer whose beginning this is; 0 while the header is not complete.
std::size_t answerSize(std::string_view begin) {
  constexpr std::string_view status = "HTTP/1.1 200 ";
  constexpr std::string_view name = "\r\nContent-Length: ";
  constexpr std::string_view end = "\r\n\r\n";
  const std::size_t headerEnd = begin.find(end);
  if (headerEnd == std::string_view::npos) {
    return 0;
  }
  const std::string_view header = begin.substr(0, headerEnd);
  const std::size_t place = header.find(name);
  std::size_t length = 0;
  if (!header.starts_with(status) || place == std::string_view::npos ||
      std::from_chars(header.data() + place + name.size(), header.data() + header.size(), length)
              .ec != std::errc()) {
    throw std::runtime_error("unexpected answer: " + std::string(header));
  }
  return headerEnd + end.size() + length;
}

}  // namespace

Load::Load(std::uint16_t port, std::size_t connections)
    : connections_(connections), poll_(epoll_create1(EPOLL_CLOEXEC)) {
  for (Connection& connection : connections_) {
    connection.buffer.resize(bufferSize);
    connection.socket = connectTo(port);
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.ptr = &connection;
    if (epoll_ctl(poll_, EPOLL_CTL_ADD, connection.socket, &event) != 0) {
      fail("cannot watch a connection");
    }
  }
}

Load::~Load() {
  for (const Connection& connection : connections_) {
    close(connection.socket);
  }
  close(poll_);
}

LoadResult Load::run(const RequestSource& source) {
  using Clock = std::chrono::steady_clock;
  LoadResult result;
  usualSize_ = 0;
  std::size_t waiting = 0;
  const auto ask = [&](Connection& connection) {
    if (const std::string_view request = source(); !request.empty()) {
      send(connection, request);
      ++waiting;
    }
  };
  const auto start = Clock::now();
  for (Connection& connection : connections_) {
    ask(connection);
  }
  while (waiting > 0) {
    for (Connection* connection : waitForAnswers()) {
      if (receive(*connection)) {
        ++result.answers;
        --waiting;
        ask(*connection);
      }
    }
  }
  result.seconds = std::chrono::duration<double>(Clock::now() - start).count();
  return result;
}

void Load::send(const Connection& connection, std::string_view request) {
  // A request is smaller than the buffer of a socket that has none to send.
  if (::send(connection.socket, request.data(), request.size(), MSG_NOSIGNAL) !=
      static_cast<ssize_t>(request.size())) {
    fail("cannot send");
  }
}

bool Load::receive(Connection& connection) {
  const std::size_t place = connection.received < bufferSize ? connection.received : 0;
  const ssize_t count =
      recv(connection.socket, connection.buffer.data() + place, bufferSize - place, 0);
  if (count == 0) {
    throw std::runtime_error("the server ended a connection");
  }
  if (count < 0) {
    fail("no answer");
  }
  connection.received += static_cast<std::size_t>(count);
  if (connection.expected == 0) {
    connection.expected =
        answerSize(std::string_view(connection.buffer).substr(0, connection.received));
  }
  if (connection.expected == 0 || connection.received < connection.expected) {
    return false;
  }
  check(connection);
  connection.received = 0;
  connection.expected = 0;
  return true;
}

void Load::check(const Connection& connection) {
  const std::size_t shown = std::min(connection.received, bufferSize);
  const auto answer = std::string_view(connection.buffer).substr(0, shown);
  if (usualSize_ == 0 && answer.find("<ERROR") == std::string_view::npos) {
    usualSize_ = connection.received;
  }
  if (connection.received != usualSize_ || connection.received != connection.expected) {
    throw std::runtime_error("unexpected answer: " + std::string(answer));
  }
}

const std::vector<Load::Connection*>& Load::waitForAnswers() {
  ready_.clear();
  // There is only one that it can be, and recv() waits for it.
  if (connections_.size() == 1) {
    ready_.push_back(&connections_.front());
    return ready_;
  }
  std::array<epoll_event, 64> events;
  const int count = epoll_wait(poll_, events.data(), events.size(), patienceSeconds * 1000);
  if (count <= 0) {
    fail("no answer");
  }
  for (int i = 0; i < count; ++i) {
    ready_.push_back(static_cast<Connection*>(events[static_cast<std::size_t>(i)].data.ptr));
  }
  return ready_;
}

}  // namespace bench
