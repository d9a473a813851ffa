// A host with a port, as Host headers, options and object paths have it (RFC 3986, section 3.2).
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace Pegasus::text {

// Parts of the text that was split; they live as long as it does.
struct HostPort {
  // Without the brackets of an IPv6 address.
  std::string_view host;
  bool isBracketed = false;
  // The digits after the colon, of which there may be none; no value without a colon.
  std::optional<std::string_view> port;
};

// Nothing for what is not HOST, HOST:PORT, [ADDRESS] or [ADDRESS]:PORT, where HOST is not empty and
// has neither colons nor brackets, ADDRESS is not empty, and PORT has digits only. HOST and ADDRESS
// are not looked at further.
std::optional<HostPort> splitHostPort(std::string_view text);

// 0 to 65535, or nothing.
std::optional<std::uint16_t> parsePort(std::string_view digits);

}  // namespace Pegasus::text
