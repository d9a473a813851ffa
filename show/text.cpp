#include "text.h"

#include <locale.h>  // NOLINT(modernize-deprecated-headers): <clocale> has no newlocale
#include <utf8.h>
#include <wchar.h>  // NOLINT(modernize-deprecated-headers): <cwchar> has no wcwidth

#include <iterator>

using Pegasus::String;

namespace show {

namespace {

// wcwidth() knows nothing past ASCII in the locales of jobs. So it is asked in one that is always
// there, whatever the user's own is.
class Utf8Locale {
 public:
  Utf8Locale() : before_(uselocale(utf8())) {}
  ~Utf8Locale() { uselocale(before_); }
  Utf8Locale(const Utf8Locale&) = delete;
  Utf8Locale& operator=(const Utf8Locale&) = delete;
  Utf8Locale(Utf8Locale&&) = delete;
  Utf8Locale& operator=(Utf8Locale&&) = delete;

 private:
  static locale_t utf8() {
    static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return locale;
  }
  locale_t before_;
};

// -1 for what is not printable.
int widthOf(char32_t c) {
  if (c >= 0x20 && c < 0x7F) {
    return 1;
  }
  if (c == 0) {  // to wcwidth() it is the end of a text
    return -1;
  }
  const Utf8Locale inUtf8;
  return wcwidth(static_cast<wchar_t>(c));
}

// They have no width of their own, but make the line around them read otherwise than it is.
bool turnsDirection(char32_t c) {
  return c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) ||
         (c >= 0x2066 && c <= 0x2069);
}

const char* sequenceOf(Style style) {
  switch (style) {
    case Style::bold:
      return "\x1b[1m";
    case Style::faint:
      return "\x1b[2m";
    case Style::green:
      return "\x1b[32m";
    case Style::yellow:
      return "\x1b[33m";
    case Style::plain:
      break;
  }
  return "";
}

}  // namespace

bool isHarmful(char32_t c) {
  return turnsDirection(c) || widthOf(c) < 0;
}

std::string harmless(const String& text, const Terminal& terminal) {
  const std::string bytes = text.toUtf8();
  std::string result;
  for (auto position = bytes.begin(); position != bytes.end();) {
    const char32_t c = utf8::next(position, bytes.end());
    if (terminal.hasOnlyAscii) {
      result += c < 0x80 && !isHarmful(c) ? static_cast<char>(c) : '?';
    } else {
      utf8::append(isHarmful(c) ? U'\uFFFD' : c, std::back_inserter(result));
    }
  }
  return result;
}

std::size_t columnsOf(const std::string& harmlessText) {
  std::size_t columns = 0;
  for (auto position = harmlessText.begin(); position != harmlessText.end();) {
    const int width = widthOf(utf8::next(position, harmlessText.end()));
    columns += width > 0 ? static_cast<std::size_t>(width) : 0;
  }
  return columns;
}

std::string cutTo(std::size_t columns, const std::string& harmlessText, const Terminal& terminal) {
  if (columns == 0 || columnsOf(harmlessText) <= columns) {
    return harmlessText;
  }
  const char* ellipsis = terminal.hasOnlyAscii ? "~" : "\u2026";
  std::size_t taken = 0;
  auto end = harmlessText.begin();
  for (auto position = end; position != harmlessText.end(); end = position) {
    const int width = widthOf(utf8::next(position, harmlessText.end()));
    taken += width > 0 ? static_cast<std::size_t>(width) : 0;
    if (taken > columns - 1) {
      break;
    }
  }
  return std::string(harmlessText.begin(), end) + ellipsis;
}

std::string padTo(std::size_t columns, std::string harmlessText) {
  const std::size_t width = columnsOf(harmlessText);
  if (width < columns) {
    harmlessText.append(columns - width, ' ');
  }
  return harmlessText;
}

std::string styled(Style style, const std::string& harmlessText, const Terminal& terminal) {
  if (!terminal.hasColours || style == Style::plain) {
    return harmlessText;
  }
  return sequenceOf(style) + harmlessText + "\x1b[0m";
}

}  // namespace show
