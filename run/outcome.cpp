#include "outcome.h"

#include <Pegasus/Common/String.h>

#include "text.h"

namespace run {

namespace {

// Enough for every message of a well-meaning server.
constexpr std::size_t mostBytes = 400;

}  // namespace

std::string harmless(std::string_view text) {
  const bool isCut = text.size() > mostBytes;
  if (isCut) {
    text = text.substr(0, mostBytes);
    // Not within a sequence of UTF-8, which would then be read as other characters.
    while (!text.empty() && (static_cast<unsigned char>(text.back()) & 0xC0U) == 0x80) {
      text.remove_suffix(1);
    }
    if (!text.empty() && (static_cast<unsigned char>(text.back()) & 0xC0U) == 0xC0) {
      text.remove_suffix(1);
    }
  }
  return show::sanitized(Pegasus::String(text), show::Terminal()) + (isCut ? "..." : "");
}

}  // namespace run
