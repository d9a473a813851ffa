#include "text/percent.h"

#include <charconv>
#include <optional>

#include "text/ascii.h"

namespace Pegasus::text {

namespace {

constexpr std::string_view unreserved = "-._~";

// The byte that the escape at `position` stands for.
std::optional<char> escapedByte(std::string_view text, std::size_t position) {
  const std::string_view digits = text.substr(position + 1, 2);
  unsigned byte = 0;
  const char* const end = digits.data() + digits.size();
  if (digits.size() != 2 || std::from_chars(digits.data(), end, byte, 16).ptr != end) {
    return std::nullopt;
  }
  return static_cast<char>(byte);
}

}  // namespace

std::string percentEncoded(std::string_view text) {
  static constexpr std::string_view digits = "0123456789ABCDEF";
  std::string encoded;
  for (const char c : text) {
    if (isLetter(c) || isDigit(c) || unreserved.find(c) != std::string_view::npos) {
      encoded += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      encoded += {'%', digits[byte >> 4U], digits[byte & 15U]};
    }
  }
  return encoded;
}

bool isPercentEncoded(std::string_view text) {
  std::size_t position = text.find('%');
  while (position != std::string_view::npos) {
    if (!escapedByte(text, position)) {
      return false;
    }
    position = text.find('%', position + 3);
  }
  return true;
}

std::string percentDecoded(std::string_view text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::optional<char> byte = text[i] == '%' ? escapedByte(text, i) : std::nullopt;
    decoded += byte.value_or(text[i]);
    i += byte ? 2 : 0;
  }
  return decoded;
}

}  // namespace Pegasus::text
