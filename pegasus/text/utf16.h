// UTF-16, the encoding of CIM strings (DSP0004), and its way to and from bytes.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Pegasus::text {

constexpr bool isLeadSurrogate(char32_t c) {
  return (c & ~0x3FFU) == 0xD800;
}
constexpr bool isTrailSurrogate(char32_t c) {
  return (c & ~0x3FFU) == 0xDC00;
}

// The code point at `position`, which must be inside the text and is moved past it. A surrogate
// without its partner is returned as it is.
constexpr char32_t nextCodePoint(std::u16string_view units, std::size_t& position) {
  const char32_t lead = units[position++];
  if (isLeadSurrogate(lead) && position < units.size() && isTrailSurrogate(units[position])) {
    return 0x10000 + ((lead - 0xD800) << 10) + (units[position++] - 0xDC00U);
  }
  return lead;
}

// Appends the code point, which must not be a surrogate.
void appendUtf8(std::string& out, char32_t c);

// A surrogate without its partner becomes U+FFFD.
std::string toUtf8(std::u16string_view units);

// Valid UTF-8 is decoded; text that is not valid UTF-8 as a whole is taken byte for byte, 0x80-0xFF
// becoming U+0080-U+00FF.
std::u16string toUtf16(std::string_view bytes);

}  // namespace Pegasus::text
