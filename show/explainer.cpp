#include "explainer.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "cim/selection.h"
#include "import/import.h"
#include "text.h"

using Pegasus::CIMInstance;
using Pegasus::String;

namespace show {

namespace {

// A machine with a hundred processors must not fill the screen with them.
constexpr std::size_t mostValues = 8;
constexpr std::size_t mostPlaces = 32;

String lineWords(std::uint64_t line) {
  return String("line ") + String(std::to_string(line));
}

String valueOf(const CIMInstance& instance, const char* property) {
  return instance.getProperty(instance.findProperty(property)).getValue().toString();
}

// --- why a line does not fit this machine; whether it fits is not decided here ---

bool isPlain(const String& value) {
  const auto units = value.view();
  return !units.empty() && std::all_of(units.begin(), units.end(), [](char16_t unit) {
    return (unit >= u'0' && unit <= u'9') || (unit >= u'a' && unit <= u'z') ||
           (unit >= u'A' && unit <= u'Z') || unit == u'_';
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

// Of the parts that have a place.
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
  explanation.fields = cutEntryFields(line);
  if (!isWanted(category, line)) {
    explanation.reason = whyNotSelected(category, line);
    return;
  }
  CIMInstance instance(String("KVAXDT_FRU"));
  fillInstance(category, line, instance, publication_);
  explanation.identifyingNumber = valueOf(instance, "IdentifyingNumber");
  if (const auto reason = whyNotCreated(instance, explanation)) {
    explanation.reason = *reason;
    return;
  }
  notePublished(category, publication_);
  notePublishedLine(category, explanation);
  explanation.result = Result::published;
  explanation.places = placesFor(category, line, machine_);
  explanation.reason = {"published", String("as ") + *explanation.identifyingNumber +
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
  if (category == Category::planar) {
    return {"not-first", String("second PLANAR: ") + lineWords(planarLine_) + " comes first"};
  }
  if (category == Category::cdrom) {
    return {"not-first", String("second CDROM: ") + lineWords(cdromLine_) + " comes first"};
  }
  return whyItDiffers(category, line, machine_);
}

std::optional<Reason> Explainer::whyNotCreated(const CIMInstance& instance,
                                               const Explanation& explanation) const {
  if (auto reason = whyNotSendable(instance)) {
    return reason;
  }
  const auto same =
      published_.find({explanation.fields->fruNumber, *explanation.identifyingNumber});
  if (same != published_.end()) {
    return Reason{"same-key", String("refused: same FRU number and identifying number ") +
                                  *explanation.identifyingNumber + " as " +
                                  lineWords(same->second)};
  }
  return std::nullopt;
}

void Explainer::notePublishedLine(Category category, const Explanation& explanation) {
  published_[{explanation.fields->fruNumber, *explanation.identifyingNumber}] = explanation.line;
  if (category == Category::planar) {
    planarLine_ = explanation.line;
  } else if (category == Category::cdrom) {
    cdromLine_ = explanation.line;
  }
}

}  // namespace show
