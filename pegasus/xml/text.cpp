#include "xml/text.h"

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

// An ASCII character that needs no escaping, as nearly all are.
bool isPlain(char16_t unit) {
  return unit >= u' ' && unit < 0x7F && unit != u'&' && unit != u'<' && unit != u'>' &&
         unit != u'"';
}

// Appends the plain characters from `position` on; returns the position after them.
std::size_t appendPlain(std::string& out, std::u16string_view units, std::size_t position) {
  const auto begin = units.begin() + static_cast<std::ptrdiff_t>(position);
  const auto end = std::find_if_not(begin, units.end(), isPlain);
  const std::size_t size = out.size();
  out.resize(size + static_cast<std::size_t>(end - begin));
  std::transform(begin, end, out.begin() + static_cast<std::ptrdiff_t>(size),
                 [](char16_t unit) { return static_cast<char>(unit); });
  return static_cast<std::size_t>(end - units.begin());
}

// The treatment of a character that XML forbids.
enum class Forbidden { refuse, replace, referToControls };

void appendChecked(std::string& out, char32_t c, Forbidden forbidden) {
  if (isXmlCharacter(c)) {
    appendCharacter(out, c);
  } else if (forbidden == Forbidden::replace) {
    out += '?';
  } else if (forbidden == Forbidden::referToControls && c != 0 && c < 0x20) {
    out.append("&#").append(std::to_string(static_cast<unsigned>(c))).append(";");
  } else {
    throw InvalidValueException("a character that XML cannot carry");
  }
}

void appendUnits(std::string& out, std::u16string_view units, Forbidden forbidden) {
  std::size_t i = 0;
  while ((i = appendPlain(out, units, i)) < units.size()) {
    appendChecked(out, text::nextCodePoint(units, i), forbidden);
  }
}

// At either end of the text, or after another blank.
bool isExposedBlank(std::u16string_view units, std::size_t position) {
  return units[position] == u' ' &&
         (position == 0 || position + 1 == units.size() || units[position - 1] == u' ');
}

void appendElementUnits(std::string& out, std::u16string_view units, Forbidden forbidden) {
  std::size_t begin = 0;
  for (std::size_t i = 0; i < units.size(); ++i) {
    if (isExposedBlank(units, i)) {
      appendUnits(out, units.substr(begin, i - begin), forbidden);
      out += "&#32;";
      begin = i + 1;
    }
  }
  appendUnits(out, units.substr(begin), forbidden);
}

}  // namespace

void appendAttributeText(std::string& out, const String& text) {
  appendUnits(out, text.view(), Forbidden::refuse);
}

void appendAttributeTextOrReplaced(std::string& out, const String& text) {
  appendUnits(out, text.view(), Forbidden::replace);
}

void appendElementText(std::string& out, const String& text) {
  appendElementUnits(out, text.view(), Forbidden::refuse);
}

void appendKeyText(std::string& out, const String& text) {
  appendElementUnits(out, text.view(), Forbidden::referToControls);
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

void refuse(const std::string& what) {
  throw XmlValidationError(what);
}

}  // namespace Pegasus::xml
