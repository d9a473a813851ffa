// What an HTTP request must be to carry a CIM operation (DMTF DSP0200, and who may ask at all).
#pragma once

#include "xml/request.h"

#include <optional>
#include <string>

#include "http/http_message.h"

namespace cimd {

// The CIM headers of a request that passed checkHeaders().
struct CimHeaders {
  // "73-" when the request is an M-POST with "ns=73" in its Man header (RFC 2774): the names of CIM
  // headers begin with it, in the answer too. Empty for POST.
  std::string prefix;
  // CIMMethod and CIMObject, decoded.
  std::string method;
  std::string object;
};

// Reads the headers into `cim`, or says why the request is refused; needs no body.
//
// Only what addresses this host by a loopback name or address is served, and nothing that a web
// page sent: a page that a browser on this host shows must not reach the server, be it by an
// address of its own that leads here or by the browser's own hand.
std::optional<HttpAnswer> checkHeaders(const HttpRequest& request, CimHeaders& cim);

// Why the message does not fit its headers or is of an unknown version, if so.
std::optional<HttpAnswer> checkMessage(const CimHeaders& cim, const Pegasus::xml::Request& message);

}  // namespace cimd
