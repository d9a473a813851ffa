// Puts load on an HTTP server: each connection sends its next request as soon as it has the answer
// to the last one. Built so that the server is what is measured: plain sockets, ready-made bytes,
// and of an answer hardly more is read than its length.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

struct LoadResult {
  std::uint64_t answers = 0;
  double seconds = 0;
  double perSecond() const { return static_cast<double>(answers) / seconds; }
  LoadResult& operator+=(const LoadResult& other) {
    answers += other.answers;
    seconds += other.seconds;
    return *this;
  }
};

// The bytes of the next request, valid until the next call; empty when there is none any more.
using RequestSource = std::function<std::string_view()>;

class Load {
 public:
  // Connects to 127.0.0.1. Everything here throws std::runtime_error when it fails.
  Load(std::uint16_t port, std::size_t connections);
  ~Load();
  Load(const Load&) = delete;
  Load& operator=(const Load&) = delete;

  // Until the source ends and all answers are there. The first answer is read whole: it must hold
  // no CIM error. The others must be successes of the same length, so they must be alike.
  LoadResult run(const RequestSource& source);

 private:
  struct Connection {
    int socket = -1;
    // The answer so far; of a large one, what came last stands over what came first.
    std::string buffer;
    std::size_t received = 0;
    // Size of the whole answer; 0 until its header is there.
    std::size_t expected = 0;
  };

  static void send(const Connection& connection, std::string_view request);
  // True when the answer is complete.
  bool receive(Connection& connection);
  void check(const Connection& connection);
  // Those that have something to read.
  const std::vector<Connection*>& waitForAnswers();

  std::vector<Connection> connections_;
  std::vector<Connection*> ready_;
  int poll_ = -1;
  // Size of every answer of this run; 0 until there was one.
  std::size_t usualSize_ = 0;
};

}  // namespace bench
