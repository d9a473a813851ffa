#include "mismatch.h"

#include <algorithm>
#include <string>
#include <vector>

#include "cim/selection.h"

using Pegasus::Char16;
using Pegasus::String;
using Pegasus::Uint32;

namespace show {

namespace {

// A machine with a hundred processors must not fill the screen with them.
constexpr std::size_t mostValues = 8;

bool isPlain(const String& value) {
  const auto units = value.view();
  return !units.empty() && std::all_of(units.begin(), units.end(), [](char16_t unit) {
    return (unit >= u'0' && unit <= u'9') || (unit >= u'a' && unit <= u'z') ||
           (unit >= u'A' && unit <= u'Z') || unit == u'_';
  });
}

// In quotes where blanks, or nothing at all, would be overlooked.
String quoted(const String& value) {
  return isPlain(value) ? value : String("\"") + value + "\"";
}

// Each value once: "1800 and 2000".
String listWords(const Told& told) {
  std::vector<String> words;
  for (const auto& value : told.values) {
    const String word = value ? quoted(*value) : String("one that does not tell");
    if (std::find(words.begin(), words.end(), word) == words.end()) {
      words.push_back(word);
    }
  }
  if (words.size() > mostValues) {
    const std::string rest = std::to_string(words.size() - mostValues + 1);
    words.resize(mostValues - 1);
    words.emplace_back(rest + " others");
  }
  String list;
  for (std::size_t i = 0; i < words.size(); ++i) {
    list += i == 0 ? "" : (i + 1 < words.size() ? ", " : " and ");
    list += words[i];
  }
  return list;
}

Reason compare(const char* code, const String& asked, const Told& told, const char* what,
               const char* instances) {
  if (told.refusal) {
    return {"unknown-here",
            String("the CIM server does not tell the ") + instances + ": " + *told.refusal};
  }
  if (told.values.empty()) {
    return {"unknown-here", String("the CIM server has no ") + instances};
  }
  if (told.has(asked)) {
    throw AnswersChanged();
  }
  return {told.isBroken() ? "unknown-here" : code,
          String(what) + " differs: " + quoted(asked) + " asked, " + listWords(told) + " here"};
}

// Without its token a line is judged all the same, by whatever stands in a certain place.
void tellMissing(const QualifierText& qualifier, const char* token, Reason& reason) {
  if (!qualifier.isGiven) {
    reason.words += String("; the line has no ") + token;
  }
}

Reason explainLanguage(const QualifierText& asked, const String& here) {
  return {"language-differs", String("language differs: ") + quoted(asked.value) + " asked, " +
                                  (here.size() > 0 ? quoted(here) : String("none")) + " here"};
}

}  // namespace

Reason explainMismatch(Category category, const String& line, const Machine& machine) {
  if (category == Category::processor) {
    const QualifierText speed = cutSpeed(line);
    return speed.isGiven
               ? compare("clock-differs", speed.value, machine.clocks, "clock", "processors")
               : Reason{"no-speed", "the line has no SPEED="};
  }
  if (category == Category::memory) {
    const QualifierText size = cutSize(line);
    Reason reason =
        compare("size-differs", size.value, machine.memorySizes, "size", "memory modules");
    tellMissing(size, "SIZE=", reason);
    return reason;
  }
  const QualifierText language = cutLanguage(line);
  Reason reason = explainLanguage(language, machine.languageCode);
  tellMissing(language, "LANGUAGE=", reason);
  return reason;
}

}  // namespace show
