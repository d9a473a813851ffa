#include "cimd/http/HttpServer.h"

#include <boost/asio/socket_base.hpp>

#include "cimd/http/HttpSession.h"

namespace cimd {

namespace {

namespace asio = boost::asio;

// Between two attempts to accept while the system has no descriptors left.
constexpr std::chrono::milliseconds acceptPause{100};

}  // namespace

HttpServer::HttpServer(asio::io_context& io, const asio::ip::tcp::endpoint& endpoint,
                       RequestHandler& handler, HttpLimits limits)
    : handler_(handler), limits_(limits), acceptor_(io), pause_(io) {
  acceptor_.open(endpoint.protocol());
  // A restarted server must not wait for the old one's connections to be forgotten.
  acceptor_.set_option(asio::socket_base::reuse_address(true));
  acceptor_.bind(endpoint);
  acceptor_.listen(asio::socket_base::max_listen_connections);
  accept();
}

HttpServer::~HttpServer() {
  stop();
}

void HttpServer::stop() {
  boost::system::error_code ignored;
  acceptor_.close(ignored);
  pause_.cancel();
  for (const auto& session : sessions_) {
    if (const auto open = session.lock()) {
      open->close();
    }
  }
  sessions_.clear();
}

void HttpServer::accept() {
  acceptor_.async_accept([this](boost::system::error_code error, asio::ip::tcp::socket socket) {
    if (error == asio::error::operation_aborted || !acceptor_.is_open()) {
      return;
    }
    if (!error) {
      start(std::move(socket));
      accept();
      return;
    }
    dropOldest();
    pause_.expires_after(acceptPause);
    pause_.async_wait([this](boost::system::error_code waitError) {
      if (!waitError) {
        accept();
      }
    });
  });
}

void HttpServer::start(asio::ip::tcp::socket socket) {
  if (sessions_.size() >= limits_.connections) {
    dropOldest();
  }
  const auto place = sessions_.insert(sessions_.end(), std::weak_ptr<HttpSession>());
  const auto session = std::make_shared<HttpSession>(
      std::move(socket), handler_, limits_,
      HttpSession::Events{
          .served = [this, place] { sessions_.splice(sessions_.end(), sessions_, place); },
          .ended = [this, place] { sessions_.erase(place); }});
  *place = session;
  session->start();
}

void HttpServer::dropOldest() {
  if (sessions_.empty()) {
    return;
  }
  const auto oldest = sessions_.front().lock();
  sessions_.pop_front();
  if (oldest) {
    oldest->close();
  }
}

}  // namespace cimd
