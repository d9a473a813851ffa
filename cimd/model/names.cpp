#include "model/names.h"

#include <unistd.h>
#include "text/ascii.h"
#include "text/host_port.h"

#include <array>
#include <boost/asio/ip/address.hpp>
#include <climits>

namespace cimd {

FoldedName fold(const Pegasus::String& name) {
  FoldedName folded(name.view());
  for (char16_t& c : folded) {
    c = Pegasus::text::lowered(c);
  }
  return folded;
}

std::string ownHostName() {
  std::array<char, HOST_NAME_MAX + 1> name{};
  // A name that was cut need not have a zero at its end.
  const bool isKnown = gethostname(name.data(), name.size() - 1) == 0 && name[0] != '\0';
  return isKnown ? name.data() : "localhost";
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
