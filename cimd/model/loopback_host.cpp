#include "model/loopback_host.h"

#include "text/ascii.h"

#include <algorithm>
#include <boost/asio/ip/address.hpp>

namespace cimd {

namespace {

bool isPort(std::string_view text) {
  return text.starts_with(':') &&
         std::all_of(text.begin() + 1, text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

bool isLoopbackHost(std::string_view host) {
  const bool isBracketed = host.starts_with('[');
  const std::size_t end = isBracketed ? host.find(']') : std::min(host.find(':'), host.size());
  if (end == std::string_view::npos) {
    return false;
  }
  std::string_view name = host.substr(0, end);
  std::string_view port = host.substr(end);
  if (isBracketed) {
    name.remove_prefix(1);
    port.remove_prefix(1);
  }
  if (!port.empty() && !isPort(port)) {
    return false;
  }
  if (Pegasus::text::equalNoCase(name, "localhost")) {
    return !isBracketed;
  }
  boost::system::error_code error;
  const auto address = boost::asio::ip::make_address(std::string(name), error);
  return !error && address.is_v6() == isBracketed && address.is_loopback();
}

}  // namespace cimd
