#include "http/http_server.h"

#include <sys/resource.h>

#include <algorithm>
#include <boost/asio/post.hpp>
#include <boost/asio/socket_base.hpp>
#include <numeric>
#include <system_error>
#include <utility>

#include "http/http_session.h"

namespace cimd {

namespace {

namespace asio = boost::asio;

constexpr int bufferSize = 128 << 10;

// Between two attempts to accept while the system has no descriptors left.
constexpr std::chrono::milliseconds acceptPause{100};

// Each connection takes a descriptor; everything else that the server has open takes a dozen.
constexpr rlim_t otherDescriptors = 16;

template <typename Connections>
std::size_t countOf(const Connections& connections) {
  return std::accumulate(
      connections.begin(), connections.end(), std::size_t{0},
      [](std::size_t sum, const auto& account) { return sum + account.second.size(); });
}

asio::ip::tcp::acceptor listenOn(asio::io_context& io, const asio::ip::tcp::endpoint& endpoint) {
  asio::ip::tcp::acceptor acceptor(io, endpoint.protocol());
  // A restarted server must not wait for the old one's connections to be forgotten.
  acceptor.set_option(asio::socket_base::reuse_address(true));
  acceptor.bind(endpoint);
  acceptor.listen(asio::socket_base::max_listen_connections);
  return acceptor;
}

}  // namespace

HttpLimits limitsOfProcess(std::size_t maxRequest) {
  HttpLimits limits;
  limits.bodyBytes = maxRequest;
  limits.heldBytes = std::max(limits.heldBytes, maxRequest);
  const rlim_t wanted = limits.connections + otherDescriptors;
  rlimit descriptors{};
  if (getrlimit(RLIMIT_NOFILE, &descriptors) != 0) {
    return limits;
  }
  if (descriptors.rlim_cur < wanted) {
    descriptors.rlim_cur = std::min(descriptors.rlim_max, wanted);
    static_cast<void>(setrlimit(RLIMIT_NOFILE, &descriptors));
  }
  const rlim_t left =
      std::max<rlim_t>(descriptors.rlim_cur, otherDescriptors + 1) - otherDescriptors;
  limits.connections = static_cast<std::size_t>(std::min<rlim_t>(limits.connections, left));
  return limits;
}

HttpServer::HttpServer(asio::io_context& io, const asio::ip::tcp::endpoint& endpoint,
                       RequestHandler& handler, HttpLimits limits, OwnerOf ownerOf)
    : HttpServer(io, listenOn(io, endpoint), handler, limits, std::move(ownerOf)) {}

HttpServer::HttpServer(asio::io_context& io, asio::ip::tcp::acceptor acceptor,
                       RequestHandler& handler, HttpLimits limits, OwnerOf ownerOf)
    : handler_(handler),
      limits_(limits),
      memory_(std::make_shared<MemoryBudget>(limits.heldBytes, limits.smallBytes)),
      acceptor_(std::move(acceptor)),
      pause_(io),
      ownerOf_(std::move(ownerOf)) {
  acceptor_.non_blocking(true);
  // For the connections: how much one turn of sending or receiving can take, and what the system
  // keeps of an answer that nobody reads.
  acceptor_.set_option(asio::socket_base::send_buffer_size(bufferSize));
  acceptor_.set_option(asio::socket_base::receive_buffer_size(bufferSize));
  accept();
}

HttpServer::~HttpServer() {
  stop();
}

void HttpServer::stop() {
  boost::system::error_code ignored;
  acceptor_.close(ignored);
  pause_.cancel();
  turns_ = {};
  while (dropOne()) {
  }
}

void HttpServer::accept() {
  acceptor_.async_accept([this](boost::system::error_code error, asio::ip::tcp::socket socket) {
    if (error == asio::error::operation_aborted || !acceptor_.is_open()) {
      return;
    }
    // The usual error is a lack of descriptors, and each connection has one.
    if (!error || dropOne()) {
      accept();
      // Last, for there may be no memory for one more connection.
      if (!error) {
        start(std::move(socket));
        acceptMore();
      }
      return;
    }
    pause_.expires_after(acceptPause);
    pause_.async_wait([this](boost::system::error_code waitError) {
      if (!waitError) {
        accept();
      }
    });
  });
}

// As long as more wait, without letting others go first: one for each round of the event loop would
// make a flood of connections a long queue for everybody. Fewer than there is place for newcomers,
// so that each has the time to send its request.
void HttpServer::acceptMore() {
  for (std::size_t count = 0; count < limits_.connections / 8; ++count) {
    boost::system::error_code error;
    asio::ip::tcp::socket socket(acceptor_.get_executor());
    acceptor_.accept(socket, error);
    if (error) {
      return;
    }
    start(std::move(socket));
  }
}

void HttpServer::start(asio::ip::tcp::socket socket) {
  if (countOf(newcomers_) + countOf(served_) >= limits_.connections) {
    dropOne();
  }
  Owner owner;
  try {
    owner = ownerOf_(socket);
  } catch (const std::system_error&) {
    // Unknown. All unknown ones count as one account.
  }
  // Joins the list last, for there may be no memory for the session.
  Entries& newcomers = newcomers_[owner];
  Entries entry(1);
  const auto place = entry.begin();
  place->owner = owner;
  HttpSession::Events events{
      .begun =
          [this, place] {
            Entries& list = listOf(*place);
            list.splice(list.end(), list, place);
          },
      .ready = [this, owner](Turn turn, Turns::Job job) { takeTurns(owner, turn, std::move(job)); },
      .served =
          [this, place] {
            Entries& served = served_[place->owner];
            served.splice(served.end(), listOf(*place), place);
            place->hasServed = true;
          },
      .ended = [this, place] { listOf(*place).erase(place); }};
  const auto session = std::make_shared<HttpSession>(std::move(socket), owner, handler_, limits_,
                                                     memory_, std::move(events));
  place->session = session;
  newcomers.splice(newcomers.end(), entry);
  session->start();
}

void HttpServer::takeTurns(const Owner& owner, Turn turn, Turns::Job job) {
  turns_.add(owner, turn, std::move(job));
  postTurn();
}

void HttpServer::postTurn() {
  if (!isTurnPosted_ && !turns_.isEmpty()) {
    asio::post(acceptor_.get_executor(), [this] { takeNextTurn(); });
    isTurnPosted_ = true;
  }
}

void HttpServer::takeNextTurn() {
  isTurnPosted_ = false;
  for (bool isOver = false; !isOver && !turns_.isEmpty();) {
    const Turns::Job job = turns_.next();
    postTurn();  // before the job, which may end in an exception
    isOver = job() && turns_.isRoundOver();
  }
}

bool HttpServer::dropOne() {
  const bool areManyNew = countOf(newcomers_) > limits_.connections / 2;
  Connections& connections = areManyNew || countOf(served_) == 0 ? newcomers_ : served_;
  std::erase_if(connections, [](const auto& account) { return account.second.empty(); });
  const auto most = std::max_element(
      connections.begin(), connections.end(),
      [](const auto& a, const auto& b) { return a.second.size() < b.second.size(); });
  if (most == connections.end()) {
    return false;
  }
  const auto session = most->second.front().session.lock();
  most->second.pop_front();
  if (session) {
    session->close();
  }
  return true;
}

}  // namespace cimd
