// The interface through which the HTTP transport calls the rest of the server.
#pragma once

#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>
#include <functional>
#include <optional>
#include <string>
#include <variant>

#include "operations/access.h"
#include "operations/answer.h"

namespace cimd {

// Method, target, version and header fields.
using RequestHeader = boost::beast::http::request_header<>;

// The transport adds Content-Length and Connection, and sets the version.
using HttpAnswer = boost::beast::http::response<boost::beast::http::string_body>;

// The CIM operation that the header of an accepted request names (DMTF DSP0200).
struct CimRequest {
  // "73-" when the request is an M-POST with "ns=73" in its Man field (RFC 2774): the names of CIM
  // fields begin with it, in the answer too. Empty for POST.
  std::string prefix;
  // CIMMethod and CIMObject, decoded.
  std::string method;
  std::string object;
};

// An answer, whole or only begun.
struct BegunAnswer {
  HttpAnswer answer;
  // Appends the next part to the body as Answer::more does. Null when the answer is whole.
  std::function<bool(std::string& body)> more;
};

// When either function throws, or a later part of an answer does, whatever it is, the client gets a
// 500.
class RequestHandler {
 public:
  RequestHandler() = default;
  RequestHandler(const RequestHandler&) = delete;
  RequestHandler& operator=(const RequestHandler&) = delete;
  virtual ~RequestHandler() = default;

  // Asked once for each request, before its body is read: a refusal spares reading it.
  virtual std::variant<CimRequest, HttpAnswer> check(const RequestHeader& header) = 0;
  // The answer to a request that was accepted; nothing, and nothing is done, when its length is not
  // the one that is allowed. `caller` is the same for the whole connection.
  virtual std::optional<BegunAnswer> answer(const CimRequest& request, std::string body,
                                            Caller& caller, Length length) = 0;
};

}  // namespace cimd
