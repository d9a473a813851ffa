#include "http/cim_handler.h"

#include <utf8.h>

#include "http/request_check.h"

namespace cimd {

namespace {

// The CIM headers of the answer to an M-POST carry the same prefix as those of the request.
HttpAnswer extended(HttpAnswer answer, const std::string& prefix) {
  if (prefix.empty()) {
    return answer;
  }
  for (auto& [name, value] : answer.headers) {
    if (name.starts_with("CIM")) {
      name.insert(0, prefix);
    }
  }
  answer.headers.emplace_back("Ext", "");
  answer.headers.emplace_back("Cache-Control", "no-cache");
  answer.headers.emplace_back("Man", "http://www.dmtf.org/cim/mapping/http/v1.0; ns=" +
                                         prefix.substr(0, prefix.size() - 1));
  return answer;
}

HttpAnswer success(std::string body) {
  HttpAnswer answer;
  answer.headers = {{"Content-Type", "application/xml; charset=\"utf-8\""},
                    {"CIMOperation", "MethodResponse"}};
  answer.body = std::move(body);
  return answer;
}

}  // namespace

std::optional<HttpAnswer> CimHandler::refuseEarly(const HttpRequest& request) {
  CimHeaders cim;
  if (auto refused = checkHeaders(request, cim)) {
    return extended(*std::move(refused), cim.prefix);
  }
  return {};
}

HttpAnswer CimHandler::answer(const HttpRequest& request) {
  CimHeaders cim;
  if (auto refused = checkHeaders(request, cim)) {
    return extended(*std::move(refused), cim.prefix);
  }
  try {
    const Pegasus::xml::Request message(request.body);
    if (auto refused = checkMessage(cim, message)) {
      return extended(*std::move(refused), cim.prefix);
    }
    return extended(success(dispatcher_.answer(message)), cim.prefix);
  } catch (const Pegasus::XmlValidationError& error) {
    return extended(refusal(400, "request-not-valid", error.getMessage().toUtf8()), cim.prefix);
  } catch (const Pegasus::XmlException& error) {
    // What is not UTF-8 is found by the same scan, and has an error of its own.
    const bool isUtf8 = utf8::is_valid(request.body.begin(), request.body.end());
    return extended(refusal(400, isUtf8 ? "request-not-well-formed" : "request-not-valid",
                            error.getMessage().toUtf8()),
                    cim.prefix);
  }
}

}  // namespace cimd
