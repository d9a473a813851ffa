#include "http/http_server.h"

#include <sys/resource.h>

#include <algorithm>
#include <boost/asio/post.hpp>
#include <boost/asio/socket_base.hpp>
#include <utility>

#include "http/http_session.h"

namespace cimd {

namespace {

namespace asio = boost::asio;

// Between two attempts to accept while the system has no descriptors left.
constexpr std::chrono::milliseconds acceptPause{100};

// Each connection takes a descriptor; everything else that the server has open takes a dozen.
constexpr rlim_t otherDescriptors = 16;

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
  limits.connections = std::min<std::size_t>(limits.connections, left);
  return limits;
}

HttpServer::HttpServer(asio::io_context& io, const asio::ip::tcp::endpoint& endpoint,
                       RequestHandler& handler, HttpLimits limits)
    : HttpServer(io, listenOn(io, endpoint), handler, limits) {}

HttpServer::HttpServer(asio::io_context& io, asio::ip::tcp::acceptor acceptor,
                       RequestHandler& handler, HttpLimits limits)
    : handler_(handler),
      limits_(limits),
      memory_(std::make_shared<MemoryBudget>(limits.heldBytes, limits.smallBytes)),
      acceptor_(std::move(acceptor)),
      pause_(io) {
  acceptor_.non_blocking(true);
  accept();
}

HttpServer::~HttpServer() {
  stop();
}

void HttpServer::stop() {
  boost::system::error_code ignored;
  acceptor_.close(ignored);
  pause_.cancel();
  waiting_.clear();
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
  if (newcomers_.size() + served_.size() >= limits_.connections) {
    dropOne();
  }
  // Joins the list last, for there may be no memory for the session.
  Entries entry(1);
  const auto place = entry.begin();
  HttpSession::Events events{
      .begun =
          [this, place] {
            Entries& list = listOf(*place);
            list.splice(list.end(), list, place);
          },
      .later = [this](std::function<void()> answer) { answerLater(std::move(answer)); },
      .served =
          [this, place] {
            served_.splice(served_.end(), listOf(*place), place);
            place->hasServed = true;
          },
      .ended = [this, place] { listOf(*place).erase(place); }};
  const auto session = std::make_shared<HttpSession>(std::move(socket), handler_, limits_, memory_,
                                                     std::move(events));
  place->session = session;
  newcomers_.splice(newcomers_.end(), entry);
  session->start();
}

void HttpServer::answerLater(std::function<void()> answer) {
  waiting_.push_back(std::move(answer));
  if (waiting_.size() == 1) {
    asio::post(acceptor_.get_executor(), [this] { answerNext(); });
  }
}

void HttpServer::answerNext() {
  if (waiting_.empty()) {
    return;
  }
  const std::function<void()> answer = std::move(waiting_.front());
  waiting_.pop_front();
  // Before the answer, which may end in an exception.
  if (!waiting_.empty()) {
    asio::post(acceptor_.get_executor(), [this] { answerNext(); });
  }
  answer();
}

bool HttpServer::dropOne() {
  const bool areManyNew = newcomers_.size() > limits_.connections / 4;
  Entries& entries = areManyNew || served_.empty() ? newcomers_ : served_;
  if (entries.empty()) {
    return false;
  }
  const auto session = entries.front().session.lock();
  entries.pop_front();
  if (session) {
    session->close();
  }
  return true;
}

}  // namespace cimd
