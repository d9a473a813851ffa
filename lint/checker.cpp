#include "checker.h"

#include <Pegasus/Common/CIMInstance.h>
#include <utf8.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <string_view>
#include <tuple>
#include <utility>

#include "explainer.h"
#include "import/fru_file.h"
#include "import/import.h"
#include "import/publication.h"

using Pegasus::CIMInstance;
using Pegasus::String;
using Pegasus::Uint32;

namespace lint {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

// From 1, in characters. A byte that continues a sequence of UTF-8 does not begin one.
std::uint64_t columnIn(std::string_view bytes) {
  return 1 + static_cast<std::uint64_t>(std::count_if(bytes.begin(), bytes.end(), [](char byte) {
           return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80;
         }));
}

std::uint64_t columnIn(const String& line, Uint32 position) {
  const auto before = line.view().substr(0, position);
  return 1 +
         static_cast<std::uint64_t>(std::count_if(before.begin(), before.end(), [](char16_t unit) {
           return unit < 0xDC00 || unit > 0xDFFF;  // the second half of a character
         }));
}

class Checker {
 public:
  explicit Checker(const std::function<void(const Finding&)>& report) : report_(report) {}
  void check(const std::string& text);

 private:
  void checkLine(LineRead read, const std::string& bytes);
  void checkText(const String& line, const std::string& bytes, LineFindings& findings);
  void checkEntry(Category category, const String& line, LineFindings& findings);
  void checkPublication(Category category, const String& line, const EntryMarks& marks,
                        LineFindings& findings);
  bool checkKey(Category category, const String& condition, const String& fruNumber,
                const String& identifyingNumber, Uint32 position, LineFindings& findings);

  // The machines that publishing is tried on each have one clock, one memory size and one language.
  // So an entry gets the same number on all of them that take it: it is counted among the entries
  // of its category with its condition.
  using Condition = std::pair<Category, String>;
  struct Published {
    std::uint64_t line;
    String identifyingNumber;
  };

  const std::function<void(const Finding&)>& report_;
  std::uint64_t lines_ = 0;
  bool hasMark_ = false;
  bool hasEntries_ = false;
  std::map<Condition, Publication> publications_;
  // By FRU number, of the same condition.
  std::map<std::pair<Condition, String>, Published> published_;
  // The lines with a key, by category. A machine can take two entries of different categories.
  std::map<std::pair<String, String>, std::map<Category, std::uint64_t>> keys_;
  std::map<Category, std::uint64_t> firstOnes_;
};

String lineWords(std::uint64_t line) {
  return String("line " + std::to_string(line));
}

void Checker::check(const std::string& text) {
  const auto reportAt = [&](std::uint64_t line, std::uint64_t column, const char* code,
                            const char* words) {
    report_({line, column, Severity::error, code, words});
  };
  const auto problem = show::findFormProblem(text);
  if (problem && std::string_view(problem->code) != "unfinished") {
    const std::string_view before = std::string_view(text).substr(0, problem->offset);
    reportAt(1 + static_cast<std::uint64_t>(std::count(before.begin(), before.end(), '\n')),
             columnIn(before.substr(before.rfind('\n') + 1)), problem->code, problem->words);
    return;
  }
  hasMark_ = text.starts_with(byteOrderMark);
  if (hasMark_) {
    report_({1, 1, Severity::warning, "byte-order-mark",
             "a byte order mark, which is not part of the text in UTF-8"});
  }
  std::istringstream file(text);
  std::string bytes;
  for (LineRead read = readAnyBytes(file, bytes); read != LineRead::end;
       read = readAnyBytes(file, bytes)) {
    checkLine(read, bytes);
  }
  if (!hasEntries_) {
    reportAt(1, 1, "no-entries", "it has no entries: nothing would be published");
  }
}

void Checker::checkLine(LineRead read, const std::string& bytes) {
  ++lines_;
  const String line(bytes);
  LineFindings findings;
  const auto column = [&](std::uint64_t counted) {
    return hasMark_ && lines_ == 1 && counted > 1 ? counted - 1 : counted;
  };
  if (read != LineRead::complete) {
    const show::Reason reason = show::recognise(read, line).reason;
    const bool hasReturns = read == LineRead::tooLong && bytes.find('\r') != std::string::npos;
    report_(
        {lines_, column(columnIn(bytes)), Severity::error, reason.code,
         hasReturns ? reason.words + "; each line must end with a newline (LF)" : reason.words});
    return;
  }
  checkText(line, bytes, findings);
  std::stable_sort(findings.list.begin(), findings.list.end(),
                   [](const auto& a, const auto& b) { return a.column < b.column; });
  for (const Finding& f : findings.list) {
    report_({lines_, column(columnIn(line, static_cast<Uint32>(f.column))), f.severity, f.code,
             f.text});
  }
}

void Checker::checkText(const String& line, const std::string& bytes, LineFindings& findings) {
  const show::Recognition recognition = show::recognise(LineRead::complete, line);
  if (std::string_view(recognition.reason.code) != "comment") {
    const auto invalid = utf8::find_invalid(bytes.begin(), bytes.end());
    if (invalid != bytes.end()) {  // each byte is a character then
      findings.warning(static_cast<Uint32>(invalid - bytes.begin()), "not-utf-8",
                       "not UTF-8: the line is read as ISO 8859-1");
    }
  }
  if (recognition.category) {
    checkEntry(*recognition.category, line, findings);
  } else {
    checkIgnoredLine(line, recognition, findings);
  }
}

void Checker::checkEntry(Category category, const String& line, LineFindings& findings) {
  hasEntries_ = true;
  const EntryMarks marks = findEntryMarks(line);
  if (checkFields(line, marks, findings)) {
    checkQualifier(category, line, marks, findings);
  }
  // Errors that are known are to be corrected first.
  if (!findings.hasError) {
    checkPublication(category, line, marks, findings);
  }
}

// The road of an entry through an import, with the functions of the import.
void Checker::checkPublication(Category category, const String& line, const EntryMarks& marks,
                               LineFindings& findings) {
  const String condition = conditionOf(category, line);
  Publication& publication = publications_[{category, condition}];
  if (!isStillWanted(category, publication)) {
    findings.error(marks.firstComma + 2, "not-first",
                   String("second ") + cutCategoryToken(line) + ": only that of " +
                       lineWords(firstOnes_[category]) + " is published");
    return;
  }
  CIMInstance instance(String("KVAXDT_FRU"));
  fillInstance(category, line, instance, publication);
  if (const auto reason = show::whyNotSendable(instance)) {
    const auto units = line.view();
    const auto* bad = std::find_if_not(units.begin(), units.end(), show::isXmlUnit);
    findings.error(static_cast<Uint32>(bad - units.begin()), reason->code, reason->words);
    return;
  }
  const String number =
      instance.getProperty(instance.findProperty("IdentifyingNumber")).getValue().toString();
  if (checkKey(category, condition, cutEntryFields(line).fruNumber, number, marks.firstQuote + 1,
               findings)) {
    notePublished(category, publication);
    firstOnes_.emplace(category, lines_);
  }
}

// Returns whether the server would take the entry.
bool Checker::checkKey(Category category, const String& condition, const String& fruNumber,
                       const String& identifyingNumber, Uint32 position, LineFindings& findings) {
  const auto refuse = [&](std::uint64_t line) {
    findings.error(position, "same-key",
                   String("same FRU number and identifying number ") + identifyingNumber + " as " +
                       lineWords(line) + ": the CIM server refuses the second");
    return false;
  };
  auto& sameKey = keys_[{fruNumber, identifyingNumber}];
  for (const auto& [other, line] : sameKey) {
    if (other != category) {
      return refuse(line);
    }
  }
  const auto [same, isFirst] = published_.try_emplace({{category, condition}, fruNumber},
                                                      Published{lines_, identifyingNumber});
  if (!isFirst) {
    if (same->second.identifyingNumber == identifyingNumber) {
      return refuse(same->second.line);
    }
    findings.warning(position, "same-number",
                     String("same FRU number as ") + lineWords(same->second.line) +
                         ": the part is published twice");
  }
  sameKey.try_emplace(category, lines_);
  return true;
}

}  // namespace

void check(const std::string& text, const std::function<void(const Finding&)>& report) {
  Checker(report).check(text);
}

}  // namespace lint
