#include "http/http_session.h"

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/write.hpp>
#include <string_view>
#include <utility>
#include <variant>

#include "http/connection_owner.h"

namespace cimd {

namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;

constexpr std::size_t readSize = 65536;
// For what a client still sends after an answer that ends the connection.
constexpr std::chrono::seconds drainTime{2};

}  // namespace

HttpSession::HttpSession(asio::ip::tcp::socket socket, const Owner& owner, RequestHandler& handler,
                         const HttpLimits& limits, std::shared_ptr<MemoryBudget> memory,
                         Events events)
    : stream_(std::move(socket)),
      handler_(handler),
      limits_(limits),
      share_(std::move(memory), owner, [this] { abandon(); }),
      events_(std::move(events)),
      caller_([this] { return ownerOfConnection(stream_.socket()); }),
      buffer_(limits.headerBytes + readSize) {}

HttpSession::~HttpSession() {
  if (events_.ended) {
    events_.ended();
  }
}

void HttpSession::start() {
  Error ignored;  // an answer that comes late is better than none
  stream_.socket().set_option(asio::ip::tcp::no_delay(true), ignored);
  waitForRequest();
}

void HttpSession::close() {
  events_ = Events();
  abandon();
}

// The queue may keep a session that waits for its turn a while longer, but not its large parts.
void HttpSession::abandon() {
  stream_.close();
  if (isWaiting_) {
    parser_.reset();
    forgetAnswer();
    more_ = nullptr;
    buffer_.clear();
    buffer_.shrink_to_fit();
  }
}

void HttpSession::waitForRequest() {
  parser_.emplace();
  parser_->header_limit(static_cast<std::uint32_t>(limits_.headerBytes));
  parser_->body_limit(limits_.bodyBytes);
  skipEmptyLines();
  if (buffer_.size() != 0) {
    readHeader();
    return;
  }
  stream_.expires_after(limits_.idle);
  stream_.async_read_some(buffer_.prepare(limits_.headerBytes),
                          [self = shared_from_this()](Error error, std::size_t count) {
                            if (!error) {
                              self->buffer_.commit(count);
                              self->skipEmptyLines();
                              self->buffer_.size() != 0 ? self->readHeader()
                                                        : self->waitForRequest();
                            }
                          });
}

// RFC 9112, section 2.2: some clients send an empty line after a request's body.
void HttpSession::skipEmptyLines() {
  const auto* bytes = static_cast<const char*>(buffer_.cdata().data());
  const std::string_view text(bytes, buffer_.size());
  buffer_.consume(std::min(text.find_first_not_of("\r\n"), text.size()));
}

void HttpSession::readHeader() {
  if (events_.begun) {
    events_.begun();
  }
  stream_.expires_after(limits_.exchange);
  http::async_read_header(stream_, buffer_, *parser_,
                          [self = shared_from_this()](Error error, std::size_t) {
                            error ? self->refuseUnreadable(error) : self->headerRead();
                          });
}

void HttpSession::headerRead() {
  std::variant<CimRequest, HttpAnswer> checked;
  try {
    checked = handler_.check(parser_->get());
  } catch (...) {
    refuse(http::status::internal_server_error);
    return;
  }
  if (auto* refused = std::get_if<HttpAnswer>(&checked)) {
    send(std::move(*refused), true);
    return;
  }
  request_ = std::get<CimRequest>(std::move(checked));
  awaitsContinue() ? sendContinue() : readBody();
}

// A client of HTTP/1.0 would take the interim answer for the answer (RFC 9110, section 10.1.1).
bool HttpSession::awaitsContinue() const {
  const auto& header = parser_->get();
  return header.count(http::field::expect) != 0 && header.version() >= 11 && buffer_.size() == 0 &&
         !parser_->is_done();
}

void HttpSession::sendContinue() {
  static constexpr std::string_view line = "HTTP/1.1 100 Continue\r\n\r\n";
  asio::async_write(stream_, asio::buffer(line.data(), line.size()),
                    [self = shared_from_this()](Error error, std::size_t) {
                      if (!error) {
                        self->readBody();
                      }
                    });
}

void HttpSession::readBody() {
  if (!share_.resize(parser_->get().body().size())) {
    refuse(http::status::service_unavailable);
  } else if (parser_->is_done()) {
    awaitTurn(parser_->get().body().size() > limits_.smallBytes ? Turn::large : Turn::small);
  } else {
    http::async_read_some(stream_, buffer_, *parser_,
                          [self = shared_from_this()](Error error, std::size_t) {
                            error ? self->refuseUnreadable(error) : self->readBody();
                          });
  }
}

void HttpSession::awaitTurn(Turn turn) {
  if (!events_.ready) {
    return;  // closed
  }
  events_.ready(turn, [self = shared_from_this(), turn] {
    self->isWaiting_ = false;
    if (!self->stream_.socket().is_open()) {
      return false;
    }
    self->takeTurn(turn);
    return true;
  });
  isWaiting_ = true;
}

void HttpSession::takeTurn(Turn turn) {
  try {
    makePart(turn);
  } catch (...) {
    // Out of memory, most likely. The next request may be smaller.
    response_ = HttpAnswer(http::status::internal_server_error, 11);
    more_ = nullptr;
  }
  if (isWaiting_) {
    return;
  }
  if (!share_.resize(response_.body().size())) {
    more_ = nullptr;
    refuse(http::status::service_unavailable);
  } else if (more_) {
    awaitTurn(Turn::next);
  } else {
    send(std::move(response_), !parser_->keep_alive());
  }
}

void HttpSession::makePart(Turn turn) {
  if (turn == Turn::next) {
    if (!more_(response_.body())) {
      more_ = nullptr;
    }
    return;
  }
  std::string& body = parser_->get().body();
  auto begun = turn == Turn::small
                   ? handler_.answer(request_, body, caller_, Length::brief)
                   : handler_.answer(request_, std::move(body), caller_, Length::any);
  if (!begun) {
    awaitTurn(Turn::large);
    return;
  }
  response_ = std::move(begun->answer);
  more_ = std::move(begun->more);
}

// Only bytes that are not HTTP are worth an answer; after the end of a connection or a time-out
// there is nobody to read it.
void HttpSession::refuseUnreadable(Error error) {
  if (error.category() != make_error_code(http::error::bad_method).category() ||
      error == http::error::end_of_stream || error == http::error::partial_message) {
    return;
  }
  if (error == http::error::body_limit) {
    refuse(http::status::payload_too_large);
  } else if (error == http::error::header_limit || error == http::error::buffer_overflow) {
    refuse(http::status::request_header_fields_too_large);
  } else {
    refuse(http::status::bad_request);
  }
}

void HttpSession::refuse(http::status status) {
  send(HttpAnswer(status, 11), true);
}

void HttpSession::send(HttpAnswer answer, bool closes) {
  response_ = std::move(answer);
  response_.version(parser_->get().version() == 10 ? 10 : 11);
  response_.keep_alive(!closes);
  response_.prepare_payload();
  stream_.expires_after(limits_.exchange);
  http::async_write(stream_, response_,
                    [self = shared_from_this()](Error error, std::size_t) { self->sent(error); });
}

void HttpSession::sent(Error error) {
  if (error) {
    return;
  }
  if (events_.served) {
    events_.served();
  }
  const bool continues = response_.keep_alive();
  forgetAnswer();
  share_.resize(0);
  if (continues) {
    waitForRequest();
    return;
  }
  // Closing while the client still sends would make its system throw the answer away.
  Error ignored;
  stream_.socket().shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
  stream_.expires_after(drainTime);
  drain();
}

// A text keeps its memory when an empty one is assigned to it.
void HttpSession::forgetAnswer() {
  std::string().swap(response_.body());
  response_ = {};
}

void HttpSession::drain() {
  buffer_.clear();
  stream_.async_read_some(buffer_.prepare(readSize),
                          [self = shared_from_this()](Error error, std::size_t) {
                            if (!error) {
                              self->drain();
                            }
                          });
}

}  // namespace cimd
