#include "client/http_exchange.h"

#include <Pegasus/Common/Exception.h>

// GCC warns of an uninitialized boost::optional in code that it inlines from there.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/optional.hpp>
#include "common/growing_body.h"
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

#include "text/ascii.h"
#include "text/percent.h"

#include <charconv>
#include <stdexcept>

namespace http = boost::beast::http;

namespace Pegasus {

namespace {

constexpr std::size_t readSize = 64U << 10;

String decodedField(std::string_view value) {
  return String(text::percentDecoded(value));
}

[[noreturn]] void throwMalformed(const std::string& what) {
  throw CIMClientMalformedHTTPException(String(what));
}

Uint32 parseStatusCode(std::string_view text) {
  Uint32 code = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), code);
  if (error != std::errc() || end != text.data() + text.size()) {
    throwMalformed("CIMStatusCode is not a number");
  }
  return code;
}

std::string_view mediaType(std::string_view contentType) {
  return text::trimmed(contentType.substr(0, contentType.find(';')));
}

[[noreturn]] void throwUnparsable(const boost::system::error_code& error) {
  if (error == http::error::header_limit) {
    throwMalformed("the header of the response is larger than 64 KiB");
  }
  if (error == http::error::body_limit) {
    throwMalformed("the response is larger than 64 MiB");
  }
  throwMalformed("not an HTTP response: " + error.message());
}

}  // namespace

std::string makeHttpRequest(std::string_view host, std::string_view method, const String& nameSpace,
                            std::string_view body) {
  std::string request;
  request.reserve(512 + body.size());
  request.append("POST /cimom HTTP/1.1\r\nHost: ").append(host);
  request.append("\r\nContent-Type: application/xml; charset=\"utf-8\"\r\nContent-Length: ");
  request.append(std::to_string(body.size()));
  request.append("\r\nAccept: application/xml, text/xml");
  request.append("\r\nCIMOperation: MethodCall\r\nCIMProtocolVersion: 1.0\r\nCIMMethod: ");
  request.append(text::percentEncoded(method))
      .append("\r\nCIMObject: ")
      .append(text::percentEncoded(nameSpace.toUtf8()));
  request.append("\r\n\r\n").append(body);
  return request;
}

struct HttpAnswer::Parser {
  Parser() { restart(); }

  void restart() {
    message.emplace();
    message->header_limit(maxHeaderSize);
    message->body_limit(maxBodySize);
  }

  // Takes what it can from `unparsed`, at most to the end of the header or of a chunk. False if
  // that was nothing, because the rest has not arrived yet.
  bool step() {
    boost::system::error_code error;
    const bool isHeader = !message->is_header_done();
    const std::size_t used = message->put(unparsed.data(), error);
    unparsed.consume(used);
    headerSize += isHeader ? used : 0;
    // The library's own limit is for one field at a time, and it has none for chunk extensions and
    // trailers. All of them wait here until they are complete.
    const std::size_t waiting = error == http::error::need_more ? unparsed.size() : 0;
    if (headerSize + waiting > maxHeaderSize) {
      error = http::error::header_limit;
    }
    if (error && error != http::error::need_more) {
      throwUnparsable(error);
    }
    return !error && used > 0;
  }

  std::string_view field(const char* name) const {
    const auto value = message->get()[name];
    return {value.data(), value.size()};
  }

  // A server may report an error in these fields of a response with status 200, most often in a
  // trailer.
  void checkStatusCodes() const {
    const auto codes = message->get().equal_range("CIMStatusCode");
    for (auto field = codes.first; field != codes.second; ++field) {
      const auto text = field->value();
      const Uint32 code = parseStatusCode({text.data(), text.size()});
      if (code != CIM_ERR_SUCCESS) {
        throw CIMException(static_cast<CIMStatusCode>(code),
                           decodedField(this->field("CIMStatusCodeDescription")));
      }
    }
  }

  // Interim responses announce the final one. 101 would switch to another protocol, which was not
  // requested.
  bool isInterim() const { return status() / 100 == 1 && status() != 101; }
  bool isError() const { return status() != 200 && !isInterim(); }
  unsigned status() const { return message->get().result_int(); }

  boost::optional<http::response_parser<GrowingBody>> message;
  boost::beast::flat_buffer unparsed;
  // The sum for interim responses and the final one.
  std::size_t headerSize = 0;
};

HttpAnswer::HttpAnswer() : parser_(std::make_unique<Parser>()) {}

HttpAnswer::~HttpAnswer() = default;

std::pair<char*, std::size_t> HttpAnswer::prepare() {
  const auto space = parser_->unparsed.prepare(readSize);
  return {static_cast<char*>(space.data()), space.size()};
}

void HttpAnswer::commit(std::size_t count) {
  parser_->unparsed.commit(count);
  try {
    while (parser_->unparsed.size() > 0 && !isDone() && parser_->step()) {
      if (parser_->message->is_done() && parser_->isInterim()) {
        parser_->restart();
      }
    }
  } catch (const std::length_error&) {
    throwUnparsable(http::error::header_limit);  // more than the library can keep in one field
  }
}

void HttpAnswer::end() {
  boost::system::error_code error;
  if (parser_->message->got_some()) {
    parser_->message->put_eof(error);
  }
  if (error || !parser_->message->is_done()) {
    throwMalformed("the connection ended before the response did");
  }
}

bool HttpAnswer::isDone() const {
  return parser_->message->is_done() || (parser_->message->is_header_done() && parser_->isError());
}

bool HttpAnswer::keepsAlive() const {
  return parser_->message->is_done() && parser_->message->keep_alive() && !parser_->isError() &&
         parser_->unparsed.size() == 0;
}

void HttpAnswer::check() const {
  const auto& message = parser_->message->get();
  if (parser_->isError()) {
    const auto reason = message.reason();
    throw CIMClientHTTPErrorException(message.result_int(), String(std::string(reason)),
                                      decodedField(parser_->field("CIMError")),
                                      decodedField(parser_->field("PGErrorDetail")));
  }
  if (!text::equalNoCase(parser_->field("CIMOperation"), "MethodResponse")) {
    throwMalformed("not a CIM response: CIMOperation is not MethodResponse");
  }
  const std::string_view type = mediaType(parser_->field("Content-Type"));
  if (!type.empty() && !text::equalNoCase(type, "application/xml") &&
      !text::equalNoCase(type, "text/xml")) {
    throwMalformed("not an XML response: its type is " + std::string(type));
  }
  const std::string_view coding = parser_->field("Content-Encoding");
  if (!coding.empty() && !text::equalNoCase(coding, "identity")) {
    throwMalformed("the response has an encoding that was not requested: " + std::string(coding));
  }
  parser_->checkStatusCodes();
}

std::string HttpAnswer::takeBody() {
  return std::move(parser_->message->get().body());
}

}  // namespace Pegasus
