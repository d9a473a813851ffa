// A TCP connection to one server, and requests over it.
#pragma once

#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/String.h>

#include <chrono>
#include <string>
#include <string_view>

struct addrinfo;

namespace Pegasus {

class HttpAnswer;

using Deadline = std::chrono::steady_clock::time_point;

// Opens the connection when it is needed, keeps it between exchanges, and closes it after
// everything that leaves its state in doubt.
class HttpConnection {
 public:
  // `address` is host, colon and port. Throws CannotConnectException if it has another form.
  explicit HttpConnection(const String& address);
  ~HttpConnection();
  HttpConnection(const HttpConnection&) = delete;
  HttpConnection& operator=(const HttpConnection&) = delete;
  HttpConnection(HttpConnection&&) = delete;
  HttpConnection& operator=(HttpConnection&&) = delete;

  // Throws CannotConnectException if no address of the host accepts the connection before the
  // deadline. The deadline does not hold for looking up a host name.
  void open(Deadline deadline);
  void close();

  // Sends one request and returns the body of the response. If the server has closed the connection
  // meanwhile, another is opened before anything is sent; nothing is ever sent twice. Throws
  // CannotConnectException, ConnectionTimeoutException, CIMClientMalformedHTTPException,
  // CIMClientHTTPErrorException, CIMException.
  std::string exchange(std::string_view method, const String& nameSpace, std::string_view body,
                       Deadline deadline);

 private:
  bool isStale() const;
  void dropIfStale();
  int tryConnect(const addrinfo& address, Deadline deadline);
  int awaitConnection(Deadline deadline) const;
  void send(std::string_view bytes, Deadline deadline) const;
  void receive(HttpAnswer& answer, Deadline deadline) const;

  std::string hostHeader_;
  std::string host_;
  std::string port_;
  int socket_ = -1;
  // True once the server has answered twice over one connection.
  bool isServerKeeping_ = false;
  // Until then the server may close the connection after the last answer.
  Deadline closeUntil_;
};

}  // namespace Pegasus
