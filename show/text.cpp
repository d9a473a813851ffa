#include "text.h"

#include <langinfo.h>
#include <locale.h>  // NOLINT(modernize-deprecated-headers): <clocale> has no newlocale
#include <sys/ioctl.h>
#include <unistd.h>
#include <utf8.h>
#include <wchar.h>   // NOLINT(modernize-deprecated-headers): <cwchar> has no wcwidth
#include <wctype.h>  // NOLINT(modernize-deprecated-headers): as above

#include <charconv>
#include <cstdlib>
#include <ctime>
#include <iterator>
#include <string_view>

using Pegasus::String;

namespace show {

namespace {

constexpr std::size_t usualColumns = 80;

std::string_view environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

std::size_t terminalColumns(int descriptor) {
  const std::string_view wanted = environment("COLUMNS");
  const char* end = wanted.data() + wanted.size();
  std::size_t columns = 0;
  const auto parsed = std::from_chars(wanted.data(), end, columns);
  if (parsed.ec == std::errc() && parsed.ptr == end && columns > 0) {
    return columns;
  }
  winsize size = {};
  const bool isKnown = ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return isKnown ? size.ws_col : usualColumns;
}

// wcwidth() knows nothing past ASCII in the locales of jobs, so it is called in one that always
// exists.
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

// Absent for a character that is not printable.
std::optional<std::size_t> widthOf(char32_t c) {
  if (c >= 0x20 && c < 0x7F) {
    return 1;
  }
  const Utf8Locale inUtf8;
  // To wcwidth(), zero is the end of a text.
  const int width = c == 0 ? -1 : wcwidth(static_cast<wchar_t>(c));
  return width < 0 ? std::nullopt : std::optional(static_cast<std::size_t>(width));
}

std::size_t columnsFor(char32_t c) {
  return widthOf(c).value_or(0);
}

// These have no width, but change the order in which the line around them reads.
bool turnsDirection(char32_t c) {
  return c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) ||
         (c >= 0x2066 && c <= 0x2069);
}

// By style.
constexpr const char* sequences[] = {"", "\x1b[1m", "\x1b[2m", "\x1b[32m", "\x1b[33m"};

// Whether the character must not reach a terminal.
bool isHarmful(char32_t c) {
  return turnsDirection(c) || !widthOf(c);
}

}  // namespace

Terminal terminalOf(int descriptor) {
  Terminal terminal;
  terminal.isTerminal = isatty(descriptor) == 1;
  if (!terminal.isTerminal) {
    return terminal;
  }
  const std::string_view kind = environment("TERM");
  terminal.hasColours = environment("NO_COLOR").empty() && !kind.empty() && kind != "dumb";
  terminal.hasOnlyAscii = std::string_view(nl_langinfo(CODESET)) != "UTF-8";
  terminal.columns = terminalColumns(descriptor);
  return terminal;
}

std::string sanitized(const String& text, const Terminal& terminal) {
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

std::string harmless(std::string_view text) {
  constexpr Pegasus::Uint32 most = 400;
  const String whole(text);
  return sanitized(whole.subString(0, most), Terminal()) + (whole.size() > most ? "..." : "");
}

String withNameOnce(std::string_view message) {
  const std::size_t colon = message.find(": ");
  if (colon != std::string_view::npos) {
    const std::string_view name = message.substr(0, colon + 2);
    const std::string_view rest = message.substr(name.size());
    return String(rest.starts_with(name) ? rest : message);
  }
  return String(message);
}

String lowered(const String& text) {
  const Utf8Locale inUtf8;
  std::u16string units(text.view());
  for (char16_t& unit : units) {
    const wint_t small = towlower(unit);
    // Surrogates have no case, and no letter of two units one of one.
    unit = small <= 0xFFFF ? static_cast<char16_t>(small) : unit;
  }
  return String(std::move(units));
}

std::size_t columnsOf(const std::string& text) {
  std::size_t columns = 0;
  for (auto position = text.begin(); position != text.end();) {
    columns += columnsFor(utf8::next(position, text.end()));
  }
  return columns;
}

std::string cutTo(std::size_t columns, const std::string& text, const Terminal& terminal) {
  if (columns == 0 || columnsOf(text) <= columns) {
    return text;
  }
  const char* ellipsis = terminal.hasOnlyAscii ? "~" : "\u2026";
  std::size_t taken = 0;
  auto end = text.begin();
  for (auto position = end; position != text.end(); end = position) {
    taken += columnsFor(utf8::next(position, text.end()));
    if (taken > columns - 1) {
      break;
    }
  }
  return std::string(text.begin(), end) + ellipsis;
}

std::vector<std::string> wrapTo(std::size_t columns, const std::string& text) {
  if (columns == 0) {
    return {text};
  }
  std::vector<std::string> lines(1);
  std::size_t width = 0;
  std::size_t blank = std::string::npos;  // the last one in the current line
  for (auto position = text.begin(); position != text.end();) {
    const auto begin = position;
    const std::size_t own = columnsFor(utf8::next(position, text.end()));
    width += own;
    if (width > columns && *begin == ' ') {
      lines.emplace_back();
      width = 0;
      blank = std::string::npos;
      continue;
    }
    if (width > columns && !lines.back().empty()) {
      std::string rest;
      if (blank != std::string::npos) {
        rest = lines.back().substr(blank + 1);
        lines.back().resize(blank);
      }
      lines.push_back(rest);
      width = columnsOf(rest) + own;
      blank = std::string::npos;
    }
    if (*begin == ' ') {
      blank = lines.back().size();
    }
    lines.back().append(begin, position);
  }
  return lines;
}

std::string padTo(std::size_t columns, std::string text) {
  const std::size_t width = columnsOf(text);
  if (width < columns) {
    text.append(columns - width, ' ');
  }
  return text;
}

// By the calendar of <chrono>: time_t ends in 2038 where it has 32 bits.
std::string timeText(std::chrono::system_clock::time_point time) {
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(std::chrono::floor<std::chrono::seconds>(time - day));
  std::tm parts = {};
  parts.tm_year = static_cast<int>(date.year()) - 1900;
  parts.tm_mon = static_cast<int>(static_cast<unsigned>(date.month())) - 1;
  parts.tm_mday = static_cast<int>(static_cast<unsigned>(date.day()));
  parts.tm_hour = static_cast<int>(clock.hours().count());
  parts.tm_min = static_cast<int>(clock.minutes().count());
  parts.tm_sec = static_cast<int>(clock.seconds().count());
  char text[32];
  return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

std::optional<std::chrono::system_clock::time_point> timeIn(const std::string& text) {
  std::tm parts = {};
  const char* end = strptime(text.c_str(), "%Y-%m-%dT%H:%M:%SZ", &parts);
  // The clock counts nanoseconds, which end in 2262.
  if (end == nullptr || *end != '\0' || parts.tm_year < 0 || parts.tm_year >= 300) {
    return std::nullopt;
  }
  const std::chrono::year_month_day date(
      std::chrono::year(parts.tm_year + 1900),
      std::chrono::month(static_cast<unsigned>(parts.tm_mon) + 1),
      std::chrono::day(static_cast<unsigned>(parts.tm_mday)));
  return std::chrono::sys_days(date) + std::chrono::hours(parts.tm_hour) +
         std::chrono::minutes(parts.tm_min) + std::chrono::seconds(parts.tm_sec);
}

std::string counted(std::size_t count, const char* one, const char* many) {
  return std::to_string(count) + ' ' + (count == 1 ? one : many);
}

String listWords(std::vector<String> words, std::size_t most) {
  if (words.size() > most) {
    const std::string rest = std::to_string(words.size() - most + 1);
    words.resize(most - 1);
    words.emplace_back(rest + " others");
  }
  String list;
  for (std::size_t i = 0; i < words.size(); ++i) {
    list += i == 0 ? "" : (i + 1 < words.size() ? ", " : " and ");
    list += words[i];
  }
  return list;
}

std::string styled(Style style, const std::string& text, const Terminal& terminal) {
  if (!terminal.hasColours || style == Style::plain) {
    return text;
  }
  return sequences[static_cast<std::size_t>(style)] + text + "\x1b[0m";
}

}  // namespace show
