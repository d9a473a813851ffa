// What the HTTP transport asks of the rest of the server.
#pragma once

#include <optional>

#include "http/http_message.h"

namespace cimd {

class RequestHandler {
 public:
  RequestHandler() = default;
  RequestHandler(const RequestHandler&) = delete;
  RequestHandler& operator=(const RequestHandler&) = delete;
  virtual ~RequestHandler() = default;

  // Asked when the headers are there and the body is not: a refusal spares reading it.
  virtual std::optional<HttpAnswer> refuseEarly(const HttpRequest& request) = 0;
  // The answer to a request that was not refused. May throw; the client then gets a 500.
  virtual HttpAnswer answer(const HttpRequest& request) = 0;
};

}  // namespace cimd
