#include "text/utf16.h"

#include <utf8.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace Pegasus::text {

namespace {

constexpr char32_t replacementCharacter = 0xFFFD;

// Eight bytes at a time: the highest bit of each is clear in ASCII.
bool isAscii(std::string_view bytes) {
  constexpr std::uint64_t highBits = 0x8080808080808080;
  std::uint64_t eight = 0;
  while (bytes.size() >= sizeof eight) {
    std::memcpy(&eight, bytes.data(), sizeof eight);
    if ((eight & highBits) != 0) {
      return false;
    }
    bytes.remove_prefix(sizeof eight);
  }
  return std::all_of(bytes.begin(), bytes.end(),
                     [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

std::u16string widened(std::string_view bytes) {
  const auto* const begin = reinterpret_cast<const unsigned char*>(bytes.data());
  return {begin, begin + bytes.size()};
}

}  // namespace

void appendUtf8(std::string& out, char32_t c) {
  utf8::unchecked::append(static_cast<std::uint32_t>(c), std::back_inserter(out));
}

std::string toUtf8(std::u16string_view units) {
  std::string bytes;
  bytes.reserve(units.size());
  for (std::size_t i = 0; i < units.size();) {
    const char32_t c = nextCodePoint(units, i);
    if (c < 0x80) {
      bytes += static_cast<char>(c);
    } else {
      const bool isAlone = isLeadSurrogate(c) || isTrailSurrogate(c);
      appendUtf8(bytes, isAlone ? replacementCharacter : c);
    }
  }
  return bytes;
}

std::u16string toUtf16(std::string_view bytes) {
  // Most attributes of most elements are missing.
  if (bytes.empty()) {
    return {};
  }
  if (isAscii(bytes) || !utf8::is_valid(bytes.begin(), bytes.end())) {
    return widened(bytes);
  }
  std::u16string units;
  units.reserve(bytes.size());
  utf8::unchecked::utf8to16(bytes.begin(), bytes.end(), std::back_inserter(units));
  return units;
}

}  // namespace Pegasus::text
