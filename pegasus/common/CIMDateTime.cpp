#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/Exception.h>

#include <algorithm>
#include <string_view>

namespace Pegasus {

namespace {

constexpr std::size_t length = 25;
constexpr std::size_t dotPosition = 14;
constexpr std::size_t signPosition = 21;

bool isDigitOrUnknown(Char16 unit) {
  return (unit >= u'0' && unit <= u'9') || unit == u'*';
}

bool isDateTime(std::u16string_view text) {
  if (text.size() != length || text[dotPosition] != u'.') {
    return false;
  }
  const Char16 sign = text[signPosition];
  const auto allDigits = [text](std::size_t from, std::size_t to) {
    return std::all_of(text.begin() + static_cast<std::ptrdiff_t>(from),
                       text.begin() + static_cast<std::ptrdiff_t>(to), isDigitOrUnknown);
  };
  if (!allDigits(0, dotPosition) || !allDigits(dotPosition + 1, signPosition) ||
      !allDigits(signPosition + 1, length)) {
    return false;
  }
  return sign == u'+' || sign == u'-' || (sign == u':' && text.substr(signPosition + 1) == u"000");
}

}  // namespace

CIMDateTime::CIMDateTime() : text_("00000000000000.000000:000") {}

CIMDateTime::CIMDateTime(const String& text) : text_(text) {
  if (!isDateTime(text.view())) {
    throw InvalidValueException(String("not a date and time: ") + text);
  }
}

Boolean CIMDateTime::isInterval() const {
  return text_[signPosition] == u':';
}

}  // namespace Pegasus
