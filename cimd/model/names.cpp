#include "model/names.h"

#include "text/ascii.h"
#include "text/host_port.h"

#include <boost/asio/ip/address.hpp>

namespace cimd {

FoldedName fold(const Pegasus::String& name) {
  FoldedName folded(name.view());
  for (char16_t& c : folded) {
    c = Pegasus::text::lowered(c);
  }
  return folded;
}

bool isLoopbackHost(std::string_view host) {
  const auto given = Pegasus::text::splitHostPort(host);
  if (!given) {
    return false;
  }
  if (Pegasus::text::equalNoCase(given->host, "localhost")) {
    return !given->isBracketed;
  }
  boost::system::error_code error;
  const auto address = boost::asio::ip::make_address(std::string(given->host), error);
  return !error && address.is_v6() == given->isBracketed && address.is_loopback();
}

}  // namespace cimd
