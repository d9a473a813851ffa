// HTTP requests and answers, apart from how they are sent.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cimd {

struct HttpRequest {
  std::string method;
  // 10 for HTTP/1.0, 11 for HTTP/1.1.
  unsigned version = 11;
  // In the order in which they came.
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;

  // The first header of this name, letter case ignored, or null.
  const std::string* header(std::string_view name) const;
  std::size_t count(std::string_view name) const;
};

// Content-Length and Connection are the transport's to add.
struct HttpAnswer {
  unsigned status = 200;
  std::string reason = "OK";
  std::vector<std::pair<std::string, std::string>> headers = {};
  std::string body = {};
  // The connection ends after this answer.
  bool closes = false;
};

// An answer without body. `cimError` and `detail` are the values of the CIMError header (DMTF
// DSP0200) and of one for people; left out when empty.
HttpAnswer refusal(unsigned status, std::string_view cimError = {}, std::string_view detail = {});

// %XX decoded; false, with `out` half filled, for a % without two hexadecimal digits.
bool percentDecode(std::string_view text, std::string& out);
std::string percentEncode(std::string_view text);

}  // namespace cimd
