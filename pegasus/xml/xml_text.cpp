#include "xml/xml_text.h"

#include <Pegasus/Common/Exception.h>

#include <algorithm>

#include "text/utf16.h"

namespace Pegasus::xml {

namespace {

void appendCharacter(std::string& out, char32_t c) {
  switch (c) {
    case '&':
      out += "&amp;";
      break;
    case '<':
      out += "&lt;";
      break;
    case '>':
      out += "&gt;";
      break;
    case '"':
      out += "&quot;";
      break;
    case '\t':
      out += "&#9;";
      break;
    case '\n':
      out += "&#10;";
      break;
    case '\r':
      out += "&#13;";
      break;
    default:
      if (c < 0x80) {
        out += static_cast<char>(c);
      } else {
        text::appendUtf8(out, c);
      }
  }
}

// An ASCII character that stands for itself, as nearly all do.
bool isPlain(char16_t unit) {
  return unit >= u' ' && unit < 0x7F && unit != u'&' && unit != u'<' && unit != u'>' &&
         unit != u'"';
}

// Appends the plain characters from `position` on; the position behind them.
std::size_t appendPlain(std::string& out, std::u16string_view units, std::size_t position) {
  const auto begin = units.begin() + static_cast<std::ptrdiff_t>(position);
  const auto end = std::find_if_not(begin, units.end(), isPlain);
  const std::size_t size = out.size();
  out.resize(size + static_cast<std::size_t>(end - begin));
  std::transform(begin, end, out.begin() + static_cast<std::ptrdiff_t>(size),
                 [](char16_t unit) { return static_cast<char>(unit); });
  return static_cast<std::size_t>(end - units.begin());
}

}  // namespace

void appendEscaped(std::string& out, const String& text) {
  const std::u16string_view units = text.view();
  const std::size_t start = out.size();
  std::size_t i = 0;
  while ((i = appendPlain(out, units, i)) < units.size()) {
    const char32_t c = text::nextCodePoint(units, i);
    if (!isXmlCharacter(c)) {
      out.resize(start);
      throw InvalidValueException("a character that XML cannot carry");
    }
    appendCharacter(out, c);
  }
}

void appendEscapedOrReplaced(std::string& out, const String& text) {
  const std::u16string_view units = text.view();
  for (std::size_t i = 0; i < units.size();) {
    const char32_t c = text::nextCodePoint(units, i);
    appendCharacter(out, isXmlCharacter(c) ? c : U'?');
  }
}

std::string excerpt(std::string_view text) {
  constexpr std::size_t shown = 80;
  if (text.size() <= shown) {
    return std::string(text);
  }
  std::size_t end = shown;
  // Not in the middle of a character.
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) {
    --end;
  }
  return std::string(text.substr(0, end)) + "...";
}

}  // namespace Pegasus::xml
