// A server of the test's own on the loopback interface: it does on each connection exactly what a
// script says, in a thread, and keeps what the client sent. Below it are answers for such scripts,
// and the operations that ask for them.
#pragma once

#include <Pegasus/Client/CIMClient.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

// The server's side of one connection. Every wait is bounded; what does not happen in time, or not
// at all, is thrown and becomes one of ScriptedServer::problems().
class Peer {
 public:
  Peer(int socket, int stopEvent) : socket_(socket), stopEvent_(stopEvent) {}
  ~Peer();
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;
  Peer(Peer&&) = delete;
  Peer& operator=(Peer&&) = delete;

  // One request, up to the last byte that its Content-Length announces.
  void readRequest();
  // The beginning of a request.
  void readBytes(std::size_t count);
  // "@ID@" stands for the message ID of the last request. False when the client is gone.
  bool send(std::string text) const;
  void answer(const std::string& text) {
    readRequest();
    send(text);
  }
  // Until the client closes the connection or the test stops the server; the client must not send
  // anything more.
  void awaitClose();
  // Ends the sending direction only.
  void endSending() const;
  // Lets the connection end with a reset instead of an orderly close when the script ends.
  void resetAtEnd() const;
  // How many segments with data have come from the client so far.
  std::size_t segments() const;

  const std::vector<std::string>& requests() const { return requests_; }

 private:
  bool receive();
  int socket_;
  int stopEvent_;
  std::string received_;
  std::vector<std::string> requests_;
};

class ScriptedServer {
 public:
  using Script = std::function<void(Peer&)>;

  // The first connection gets the first script and so on; a connection is closed when its script
  // ends. Connections beyond the scripts are counted and closed.
  explicit ScriptedServer(std::vector<Script> scripts, const char* host = "127.0.0.1");
  ~ScriptedServer();
  ScriptedServer(const ScriptedServer&) = delete;
  ScriptedServer& operator=(const ScriptedServer&) = delete;
  ScriptedServer(ScriptedServer&&) = delete;
  ScriptedServer& operator=(ScriptedServer&&) = delete;

  // host:port, with the port that the system chose.
  std::string address() const { return address_; }
  // Until this many scripts have ended.
  void awaitClosed(std::size_t count);
  // No further connection is accepted; those in the queue are counted. Waits for the scripts that
  // run. The three below do this first.
  void stop();
  // All requests, in the order in which they came.
  std::vector<std::string> requests();
  std::size_t connections();
  // Differences from the scripts.
  std::string problems();

 private:
  void run();
  void serve(int socket);

  std::vector<Script> scripts_;
  std::string address_;
  int listener_ = -1;
  int stopEvent_ = -1;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::size_t closed_ = 0;
  std::vector<std::string> requests_;
  std::string problems_;
  std::thread thread_;
};

// A recorded answer of tests/data/traffic ("07-get-property"), with "@ID@" in place of the message
// ID. Both have four bytes, as have the message IDs of a client that is asked less than 9000 times.
std::string recordedAnswer(const std::string& name);
std::string recordedRequest(const std::string& name);

// The part of an HTTP message after its header.
std::string bodyOf(const std::string& message);

// A complete HTTP answer with Content-Length; `fields` are further header lines, each with its end.
std::string httpAnswer(const std::string& body,
                       const std::string& fields = "CIMOperation: MethodResponse\r\n",
                       const std::string& status = "200 OK");
// The body that answers GetProperty with a value.
std::string propertyBody(const std::string& value);
// The whole answer.
inline std::string propertyAnswer(const std::string& value) {
  return httpAnswer(propertyBody(value));
}
// Answers one request, then waits for the client to close.
inline const ScriptedServer::Script answerOnce = [](Peer& peer) {
  peer.answer(propertyAnswer("x"));
  peer.awaitClose();
};
// From the bytes of a body: chunks of at most `size` bytes, then the trailer lines.
std::string chunked(const std::string& body, std::size_t size, const std::string& trailers = "");

// The instance name of the recordings, as they spell it: KVAXDT_FRU with three keys.
Pegasus::CIMObjectPath fruName(const char* fruNumber = "A100001");
// Asks for one property of it, and gives its text.
std::string askProperty(Pegasus::CIMClient& client);
// The text of a property that the instance has.
std::string valueOf(const Pegasus::CIMInstance& instance, const char* name);
