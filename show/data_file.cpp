#include "data_file.h"

#include <algorithm>
#include <string_view>

#include "entries.h"

using Pegasus::CIMInstance;
using Pegasus::String;
using Pegasus::Uint32;

namespace show {

namespace {

bool isBlank(const String& line) {
  const auto units = line.view();
  return std::all_of(units.begin(), units.end(),
                     [](char16_t unit) { return unit == u' ' || unit == u'\t' || unit == u'\r'; });
}

// Whether the line has two fields in quotes, which tells a misspelt category from a heading; morvik
// itself does not look.
bool hasTwoFields(const String& line) {
  const Uint32 comma = line.find(',');
  return comma != PEG_NOT_FOUND && comma > 0 && line[comma - 1] == '"' &&
         line.find(comma + 1, '"') == comma + 1;
}

Reason unknownCategory(const String& token) {
  const String words = String("unknown category \"") + token + "\"";
  return {"unknown-category", isCategory(token) ? words + ": must be in capital letters" : words};
}

}  // namespace

std::optional<FormProblem> findFormProblem(const std::string& text) {
  if (text.empty()) {
    return FormProblem{"empty", "it is empty", 0};
  }
  if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) {
    return FormProblem{"utf-16", "it is in UTF-16; save it in UTF-8", 0};
  }
  if (text.starts_with("\x1F\x8B")) {  // RFC 1952
    return FormProblem{"compressed", "it is compressed by gzip", 0};
  }
  const std::size_t zero = text.find('\0');
  if (zero != std::string::npos) {
    return FormProblem{"zero-byte", "it has zero bytes, so it is damaged or not a text", zero};
  }
  const std::string_view mark = "\xEF\xBB\xBF";  // of UTF-8, which a server may put before HTML
  const std::size_t begin =
      text.find_first_not_of(" \t\r\n", text.starts_with(mark) ? mark.size() : 0);
  if (begin == std::string::npos) {
    return FormProblem{"empty", "it has only blank lines", 0};
  }
  if (text.compare(begin, 8, "<<<<<<< ") == 0) {
    return FormProblem{"markup", "it begins with a merge conflict", begin};
  }
  if (text[begin] == '<') {
    return FormProblem{"markup", "it is HTML or XML, not a FRU data file", begin};
  }
  // The one CR at the end of a text that is cut within CR LF does not count.
  const std::size_t ending = text.find('\r');
  if (ending < text.size() - 1 && text.find('\n') == std::string::npos) {
    return FormProblem{"cr-only", "its lines end with CR alone; save it with LF or CR LF", ending};
  }
  if (text.back() != '\n') {
    return FormProblem{"unfinished", "its last line has no newline, so it is probably cut short",
                       text.size()};
  }
  return std::nullopt;
}

Recognition recognise(LineRead read, const String& line) {
  if (read == LineRead::tooLong) {
    return {{}, {}, {"too-long", "too long: more than 255 bytes"}};
  }
  if (read == LineRead::unfinished) {
    return {{}, {}, {"unfinished", "last line without a newline: not read"}};
  }
  if (isComment(line)) {
    return {{}, {}, {"comment", "comment: the line has a #"}};
  }
  if (isBlank(line)) {
    return {{}, {}, {"blank", "blank line"}};
  }
  const String token = cutCategoryToken(line);
  if (const auto category = findCategory(token)) {
    return {category, token, {}};
  }
  if (hasTwoFields(line)) {
    return {{}, token, unknownCategory(token)};
  }
  return {{}, {}, {"no-entry", "not an entry: does not begin like \"number\",\"CATEGORY\""}};
}

std::optional<Reason> whyNotSendable(const CIMInstance& instance) {
  for (Uint32 i = 0; i < instance.getPropertyCount(); ++i) {
    const String text = instance.getProperty(i).getValue().toString();
    const auto units = text.view();
    if (!std::all_of(units.begin(), units.end(), isXmlUnit)) {
      return Reason{"not-sendable", "cannot be sent: it has a control character"};
    }
  }
  return std::nullopt;
}

// The client library insists on it.
bool isXmlUnit(char16_t unit) {
  return (unit >= u' ' && unit < 0xFFFE) || unit == u'\t' || unit == u'\n' || unit == u'\r';
}

}  // namespace show
