#include "model/names.h"

#include "text/ascii.h"
#include "text/host_port.h"

#include <algorithm>
#include <boost/asio/ip/address.hpp>

namespace cimd {

namespace {

using Pegasus::String;

bool isNameStart(char16_t c) {
  return Pegasus::text::isLetter(c) || c == u'_' || c >= 0x80;
}

bool isNameCharacter(char16_t c) {
  return isNameStart(c) || Pegasus::text::isDigit(c);
}

}  // namespace

FoldedName fold(const String& name) {
  FoldedName folded(name.view());
  for (char16_t& c : folded) {
    c = Pegasus::text::lowered(c);
  }
  return folded;
}

String trimNameSpace(const String& name) {
  std::u16string_view text = name.view();
  while (!text.empty() && text.front() == u'/') {
    text.remove_prefix(1);
  }
  while (!text.empty() && text.back() == u'/') {
    text.remove_suffix(1);
  }
  return String(std::u16string(text));
}

bool isIdentifier(const String& name) {
  const std::u16string_view text = name.view();
  return !text.empty() && isNameStart(text.front()) &&
         std::all_of(text.begin(), text.end(), isNameCharacter);
}

bool isNameSpaceName(const String& name) {
  const std::u16string_view text = name.view();
  char16_t previous = u'/';
  for (const char16_t c : text) {
    const bool isPart = isNameCharacter(c) || c == u'-' || c == u'.';
    if (!isPart && (c != u'/' || previous == u'/')) {
      return false;
    }
    previous = c;
  }
  return previous != u'/';
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
