#include "host/host_text.h"

#include "xml/xml_text.h"

#include <algorithm>

namespace cimd::host {

using Pegasus::Char16;
using Pegasus::String;

String toText(std::string_view bytes) {
  std::u16string units(String(bytes).view());
  // Surrogates come in pairs here, as String made them.
  const auto isForbidden = [](Char16 unit) {
    return (unit < 0xD800 || unit > 0xDFFF) && !Pegasus::xml::isXmlCharacter(unit);
  };
  std::replace_if(units.begin(), units.end(), isForbidden, u'?');
  return String(std::move(units));
}

std::string_view trimmed(std::string_view bytes) {
  constexpr std::string_view blanks = " \t\r\n";
  const std::size_t start = bytes.find_first_not_of(blanks);
  if (start == std::string_view::npos) {
    return {};
  }
  return bytes.substr(start, bytes.find_last_not_of(blanks) - start + 1);
}

String cut(const String& text, std::size_t maxLength) {
  std::u16string_view units = text.view();
  if (units.size() <= maxLength) {
    return text;
  }
  const bool isInPair = maxLength > 0 && units[maxLength] >= 0xDC00 && units[maxLength] <= 0xDFFF;
  return String(std::u16string(units.substr(0, isInPair ? maxLength - 1 : maxLength)));
}

String UniqueNames::next(const String& name) {
  // Cut to the same length with and without number: names that differ too late to be told apart
  // share one count, which keeps the search for a free number short.
  const String base = cut(name, maxLength_ - std::string_view(" #65537").size());
  std::size_t& number = numbers_.try_emplace(std::u16string(base.view()), 1).first->second;
  String key = base;
  while (!given_.emplace(key.view()).second) {
    key = base + String((" #" + std::to_string(++number)).c_str());
  }
  return key;
}

}  // namespace cimd::host
