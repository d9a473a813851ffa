#include "http/cim_handler.h"

#include <utf8.h>
#include "text/ascii.h"
#include "text/percent.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "model/names.h"

namespace cimd {

namespace {

namespace http = boost::beast::http;
using http::status;
using Pegasus::String;
using Pegasus::text::equalNoCase;
using Pegasus::text::percentDecoded;
using Pegasus::text::trimmed;

constexpr std::string_view extension = "http://www.dmtf.org/cim/mapping/http/v1.0";

// --- answers

// Why a request is not served: the values of the CIMError field (DSP0200) and of one for people,
// both left out when empty.
struct Refusal {
  http::status status;
  std::string_view cimError = {};
  std::string detail = {};
};
using Check = std::optional<Refusal>;

HttpAnswer answerWith(status code, const std::string& prefix) {
  HttpAnswer answer(code, 11);
  if (!prefix.empty()) {
    answer.set("Ext", "");
    answer.set("Cache-Control", "no-cache");
    answer.set("Man", std::string(extension) + "; ns=" + prefix.substr(0, prefix.size() - 1));
  }
  return answer;
}

HttpAnswer answerTo(const Refusal& refusal, const std::string& prefix) {
  HttpAnswer answer = answerWith(refusal.status, prefix);
  if (!refusal.cimError.empty()) {
    answer.set(prefix + "CIMError", std::string(refusal.cimError));
  }
  if (!refusal.detail.empty()) {
    answer.set("PGErrorDetail", Pegasus::text::percentEncoded(refusal.detail));
  }
  return answer;
}

// --- the header

// The first field of this name.
std::optional<std::string_view> field(const RequestHeader& header, const std::string& name) {
  const auto found = header.find(name);
  return found == header.end()
             ? std::nullopt
             : std::optional(std::string_view(found->value().data(), found->value().size()));
}

bool isDigits(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), Pegasus::text::isDigit<char>);
}

// "1.0", "1.4" for major "1".
bool isVersion(std::string_view text, char major) {
  return text.size() > 2 && text[0] == major && text[1] == '.' && isDigits(text.substr(2));
}

// "73-" for `"http://www.dmtf.org/cim/mapping/http/v1.0"; ns=73`. Nothing when the field declares
// another extension.
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

Check checkMethod(const RequestHeader& header, CimRequest& cim) {
  if (header.method_string() == "POST") {
    return {};
  }
  if (header.method_string() != "M-POST") {
    return Refusal{status::not_implemented, {}, "only POST and M-POST are served"};
  }
  const auto man = field(header, "Man");
  auto prefix = man ? extensionPrefix(*man) : std::nullopt;
  if (!prefix) {
    return Refusal{
        status::not_extended, {}, "M-POST needs the header Man with " + std::string(extension)};
  }
  cim.prefix = *std::move(prefix);
  return {};
}

// Host and port of a request target that is an absolute URI; nothing for a path.
std::optional<std::string_view> targetHost(const RequestHeader& header) {
  std::string_view target(header.target().data(), header.target().size());
  if (target.starts_with('/') || target == "*") {
    return std::nullopt;
  }
  const std::size_t scheme = target.find("://");
  target.remove_prefix(scheme == std::string_view::npos ? 0 : scheme + 3);
  return target.substr(0, target.find_first_of("/?#"));
}

Check checkOrigin(const RequestHeader& header, CimRequest& /*cim*/) {
  if (header.count("Origin") != 0) {
    return Refusal{status::forbidden, {}, "requests of web pages are not served"};
  }
  const std::size_t hosts = header.count("Host");
  if (hosts > 1 || (hosts == 0 && header.version() >= 11)) {
    return Refusal{status::bad_request, {}, "one Host header is needed"};
  }
  // An address in the target counts in place of Host (RFC 9112, section 3.2.2).
  const auto target = targetHost(header);
  if (target && !isLoopbackHost(*target)) {
    return Refusal{status::forbidden, {}, "the request target is not a loopback address"};
  }
  if (!target && hosts == 1 && !isLoopbackHost(*field(header, "Host"))) {
    return Refusal{status::forbidden, {}, "Host is not a loopback address"};
  }
  return {};
}

Check checkTransfer(const RequestHeader& header, CimRequest& /*cim*/) {
  const auto isOtherThan = [&](const char* name, std::string_view known) {
    const auto value = field(header, name);
    return value && !equalNoCase(*value, known);
  };
  if (isOtherThan("Expect", "100-continue")) {
    return Refusal{status::expectation_failed};
  }
  // A server of HTTP/1.0 in between would not know where the body ends (RFC 9112, section 6.1).
  if (header.count("Transfer-Encoding") != 0 && header.version() < 11) {
    return Refusal{status::bad_request, {}, "HTTP/1.0 has no Transfer-Encoding"};
  }
  if (isOtherThan("Transfer-Encoding", "chunked") || header.count("Transfer-Encoding") > 1) {
    return Refusal{status::not_implemented, {}, "the only transfer coding is chunked"};
  }
  if (isOtherThan("Content-Encoding", "identity")) {
    return Refusal{status::unsupported_media_type, {}, "the body must not be compressed"};
  }
  return {};
}

// Programs in between may judge by another of them than this server.
Check checkDuplicates(const RequestHeader& header, CimRequest& cim) {
  for (const char* name : {"CIMOperation", "CIMProtocolVersion", "CIMMethod", "CIMObject"}) {
    if (header.count(cim.prefix + name) > 1) {
      return Refusal{status::bad_request, "header-mismatch", std::string("duplicate ") + name};
    }
  }
  for (const char* name : {"Expect", "Man", "Content-Encoding"}) {
    if (header.count(name) > 1) {
      return Refusal{status::bad_request, {}, std::string("duplicate ") + name};
    }
  }
  return {};
}

Check checkOperation(const RequestHeader& header, CimRequest& cim) {
  if (header.count(cim.prefix + "CIMBatch") != 0) {
    return Refusal{status::not_implemented, "multiple-requests-unsupported"};
  }
  const auto operation = field(header, cim.prefix + "CIMOperation");
  if (!operation) {
    return Refusal{status::bad_request};
  }
  if (!equalNoCase(*operation, "MethodCall")) {
    return Refusal{status::bad_request, "unsupported-operation"};
  }
  const auto version = field(header, cim.prefix + "CIMProtocolVersion");
  if (version && !isVersion(*version, '1')) {
    return Refusal{status::not_implemented, "unsupported-protocol-version"};
  }
  return {};
}

// The field decoded; empty, which no valid one is, for one that is missing or invalid.
std::string decodedField(const RequestHeader& header, const std::string& name) {
  const auto value = field(header, name);
  if (!value || !Pegasus::text::isPercentEncoded(*value)) {
    return "";
  }
  std::string text = percentDecoded(*value);
  return utf8::is_valid(text.begin(), text.end()) ? text : "";
}

Check checkNames(const RequestHeader& header, CimRequest& cim) {
  cim.method = decodedField(header, cim.prefix + "CIMMethod");
  cim.object = decodedField(header, cim.prefix + "CIMObject");
  if (cim.method.empty() || cim.object.empty()) {
    return Refusal{status::bad_request, "header-mismatch"};
  }
  return {};
}

// --- the message

// Whether it fits its header and is of a known version.
Check checkMessage(const CimRequest& cim, const Pegasus::xml::Request& message) {
  if (!isVersion(message.cimVersion(), '2')) {
    return Refusal{status::not_implemented, "unsupported-cim-version"};
  }
  if (!isVersion(message.dtdVersion(), '2')) {
    return Refusal{status::not_implemented, "unsupported-dtd-version"};
  }
  if (!isVersion(message.protocolVersion(), '1')) {
    return Refusal{status::not_implemented, "unsupported-protocol-version"};
  }
  if (message.isBatch()) {
    return Refusal{status::not_implemented, "multiple-requests-unsupported"};
  }
  if (!equalNoCase(cim.method, message.method())) {
    return Refusal{status::bad_request, "header-mismatch",
                   "CIMMethod is not the method of the message"};
  }
  // For a call of a method of an object, CIMObject names the object, which is not looked at.
  const String object(std::string_view(cim.object));
  if (message.kind() == Pegasus::xml::CallKind::intrinsic &&
      fold(trimNameSpace(object)) != fold(trimNameSpace(message.nameSpace()))) {
    return Refusal{status::bad_request, "header-mismatch",
                   "CIMObject is not the namespace of the message"};
  }
  return {};
}

}  // namespace

std::variant<CimRequest, HttpAnswer> CimHandler::check(const RequestHeader& header) {
  CimRequest cim;
  for (const auto& step :
       {checkMethod, checkOrigin, checkDuplicates, checkTransfer, checkOperation, checkNames}) {
    if (const Check refused = step(header, cim)) {
      return answerTo(*refused, cim.prefix);
    }
  }
  return cim;
}

std::optional<BegunAnswer> CimHandler::answer(const CimRequest& cim, std::string body,
                                              Caller& caller, Length length) {
  const auto refuse = [&cim](const Refusal& refusal) {
    return BegunAnswer{answerTo(refusal, cim.prefix), nullptr};
  };
  // The parser would find it, too, but has one error for all that is not well-formed.
  if (!utf8::is_valid(body.begin(), body.end())) {
    return refuse({status::bad_request, "request-not-valid", "not UTF-8"});
  }
  try {
    const Pegasus::xml::Request message(std::move(body));
    if (const Check refused = checkMessage(cim, message)) {
      return refuse(*refused);
    }
    auto begun = dispatcher_.answer(message, caller, length);
    if (!begun) {
      return std::nullopt;
    }
    HttpAnswer answer = answerWith(status::ok, cim.prefix);
    answer.set("Content-Type", "application/xml; charset=\"utf-8\"");
    answer.set(cim.prefix + "CIMOperation", "MethodResponse");
    answer.body() = std::move(begun->text);
    return BegunAnswer{std::move(answer), std::move(begun->more)};
  } catch (const Pegasus::XmlValidationError& error) {
    return refuse({status::bad_request, "request-not-valid", error.getMessage().toUtf8()});
  } catch (const Pegasus::XmlException& error) {
    return refuse({status::bad_request, "request-not-well-formed", error.getMessage().toUtf8()});
  }
}

}  // namespace cimd
