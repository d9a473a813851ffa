#include "explainer.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "cim/selection.h"
#include "import/import.h"
#include "text.h"
#include "text/ascii.h"

using Pegasus::CIMInstance;
using Pegasus::String;
using Pegasus::Uint32;
using Pegasus::text::isDigit;
using Pegasus::text::isLetter;

namespace show {

namespace {

bool isBlank(const String& line) {
  const auto units = line.view();
  return std::all_of(units.begin(), units.end(),
                     [](char16_t unit) { return unit == u' ' || unit == u'\t' || unit == u'\r'; });
}

// Whether the line has two fields in quotes, as an entry with a misspelt category has, and a
// heading has not; morvik itself does not look.
bool hasTwoFields(const String& line) {
  const Uint32 comma = line.find(',');
  return comma != PEG_NOT_FOUND && comma > 0 && line[comma - 1] == '"' &&
         line.find(comma + 1, '"') == comma + 1;
}

Reason unknownCategory(const String& token) {
  const String words = String("unknown category \"") + token + "\"";
  return {"unknown-category", isCategory(token) ? words + ": must be in capital letters" : words};
}

// A machine with a hundred processors must not fill the screen with them.
constexpr std::size_t mostValues = 8;
constexpr std::size_t mostPlaces = 32;

String lineWords(std::uint64_t line) {
  return String("line ") + String(std::to_string(line));
}

// --- why a line does not fit this machine; whether it fits is not decided here ---

bool isPlain(const String& value) {
  const auto units = value.view();
  return !units.empty() && std::all_of(units.begin(), units.end(), [](char16_t unit) {
    return isDigit(unit) || isLetter(unit) || unit == u'_';
  });
}

// In quotes if blanks, or an empty value, could be overlooked.
String quoted(const String& value) {
  return isPlain(value) ? value : String("\"") + value + "\"";
}

// Each value once: "1800 and 2000".
String listWords(const Parts& parts) {
  std::vector<String> words;
  for (const Part& part : parts.list) {
    const String word = !part.compared              ? String("a missing one")
                        : part.compared->size() > 0 ? quoted(*part.compared)
                                                    : String("no value");
    if (std::find(words.begin(), words.end(), word) == words.end()) {
      words.push_back(word);
    }
  }
  return show::listWords(std::move(words), mostValues);
}

Reason difference(const char* code, const String& asked, const Parts& parts, const char* what,
                  const char* instances) {
  if (parts.refusal) {
    return {"unknown-here",
            String("the CIM server does not show its ") + instances + ": " + *parts.refusal};
  }
  if (parts.list.empty()) {
    return {"unknown-here", String("the CIM server has no ") + instances};
  }
  if (parts.has(asked)) {
    throw std::runtime_error("the CIM server failed, or changed while it was read");
  }
  return {parts.isBroken() ? "unknown-here" : code,
          String(what) + " differs: " + quoted(asked) + " asked, " + listWords(parts) + " here"};
}

// A line without its token is compared all the same, by the text at a certain place.
void addMissing(const QualifierText& qualifier, const char* token, Reason& reason) {
  if (!qualifier.isGiven) {
    reason.words += String("; the line has no ") + token;
  }
}

// The line is one of PROCESSOR, MEMORY or KEYBOARD.
Reason whyItDiffers(Category category, const String& line, const Machine& machine) {
  if (category == Category::processor) {
    const QualifierText speed = cutSpeed(line);
    return speed.isGiven
               ? difference("clock-differs", speed.value, machine.processors, "clock", "processors")
               : Reason{"no-speed", "the line has no SPEED="};
  }
  if (category == Category::memory) {
    const QualifierText size = cutSize(line);
    Reason reason =
        difference("size-differs", size.value, machine.memoryModules, "size", "memory modules");
    addMissing(size, "SIZE=", reason);
    return reason;
  }
  const QualifierText language = cutLanguage(line);
  const String& here = machine.languageCode;
  Reason reason = {"language-differs", String("language differs: ") + quoted(language.value) +
                                           " asked, " + (here.size() > 0 ? quoted(here) : "none") +
                                           " here"};
  addMissing(language, "LANGUAGE=", reason);
  return reason;
}

// The places of the parts for which a line is, as far as they have one.
std::vector<String> placesFor(Category category, const String& line, const Machine& machine) {
  if (category != Category::processor && category != Category::memory) {
    return {};
  }
  const bool isProcessor = category == Category::processor;
  const String asked = isProcessor ? cutSpeed(line).value : cutSize(line).value;
  std::vector<String> places;
  for (const Part& part : (isProcessor ? machine.processors : machine.memoryModules).list) {
    if (part.place && part.compared == asked) {
      places.push_back(*part.place);
    }
  }
  return places;
}

}  // namespace

std::optional<FormProblem> findFormProblem(const std::string& text) {
  if (text.size() > mostFileBytes) {
    return FormProblem{"too-large", "it has more than 1 MiB: morvik-run refuses it", 0};
  }
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

// --- on a machine ---

Explanation Explainer::explain(LineRead read, const String& line) {
  const Recognition recognition = recognise(read, line);
  Explanation explanation;
  explanation.line = ++lines_;
  explanation.category = recognition.token;
  explanation.reason = recognition.reason;
  if (recognition.category) {
    explainEntry(*recognition.category, line, explanation);
  }
  return explanation;
}

void Explainer::explainEntry(Category category, const String& line, Explanation& explanation) {
  explanation.result = Result::leftOut;
  const EntryFields fields = cutEntryFields(line);
  explanation.entry = {
      .category = fields.name, .fruNumber = fields.fruNumber, .description = fields.description};
  if (!isWanted(category, line)) {
    explanation.reason = whyNotSelected(category, line);
    return;
  }
  CIMInstance instance(String("KVAXDT_FRU"));
  fillInstance(category, line, instance, publication_);
  explanation.entry = toEntry(instance);
  const String& number = *explanation.entry->identifyingNumber;
  if (const auto reason = whyNotCreated(instance, *explanation.entry)) {
    explanation.reason = *reason;
    return;
  }
  notePublished(category, publication_);
  published_[{*explanation.entry->fruNumber, number}] = explanation.line;
  firstLines_.emplace(category, explanation.line);
  explanation.result = Result::published;
  explanation.places = placesFor(category, line, machine_);
  explanation.reason = {"published", String("as ") + number +
                                         (explanation.places.empty() ? "" : ", for ") +
                                         listWords(explanation.places, mostPlaces)};
}

bool Explainer::isWanted(Category category, const String& line) const {
  if (client_ != nullptr) {
    return isSelected(*client_, category, line, publication_);
  }
  if (category == Category::processor) {
    return machine_.processors.anyFits([&](const String& text) { return fitsClock(line, text); });
  }
  if (category == Category::memory) {
    return machine_.memoryModules.anyFits([&](const String& text) { return fitsSize(line, text); });
  }
  if (category == Category::keyboard) {
    return fitsLanguage(line, machine_.languageCode);
  }
  return isStillWanted(category, publication_);
}

Reason Explainer::whyNotSelected(Category category, const String& line) const {
  if (category == Category::planar || category == Category::cdrom) {
    return {"not-first", String("second ") + cutCategoryToken(line) + ": " +
                             lineWords(firstLines_.at(category)) + " comes first"};
  }
  return whyItDiffers(category, line, machine_);
}

std::optional<Reason> Explainer::whyNotCreated(const CIMInstance& instance,
                                               const Entry& entry) const {
  if (auto reason = whyNotSendable(instance)) {
    return reason;
  }
  const auto same = published_.find({*entry.fruNumber, *entry.identifyingNumber});
  if (same != published_.end()) {
    return Reason{"same-key", String("refused: same FRU number and identifying number ") +
                                  *entry.identifyingNumber + " as " + lineWords(same->second)};
  }
  return std::nullopt;
}

}  // namespace show
