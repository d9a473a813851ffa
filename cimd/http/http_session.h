// One HTTP connection: requests in, answers out, one after the other, until either side ends it.
#pragma once

#include "common/growing_body.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/parser.hpp>
#include <functional>
#include <memory>
#include <optional>

#include "http/fairness.h"
#include "http/http_server.h"
#include "http/request_handler.h"

namespace cimd {

// Stricter than the library: refuses fields that go on in the next line (obs-fold): HTTP programs
// disagree about what they mean (RFC 9112, section 5.2).
class RequestParser : public boost::beast::http::request_parser<Pegasus::GrowingBody> {
 private:
  void on_field_impl(boost::beast::http::field name, boost::beast::string_view nameText,
                     boost::beast::string_view value, boost::beast::error_code& error) override {
    // The library joins the lines, but the name is where it was received, and the whole header
    // after it, with an empty line at its end.
    const char* end = nameText.data() + nameText.size();
    while (*end != '\n') {
      ++end;
    }
    if (end[1] == ' ' || end[1] == '\t') {
      error = boost::beast::http::error::bad_value;
    } else {
      get().insert(name, nameText, value);
    }
  }
};

// Keeps itself alive by the operation that it waits for.
class HttpSession : public std::enable_shared_from_this<HttpSession> {
 public:
  struct Events {
    // The first byte of a request has come.
    std::function<void()> begun;
    // There is work to do; calls the job when it is its turn.
    std::function<void(Turn, Turns::Job)> ready;
    // An answer has been sent.
    std::function<void()> served;
    // The connection is over. The last call.
    std::function<void()> ended;
  };

  // `owner` is the account that the session's memory is for. `handler` must outlive the session.
  HttpSession(boost::asio::ip::tcp::socket socket, const Owner& owner, RequestHandler& handler,
              const HttpLimits& limits, std::shared_ptr<MemoryBudget> memory, Events events);
  ~HttpSession();
  HttpSession(const HttpSession&) = delete;
  HttpSession& operator=(const HttpSession&) = delete;

  void start();
  // Closes the connection at once; no event is reported any more.
  void close();

 private:
  using Error = boost::beast::error_code;

  void waitForRequest();
  void readHeader();
  void headerRead();
  bool awaitsContinue() const;
  void sendContinue();
  void readBody();
  void awaitTurn(Turn turn);
  void takeTurn(Turn turn);
  void makePart(Turn turn);
  void abandon();
  void skipEmptyLines();
  void refuseUnreadable(Error error);
  void send(HttpAnswer answer, bool closes);
  void refuse(boost::beast::http::status status);
  void sent(Error error);
  void forgetAnswer();
  void drain();

  boost::beast::tcp_stream stream_;
  RequestHandler& handler_;
  HttpLimits limits_;
  MemoryShare share_;
  Events events_;
  Caller caller_;
  boost::beast::flat_buffer buffer_;
  // A parser reads one message only.
  std::optional<RequestParser> parser_;
  CimRequest request_;
  HttpAnswer response_;
  // The rest of the response, while there is some to make.
  std::function<bool(std::string&)> more_;
  // Nothing happens until it is its turn.
  bool isWaiting_ = false;
};

}  // namespace cimd
