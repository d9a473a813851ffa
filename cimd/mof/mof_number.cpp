#include "mof/mof_number.h"

#include <charconv>

namespace cimd::mof {

namespace {

struct Digits {
  std::string_view text;
  int base;
};

Digits withoutMarks(std::string_view text) {
  if (text.starts_with("0x") || text.starts_with("0X")) {
    return {text.substr(2), 16};
  }
  if (text.ends_with('b') || text.ends_with('B')) {
    return {text.substr(0, text.size() - 1), 2};
  }
  if (text.size() > 1 && text.front() == '0') {
    return {text.substr(1), 8};
  }
  return {text, 10};
}

std::string_view withoutSign(std::string_view text) {
  return text.starts_with('+') || text.starts_with('-') ? text.substr(1) : text;
}

}  // namespace

NumberCheck readInteger(std::string_view text, bool& isNegative, Pegasus::Uint64& magnitude) {
  const Digits digits = withoutMarks(withoutSign(text));
  Pegasus::Uint64 value = 0;
  const char* end = digits.text.data() + digits.text.size();
  const auto result = std::from_chars(digits.text.data(), end, value, digits.base);
  if (result.ec == std::errc::invalid_argument || result.ptr != end) {
    return NumberCheck::MALFORMED;
  }
  if (result.ec == std::errc::result_out_of_range) {
    return NumberCheck::TOO_LARGE;
  }
  isNegative = text.front() == '-' && value != 0;
  magnitude = value;
  return NumberCheck::GOOD;
}

NumberCheck readReal(std::string_view text, Pegasus::Real64& value) {
  const std::string_view unsignedText = withoutSign(text);
  const std::size_t point = unsignedText.find('.');
  const bool hasFraction = point != std::string_view::npos && point + 1 < unsignedText.size() &&
                           unsignedText[point + 1] >= '0' && unsignedText[point + 1] <= '9';
  // "inf" and "nan" are no MOF, and cannot come here: they have no point.
  if (!hasFraction) {
    return NumberCheck::MALFORMED;
  }
  Pegasus::Real64 read = 0;
  const char* end = unsignedText.data() + unsignedText.size();
  const auto result = std::from_chars(unsignedText.data(), end, read);
  if (result.ec == std::errc::invalid_argument || result.ptr != end) {
    return NumberCheck::MALFORMED;
  }
  if (result.ec == std::errc::result_out_of_range) {
    return NumberCheck::TOO_LARGE;
  }
  value = text.front() == '-' ? -read : read;
  return NumberCheck::GOOD;
}

}  // namespace cimd::mof
