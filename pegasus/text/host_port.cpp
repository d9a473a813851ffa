#include "text/host_port.h"

#include <algorithm>
#include <charconv>

#include "text/ascii.h"

namespace Pegasus::text {

std::optional<HostPort> splitHostPort(std::string_view text) {
  HostPort parts;
  parts.isBracketed = text.starts_with('[');
  text.remove_prefix(parts.isBracketed ? 1 : 0);
  parts.host = text.substr(0, text.find_first_of(parts.isBracketed ? "]" : ":[]"));
  text.remove_prefix(parts.host.size());
  if (parts.host.empty() || (parts.isBracketed && text.empty())) {
    return std::nullopt;
  }
  text.remove_prefix(parts.isBracketed ? 1 : 0);
  if (text.empty()) {
    return parts;
  }
  parts.port = text.substr(1);
  const bool isValid =
      text.front() == ':' && std::all_of(parts.port->begin(), parts.port->end(), isDigit<char>);
  return isValid ? std::optional(parts) : std::nullopt;
}

std::optional<std::uint16_t> parsePort(std::string_view digits) {
  std::uint16_t port = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, port);
  return error == std::errc() && stop == end ? std::optional(port) : std::nullopt;
}

}  // namespace Pegasus::text
