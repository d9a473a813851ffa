// ASCII letters, digits and white space, in 8-bit and 16-bit text, whatever the locale. Characters
// past ASCII are none of these and have no other case: names in CIM and HTTP are compared so.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace Pegasus::text {

template <typename Char>
constexpr bool isDigit(Char c) {
  return c >= '0' && c <= '9';
}

template <typename Char>
constexpr bool isLetter(Char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// White space as XML 1.0 has it (production S): blank, tab, line feed, carriage return.
template <typename Char>
constexpr bool isSpace(Char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

template <typename Char>
constexpr Char lowered(Char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<Char>(c - 'A' + 'a') : c;
}

template <typename Char>
constexpr Char raised(Char c) {
  return c >= 'a' && c <= 'z' ? static_cast<Char>(c - 'a' + 'A') : c;
}

inline bool equalNoCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lowered(x) == lowered(y); });
}

inline bool equalNoCase(std::u16string_view a, std::u16string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char16_t x, char16_t y) { return lowered(x) == lowered(y); });
}

// Without the white space at both ends.
constexpr std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isSpace(text.front())) {
    text.remove_prefix(1);
  }
  while (!text.empty() && isSpace(text.back())) {
    text.remove_suffix(1);
  }
  return text;
}

}  // namespace Pegasus::text
