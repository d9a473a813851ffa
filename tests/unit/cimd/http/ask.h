// HTTP requests to a handler, without a connection.
#pragma once

#include "http/request_handler.h"

#include <utility>

namespace cimd::test {

using HttpRequest = boost::beast::http::request<boost::beast::http::string_body>;

// The answer to the request: a refusal by its header, or that of its body.
inline HttpAnswer ask(RequestHandler& handler, const HttpRequest& request) {
  auto checked = handler.check(request);
  if (auto* refused = std::get_if<HttpAnswer>(&checked)) {
    return std::move(*refused);
  }
  Caller root([] { return uid_t{0}; });
  auto begun = handler.answer(std::get<CimRequest>(checked), request.body(), root, Length::any);
  while (begun->more && begun->more(begun->answer.body())) {
  }
  return std::move(begun->answer);
}

}  // namespace cimd::test
