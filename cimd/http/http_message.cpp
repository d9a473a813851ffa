#include "http/http_message.h"

#include "text/ascii.h"

#include <algorithm>
#include <charconv>

namespace cimd {

namespace {

using Pegasus::text::equalNoCase;

const char* reasonPhrase(unsigned status) {
  switch (status) {
    case 400:
      return "Bad Request";
    case 403:
      return "Forbidden";
    case 408:
      return "Request Timeout";
    case 413:
      return "Content Too Large";
    case 415:
      return "Unsupported Media Type";
    case 417:
      return "Expectation Failed";
    case 431:
      return "Request Header Fields Too Large";
    case 501:
      return "Not Implemented";
    case 503:
      return "Service Unavailable";
    case 505:
      return "HTTP Version Not Supported";
    case 510:
      return "Not Extended";
    default:
      return "Internal Server Error";
  }
}

}  // namespace

const std::string* HttpRequest::header(std::string_view name) const {
  const auto found = std::find_if(headers.begin(), headers.end(), [&](const auto& header) {
    return equalNoCase(header.first, name);
  });
  return found == headers.end() ? nullptr : &found->second;
}

std::size_t HttpRequest::count(std::string_view name) const {
  return static_cast<std::size_t>(
      std::count_if(headers.begin(), headers.end(),
                    [&](const auto& header) { return equalNoCase(header.first, name); }));
}

HttpAnswer refusal(unsigned status, std::string_view cimError, std::string_view detail) {
  HttpAnswer answer{.status = status, .reason = reasonPhrase(status)};
  if (!cimError.empty()) {
    answer.headers.emplace_back("CIMError", cimError);
  }
  if (!detail.empty()) {
    answer.headers.emplace_back("PGErrorDetail", percentEncode(detail));
  }
  return answer;
}

bool percentDecode(std::string_view text, std::string& out) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      out += text[i];
      continue;
    }
    const std::string_view digits = text.substr(i + 1, 2);
    unsigned value = 0;
    const char* end = digits.data() + digits.size();
    const auto result = std::from_chars(digits.data(), end, value, 16);
    if (digits.size() != 2 || result.ec != std::errc() || result.ptr != end) {
      return false;
    }
    out += static_cast<char>(value);
    i += digits.size();
  }
  return true;
}

std::string percentEncode(std::string_view text) {
  constexpr std::string_view plain = "-._~";
  constexpr const char* digits = "0123456789ABCDEF";
  std::string out;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool isAlphanumeric =
        (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    if (isAlphanumeric || plain.find(c) != std::string_view::npos) {
      out += c;
    } else {
      out += {'%', digits[byte >> 4U], digits[byte & 15U]};
    }
  }
  return out;
}

}  // namespace cimd
