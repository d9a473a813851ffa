// CIM operations over HTTP (DMTF DSP0200): checks the HTTP side, has the operation carried out,
// wraps the answer.
//
// Only a request that addresses this host by a loopback name or address is served, and none that a
// web page sent: a page that a browser on this host shows must not reach the server, neither
// through a name of its site that leads here nor through a request that the browser makes for it.
#pragma once

#include "http/request_handler.h"
#include "operations/dispatcher.h"

namespace cimd {

class CimHandler : public RequestHandler {
 public:
  // All must outlive the handler.
  CimHandler(Repository& repository, Access& access, const Log& log)
      : dispatcher_(repository, access, log) {}

  std::variant<CimRequest, HttpAnswer> check(const RequestHeader& header) override;
  std::optional<BegunAnswer> answer(const CimRequest& request, std::string body, Caller& caller,
                                    Length length) override;

 private:
  Dispatcher dispatcher_;
};

}  // namespace cimd
