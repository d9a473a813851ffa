// CIM operations over HTTP (DMTF DSP0200): checks the HTTP side, has the operation carried out,
// wraps the answer.
#pragma once

#include "cimd/http/RequestHandler.h"
#include "cimd/operations/Dispatcher.h"

namespace cimd {

class CimHandler : public RequestHandler {
 public:
  // The repository must outlive the handler.
  explicit CimHandler(Repository& repository) : dispatcher_(repository) {}

  std::optional<HttpAnswer> refuseEarly(const HttpRequest& request) override;
  HttpAnswer answer(const HttpRequest& request) override;

 private:
  Dispatcher dispatcher_;
};

}  // namespace cimd
