// CIM operations over HTTP (DMTF DSP0200): checks the HTTP side, has the operation carried out,
// wraps the answer.
#pragma once

#include "http/request_handler.h"
#include "operations/dispatcher.h"

namespace cimd {

class CimHandler : public RequestHandler {
 public:
  // Both must outlive the handler.
  CimHandler(Repository& repository, const Log& log) : dispatcher_(repository, log) {}

  std::optional<HttpAnswer> refuseEarly(const HttpRequest& request) override;
  HttpAnswer answer(const HttpRequest& request) override;

 private:
  Dispatcher dispatcher_;
};

}  // namespace cimd
