// Accepts connections and keeps the list of them. One thread: everything runs in the io_context.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <functional>
#include <list>
#include <map>
#include <memory>

#include "http/connection_owner.h"
#include "http/fairness.h"
#include "http/request_handler.h"

namespace cimd {

class HttpSession;

struct HttpLimits {
  std::size_t headerBytes = 16384;
  std::size_t bodyBytes = std::size_t{1} << 20U;
  // When one more comes, another makes room for it: of those that have had no answer yet, if these
  // are more than half, otherwise of the others; of the account that has the most of them; the
  // one whose last request began or was answered longest ago. So silent connections, however many,
  // do not push out clients at work, the latter not a newcomer, and no account another.
  std::size_t connections = 256;
  // For requests that are being read and answers that are being sent, all connections together,
  // without those of up to `smallBytes`. When it is used up, the account with the most gives up the
  // request or answer that has taken longest.
  std::size_t heldBytes = std::size_t{256} << 20U;
  std::size_t smallBytes = std::size_t{64} << 10U;
  // How long a connection may wait for its next request.
  std::chrono::milliseconds idle{300'000};
  // From the first byte of a request to its last, and the same for the answer: one deadline for the
  // whole, which a client that sends a byte now and then does not prolong.
  std::chrono::milliseconds exchange{30'000};
};

// The default limits with this one for the body of a request, and with no more connections than
// this process can have descriptors for. Raises the process's own limit where it must and may.
HttpLimits limitsOfProcess(std::size_t maxRequest);

class HttpServer {
 public:
  // The account that a connection counts for; unknown when this throws.
  using OwnerOf = std::function<Owner(const boost::asio::ip::tcp::socket&)>;

  // Listens from here on; throws boost::system::system_error when it cannot. `io` and `handler`
  // must outlive the server. Connections are served while io.run() runs.
  HttpServer(boost::asio::io_context& io, const boost::asio::ip::tcp::endpoint& endpoint,
             RequestHandler& handler, HttpLimits limits = HttpLimits(),
             OwnerOf ownerOf = kernelsOwner);
  // The same with a socket that listens already.
  HttpServer(boost::asio::io_context& io, boost::asio::ip::tcp::acceptor acceptor,
             RequestHandler& handler, HttpLimits limits = HttpLimits(),
             OwnerOf ownerOf = kernelsOwner);
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  // With the port that the system chose, where 0 was asked for.
  boost::asio::ip::tcp::endpoint localEndpoint() const { return acceptor_.local_endpoint(); }
  // Stops listening and closes all connections, so that io.run() returns.
  void stop();

 private:
  struct Entry {
    Owner owner;
    std::weak_ptr<HttpSession> session;
    bool hasServed = false;
  };
  using Entries = std::list<Entry>;
  // By account. A list may be empty.
  using Connections = std::map<Owner, Entries>;

  static Owner kernelsOwner(const boost::asio::ip::tcp::socket& socket) {
    return ownerOfConnection(socket);
  }

  void accept();
  void acceptMore();
  void takeTurns(const Owner& owner, Turn turn, Turns::Job job);
  void postTurn();
  void takeNextTurn();
  void start(boost::asio::ip::tcp::socket socket);
  // False when there is no connection.
  bool dropOne();
  Entries& listOf(const Entry& entry) {
    return (entry.hasServed ? served_ : newcomers_)[entry.owner];
  }

  RequestHandler& handler_;
  HttpLimits limits_;
  std::shared_ptr<MemoryBudget> memory_;
  boost::asio::ip::tcp::acceptor acceptor_;
  boost::asio::steady_timer pause_;
  OwnerOf ownerOf_;
  // Complete requests. After each round comes whatever else is ready, so that a small request that
  // arrives meanwhile is among those that wait.
  Turns turns_;
  bool isTurnPosted_ = false;
  // Those without a completed request. At the end are those that came or began one last.
  Connections newcomers_;
  // At the end are those that began or completed a request last.
  Connections served_;
};

}  // namespace cimd
