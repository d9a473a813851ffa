#include <algorithm>
#include <iterator>
#include <numeric>
#include <string>
#include <string_view>
#include <vector>

#include "checker.h"
#include "text/ascii.h"

using Pegasus::String;
using Pegasus::Uint32;

namespace lint {

namespace {

// MaxLen of FRUNumber in the classes of schema/, in characters.
constexpr Uint32 longestNumber = 64;

constexpr char16_t noBreakSpace = 0xA0;
constexpr const char* separated = "the fields are separated by one comma, without blanks";

bool isBlank(char16_t unit) {
  return unit == u' ' || unit == u'\t' || unit == noBreakSpace;
}

bool isAllBlank(std::u16string_view text) {
  return std::all_of(text.begin(), text.end(), isBlank);
}

bool has(const String& line, Uint32 position, char16_t unit) {
  return position < line.size() && line[position] == unit;
}

// The line without the carriage return at its end, which does no harm after an entry.
std::u16string_view withoutReturn(const String& line) {
  std::u16string_view text = line.view();
  if (text.ends_with(u'\r')) {
    text.remove_suffix(1);
  }
  return text;
}

Uint32 positionOf(std::u16string_view text, std::u16string_view units) {
  const std::size_t found = text.find_first_of(units);
  return found == std::u16string_view::npos ? PEG_NOT_FOUND : static_cast<Uint32>(found);
}

std::string upper(const String& text) {
  std::string bytes = text.toUtf8();
  std::transform(bytes.begin(), bytes.end(), bytes.begin(), Pegasus::text::raised<char>);
  return bytes;
}

// --- lines that are not entries ---

// Whether some word of the line is a category, in any letter case: the author meant an entry.
bool namesCategory(const String& line) {
  const std::string text = upper(line);
  for (auto begin = text.begin(); begin != text.end();) {
    begin = std::find_if(begin, text.end(), Pegasus::text::isLetter<char>);
    const auto end = std::find_if_not(begin, text.end(), Pegasus::text::isLetter<char>);
    if (findCategory(String(std::string(begin, end)))) {
      return true;
    }
    begin = end;
  }
  return false;
}

// A mark that git leaves around both versions of some lines.
bool isConflictMark(const String& line) {
  const auto units = line.view();
  return units.starts_with(u"<<<<<<< ") || units.starts_with(u"||||||| ") ||
         units.starts_with(u">>>>>>> ") || units == u"=======";
}

void checkNoEntry(const String& line, LineFindings& findings) {
  const auto error = [&](Uint32 position, const char* text) {
    findings.error(position, "no-entry", String("not an entry: ") + text);
  };
  const Uint32 typographic = positionOf(line.view(), u"\u201C\u201D\u201E\u00AB\u00BB");
  const Uint32 quote = line.find('"');
  const Uint32 comma = line.find(',');
  if (quote == PEG_NOT_FOUND) {
    const Uint32 separator = positionOf(line.view(), u",;\t");
    if (isConflictMark(line)) {
      error(0, "a merge conflict begins or ends here");
    } else if (typographic != PEG_NOT_FOUND) {
      error(typographic, "the fields must be in straight double quotes (\")");
    } else if (separator != PEG_NOT_FOUND && namesCategory(line)) {
      error(0, "the fields must be in double quotes and separated by commas");
    } else {
      findings.warning(0, "no-entry", "neither an entry nor a comment: begin comments with #");
    }
  } else if (comma == PEG_NOT_FOUND) {
    error(0, "there is no comma between the fields");
  } else if (comma == 0 || line[comma - 1] != '"') {
    const bool isBlankBefore = comma > 0 && isBlank(line[comma - 1]);
    if (isBlankBefore) {
      error(comma - 1, separated);
    } else if (line.view().substr(0, comma).find(u'"') == std::u16string_view::npos) {
      error(0, "the FRU number must be in double quotes");
    } else {
      error(comma, "the FRU number has a comma in it, or no closing quote");
    }
  } else if (comma + 1 < line.size() && isBlank(line[comma + 1])) {
    error(comma + 1, separated);
  } else {
    error(comma + 1, "the category must be in double quotes");
  }
}

// --- unknown categories ---

// Levenshtein's.
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (const char c : a) {
    std::size_t diagonal = row[0]++;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t changed = diagonal + (c == b[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

// The category that the author has probably meant; null if there is none.
const char* likelyCategory(const String& token) {
  struct Synonym {
    const char* word;
    const char* category;
  };
  static constexpr Synonym synonyms[] = {
      {"CPU", "PROCESSOR"},      {"RAM", "MEMORY"},        {"DIMM", "MEMORY"},
      {"MOTHERBOARD", "PLANAR"}, {"MAINBOARD", "PLANAR"},  {"SYSTEM BOARD", "PLANAR"},
      {"SYSTEMBOARD", "PLANAR"}, {"DVD", "CDROM"},         {"DVDROM", "CDROM"},
      {"OPTICAL", "CDROM"},      {"DISKETTE", "FLOPPY"},   {"FDD", "FLOPPY"},
      {"BLOWER", "FAN"},         {"COOLER", "FAN"},        {"SERVICE PROCESSOR", "OPTIONSP"},
      {"OPTIONS", "OPTIONSP"},   {"OPTION SP", "OPTIONSP"}};
  const std::string word = upper(token);
  for (const Synonym& synonym : synonyms) {
    if (word == synonym.word) {
      return synonym.category;
    }
  }
  // A third of the letters may differ. Where two categories are that near, neither is nearer.
  const auto* near = std::find_if(
      categoryTable.begin(), categoryTable.end(),
      [&](const CategoryRow& row) { return distance(word, row.keyword) <= word.size() / 3; });
  return near == categoryTable.end() ? nullptr : near->keyword;
}

// --- the fields of an entry ---

void checkNumber(const String& line, const EntryMarks& marks, LineFindings& findings) {
  const auto [open, comma] = std::pair(marks.firstQuote, marks.firstComma);
  if (open > comma) {
    findings.error(0, "unquoted", "the FRU number must be in double quotes");
    return;
  }
  const auto before = line.view().substr(0, open);
  if (open > 0 && isAllBlank(before)) {
    findings.warning(0, "blanks", "blanks at the beginning of the line");
  } else if (open > 0 && before != u"\uFEFF") {
    findings.error(0, "text-before", "the text before the first quote is ignored");
  }
  const Uint32 close = line.find(open + 1, '"');
  if (close >= comma) {
    findings.error(comma, "unclosed", "the FRU number has no closing quote");
    return;
  }
  if (close + 1 != comma) {
    if (isAllBlank(line.view().substr(close + 1, comma - close - 1))) {
      findings.error(close + 1, "separator", separated);
    } else {
      findings.error(close, "quote-inside", "a double quote inside the FRU number");
    }
    return;
  }
  const auto number = line.view().substr(open + 1, close - open - 1);
  if (isAllBlank(number)) {
    findings.error(open + 1, "empty-number", "the FRU number is empty");
    return;
  }
  if (isBlank(number.front())) {
    findings.warning(open + 1, "blanks", "the FRU number begins with a blank");
  }
  if (isBlank(number.back())) {
    findings.warning(close - 1, "blanks", "the FRU number ends with a blank");
  }
  if (number.size() > longestNumber) {
    findings.error(open + 1 + longestNumber, "long-number",
                   "the FRU number is too long: CIM servers allow 64 characters");
  }
  const auto foreign =
      std::find_if(number.begin(), number.end(), [](char16_t unit) { return unit > 0x7F; });
  if (foreign != number.end()) {
    findings.warning(open + 1 + static_cast<Uint32>(foreign - number.begin()), "foreign-number",
                     "the FRU number has a character that is not ASCII");
  }
}

void checkDescription(const String& line, const EntryMarks& marks, LineFindings& findings) {
  const Uint32 begin = marks.qualifierEnd + 3;
  const Uint32 end = marks.descriptionEnd;
  const auto description = line.view().substr(begin, end - begin);
  const auto rest = withoutReturn(line).substr(end + 1);
  if (rest.starts_with(u",\"")) {
    findings.warning(end + 1, "more-fields", "more than four fields: the rest is ignored");
  } else if (!isAllBlank(rest)) {
    findings.error(end, "quote-inside",
                   "this double quote ends the description: the rest is ignored");
    return;
  } else if (!rest.empty()) {
    findings.warning(end + 1, "blanks", "blanks at the end of the line");
  }
  if (isAllBlank(description)) {
    findings.warning(begin, "no-description", "the description is empty");
  } else if (isBlank(description.front())) {
    findings.warning(begin, "blanks", "the description begins with a blank");
  } else if (isBlank(description.back())) {
    findings.warning(end - 1, "blanks", "the description ends with a blank");
  }
}

// From the comma before the third field on.
bool checkRest(const String& line, const EntryMarks& marks, LineFindings& findings) {
  const auto end = static_cast<Uint32>(withoutReturn(line).size());
  if (!has(line, marks.secondComma + 1, '"')) {
    findings.error(marks.secondComma + 1, "separator",
                   String("the third field does not begin with a double quote: ") + separated);
    return false;
  }
  const Uint32 close = marks.qualifierEnd;
  if (close == PEG_NOT_FOUND) {
    findings.error(end, "unclosed", "the third field has no closing quote");
    return false;
  }
  if (!has(line, close + 1, ',')) {
    if (isAllBlank(line.view().substr(close + 1, end - close - 1))) {
      findings.error(end, "missing-field", "the fourth field, the description, is missing");
    } else if (isBlank(line[close + 1])) {
      findings.error(close + 1, "separator", separated);
    } else {
      findings.error(close, "quote-inside", "this double quote ends the third field");
      return false;
    }
  } else if (!has(line, close + 2, '"')) {
    findings.error(close + 2, "separator",
                   String("the description does not begin with a double quote: ") + separated);
  } else if (marks.descriptionEnd == PEG_NOT_FOUND) {
    findings.error(end, "unclosed", "the description has no closing quote");
  } else {
    checkDescription(line, marks, findings);
  }
  return true;
}

}  // namespace

void checkIgnoredLine(const String& line, const show::Recognition& recognition,
                      LineFindings& findings) {
  const std::string_view code = recognition.reason.code;
  if (code == "comment") {
    const Uint32 sign = line.find('#');
    const auto before = line.view().substr(0, sign);
    if (before.find(u'"') != std::u16string_view::npos) {
      findings.warning(sign, "comment", "a # makes the whole line a comment, which is ignored");
    }
  } else if (code == "no-entry") {
    checkNoEntry(line, findings);
  } else if (code == "unknown-category") {
    const char* likely = likelyCategory(*recognition.token);
    String text = recognition.reason.words;
    if (likely != nullptr && upper(*recognition.token) != likely) {
      text += String("; did you mean ") + likely + "?";
    }
    findings.warning(line.find(',') + 2, "unknown-category", text);
  }
}

bool checkFields(const String& line, const EntryMarks& marks, LineFindings& findings) {
  const auto end = static_cast<Uint32>(withoutReturn(line).size());
  if (marks.firstComma == PEG_NOT_FOUND) {
    findings.error(end, "missing-field", "there is no comma between the fields");
    return false;
  }
  checkNumber(line, marks, findings);
  if (!has(line, marks.firstComma + 1, '"')) {
    findings.error(marks.firstComma + 1, "separator",
                   String("the category does not begin with a double quote: ") + separated);
  }
  const Uint32 close = line.find(marks.firstComma + 2, '"');
  if (close == PEG_NOT_FOUND) {
    findings.error(end, "unclosed", "the category has no closing quote");
    return false;
  }
  if (marks.secondComma == PEG_NOT_FOUND) {
    findings.error(end, "missing-field", "the third and the fourth field are missing");
    return false;
  }
  if (close + 1 != marks.secondComma) {
    findings.error(close + 1, "separator", separated);
  }
  return checkRest(line, marks, findings);
}

}  // namespace lint
