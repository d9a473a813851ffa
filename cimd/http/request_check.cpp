#include "http/request_check.h"

#include <utf8.h>
#include "text/ascii.h"

#include <algorithm>

#include "model/names.h"

namespace cimd {

namespace {

using Pegasus::String;
using Pegasus::text::equalNoCase;
using Pegasus::text::trimmed;

using Refusal = std::optional<HttpAnswer>;

constexpr std::string_view extension = "http://www.dmtf.org/cim/mapping/http/v1.0";

bool isDigits(std::string_view text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// "1.0", "1.4" for major "1".
bool isVersion(std::string_view text, char major) {
  return text.size() > 2 && text[0] == major && text[1] == '.' && isDigits(text.substr(2));
}

Refusal checkOrigin(const HttpRequest& request) {
  if (request.count("Origin") != 0) {
    return refusal(403, {}, "requests of web pages are not served");
  }
  const std::size_t hosts = request.count("Host");
  if (hosts > 1 || (hosts == 0 && request.version >= 11)) {
    return refusal(400, {}, "one Host header is needed");
  }
  if (hosts == 1 && !isLoopbackHost(*request.header("Host"))) {
    return refusal(403, {}, "Host is not a loopback address");
  }
  return {};
}

// Of `"http://www.dmtf.org/cim/mapping/http/v1.0"; ns=73`, the "73-". Nothing when the header
// declares another extension.
std::optional<std::string> extensionPrefix(std::string_view man) {
  const std::size_t end = std::min(man.find(';'), man.size());
  std::string_view uri = trimmed(man.substr(0, end));
  if (uri.size() >= 2 && uri.front() == '"' && uri.back() == '"') {
    uri = uri.substr(1, uri.size() - 2);
  }
  if (!equalNoCase(uri, extension)) {
    return std::nullopt;
  }
  if (end == man.size()) {
    return "";
  }
  const std::string_view parameter = trimmed(man.substr(end + 1));
  constexpr std::string_view name = "ns=";
  const std::string_view prefix =
      trimmed(parameter.substr(std::min(name.size(), parameter.size())));
  if (!equalNoCase(parameter.substr(0, name.size()), name) || !isDigits(prefix)) {
    return std::nullopt;
  }
  return std::string(prefix) + "-";
}

Refusal readMethod(const HttpRequest& request, CimHeaders& cim) {
  if (request.method == "POST") {
    return {};
  }
  if (request.method != "M-POST") {
    return refusal(501, {}, "only POST and M-POST are served");
  }
  const std::string* man = request.header("Man");
  const auto prefix = man != nullptr ? extensionPrefix(*man) : std::nullopt;
  if (!prefix) {
    return refusal(510, {}, "M-POST needs the header Man with " + std::string(extension));
  }
  cim.prefix = *prefix;
  return {};
}

Refusal checkTransfer(const HttpRequest& request) {
  const auto isOtherThan = [&](const char* name, std::string_view known) {
    const std::string* value = request.header(name);
    return value != nullptr && !equalNoCase(*value, known);
  };
  if (isOtherThan("Expect", "100-continue")) {
    return refusal(417);
  }
  if (isOtherThan("Transfer-Encoding", "chunked") || request.count("Transfer-Encoding") > 1) {
    return refusal(501, {}, "the only transfer coding is chunked");
  }
  if (isOtherThan("Content-Encoding", "identity")) {
    return refusal(415, {}, "the body must not be compressed");
  }
  return {};
}

Refusal checkOperation(const HttpRequest& request, const std::string& prefix) {
  if (request.header(prefix + "CIMBatch") != nullptr) {
    return refusal(501, "multiple-requests-unsupported");
  }
  const std::string* operation = request.header(prefix + "CIMOperation");
  if (operation == nullptr) {
    return refusal(400);
  }
  if (!equalNoCase(*operation, "MethodCall")) {
    return refusal(400, "unsupported-operation");
  }
  const std::string* version = request.header(prefix + "CIMProtocolVersion");
  if (version != nullptr && !isVersion(*version, '1')) {
    return refusal(501, "unsupported-protocol-version");
  }
  return {};
}

bool readHeader(const HttpRequest& request, const std::string& name, std::string& value) {
  const std::string* header = request.header(name);
  return header != nullptr && !header->empty() && percentDecode(*header, value) &&
         utf8::is_valid(value.begin(), value.end());
}

}  // namespace

Refusal checkHeaders(const HttpRequest& request, CimHeaders& cim) {
  if (auto refused = readMethod(request, cim)) {
    return refused;
  }
  if (auto refused = checkOrigin(request)) {
    return refused;
  }
  if (auto refused = checkTransfer(request)) {
    return refused;
  }
  if (auto refused = checkOperation(request, cim.prefix)) {
    return refused;
  }
  if (!readHeader(request, cim.prefix + "CIMMethod", cim.method) ||
      !readHeader(request, cim.prefix + "CIMObject", cim.object)) {
    return refusal(400, "header-mismatch");
  }
  return {};
}

Refusal checkMessage(const CimHeaders& cim, const Pegasus::xml::Request& message) {
  if (!isVersion(message.cimVersion(), '2')) {
    return refusal(501, "unsupported-cim-version");
  }
  if (!isVersion(message.dtdVersion(), '2')) {
    return refusal(501, "unsupported-dtd-version");
  }
  if (!isVersion(message.protocolVersion(), '1')) {
    return refusal(501, "unsupported-protocol-version");
  }
  if (message.isBatch()) {
    return refusal(501, "multiple-requests-unsupported");
  }
  if (!equalNoCase(cim.method, message.method())) {
    return refusal(400, "header-mismatch", "CIMMethod is not the method of the message");
  }
  // Of a method call the header names an object, which is nothing that this server looks at.
  const String object(std::string_view(cim.object));
  if (message.kind() == Pegasus::xml::CallKind::INTRINSIC &&
      fold(trimNameSpace(object)) != fold(trimNameSpace(message.nameSpace()))) {
    return refusal(400, "header-mismatch", "CIMObject is not the namespace of the message");
  }
  return {};
}

}  // namespace cimd
