#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include "checker.h"
#include "cim/machine.h"
#include "cim/selection.h"
#include "text/ascii.h"

using Pegasus::String;
using Pegasus::Uint32;

namespace lint {

namespace {

// How a category is matched against the machine.
struct Condition {
  Category category;
  const char* token;
  QualifierText (*cut)(const String&);
  bool (*canBe)(const String&);
  const char* what;
};

constexpr Condition conditions[] = {
    {Category::processor, "SPEED=", cutSpeed, canBeClock, "no processor can have the clock "},
    {Category::memory, "SIZE=", cutSize, canBeMemorySize, "no memory module can have the size "},
    {Category::keyboard, "LANGUAGE=", cutLanguage, canBeLanguage,
     "no machine can have the language "}};

const Condition* findCondition(Category category) {
  const auto* found =
      std::find_if(std::begin(conditions), std::end(conditions),
                   [&](const Condition& condition) { return condition.category == category; });
  return found == std::end(conditions) ? nullptr : found;
}

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), Pegasus::text::lowered<char>);
  return text;
}

// The condition whose token is in the text, in any letter case; null if there is none.
const Condition* conditionNamedIn(const String& text) {
  const std::string words = lower(text.toUtf8());
  for (const Condition& condition : conditions) {
    if (words.find(lower(condition.token)) != std::string::npos) {
      return &condition;
    }
  }
  return nullptr;
}

// --- what the author has probably meant ---

// A number with a unit, such as "2.4 GHz", "2,400" or "02400", in MHz or MiB.
std::optional<std::string> numberMeant(const Condition& condition, const std::string& value) {
  std::string text = lower(value);
  std::erase(text, ' ');
  const std::size_t comma = text.find(',');
  if (comma != std::string::npos) {
    const std::size_t decimals = text.find_first_not_of("0123456789", comma + 1);
    const bool isOfThousands =
        std::min(decimals, text.size()) - comma == 4 && text.find('g', comma) == std::string::npos;
    text.replace(comma, 1, isOfThousands ? "" : ".");
  }
  if (text.empty() || text.size() > 16 || !Pegasus::text::isDigit(text.front())) {
    return std::nullopt;
  }
  const std::size_t digits = text.find_first_not_of("0123456789.");
  const std::string unit = digits == std::string::npos ? "" : text.substr(digits);
  double factor = 1;
  // A fraction without a unit is one of a gigahertz or gibibyte.
  const bool isFraction = unit.empty() && text.find('.') < 3;
  if (isFraction || unit == "ghz" || unit == "gb" || unit == "gib" || unit == "g") {
    factor = condition.category == Category::processor ? 1000 : 1024;
  } else if (!unit.empty() && unit != "mhz" && unit != "mb" && unit != "mib" && unit != "m") {
    return std::nullopt;
  }
  const double number = std::strtod(text.substr(0, digits).c_str(), nullptr) * factor;
  const std::string meant = std::to_string(std::llround(number));
  return condition.canBe(String(meant)) ? std::optional(meant) : std::nullopt;
}

String impossibleWords(const Condition& condition, const QualifierText& qualifier) {
  if (qualifier.value.size() == 0) {
    return String(condition.token) + " has no value";
  }
  const String words = String(condition.what) + "\"" + qualifier.value + "\"";
  const std::string value = qualifier.value.toUtf8();
  if (condition.category != Category::keyboard) {
    const auto meant = numberMeant(condition, value);
    return meant ? words + "; write " + condition.token + String(*meant) : words;
  }
  const std::string code = lower(languageCodeOf(value).toUtf8());
  return code.empty()
             ? words +
                   "; only en, de, fr, it, ja and ko have a code, for all others write LANGUAGE="
             : words + "; write LANGUAGE=" + String(code);
}

// --- values that some machine can have, but probably not the one that the author thinks of ---

constexpr double slowestClock = 100;
constexpr double fastestClock = 10000;
constexpr double largestInGigabytes = 32;
// 4 TiB.
constexpr double largestModule = 4194304;

void checkLikely(const Condition& condition, const QualifierText& qualifier,
                 LineFindings& findings) {
  const std::string value = qualifier.value.toUtf8();
  const auto warn = [&](const char* text) {
    findings.warning(qualifier.start, "unlikely", String(condition.token) + String(value) + text);
  };
  if (condition.category == Category::keyboard) {
    if (value != lower(value)) {
      warn(": LANG usually has small letters");
    }
    return;
  }
  const double number = std::strtod(value.c_str(), nullptr);
  if (condition.category == Category::processor) {
    if (number < slowestClock || number > fastestClock) {
      warn(" is in megahertz");
    }
  } else if (number <= largestInGigabytes || number > largestModule) {
    warn(" is in mebibytes");
  } else if (number >= 1000 && std::fmod(number, 1000) == 0) {
    const std::string meant = std::to_string(std::llround(number / 1000 * 1024));
    findings.warning(
        qualifier.start, "unlikely",
        String("SIZE=" + value + " is in mebibytes of 1048576 bytes: did you mean " + meant + "?"));
  }
}

// --- where the condition is ---

String keywordOf(Category category) {
  const auto* row =
      std::find_if(categoryTable.begin(), categoryTable.end(),
                   [&](const CategoryRow& each) { return each.category == category; });
  return row->keyword;
}

String missingWords(const Condition& condition, const String& field) {
  String words = String("the third field has no ") + condition.token;
  const Condition* named = conditionNamedIn(field);
  if (named == nullptr) {
    return words;
  }
  return named == &condition
             ? words + ": it must be in capital letters"
             : words + ": " + named->token + " is for " + keywordOf(named->category) + " only";
}

// Entries of this category are not compared with the machine.
void checkUnused(Category category, const String& field, Uint32 begin, LineFindings& findings) {
  const Condition* named = conditionNamedIn(field);
  if (named != nullptr) {
    findings.error(begin, "wrong-qualifier",
                   keywordOf(category) + " has no condition: " + named->token + " is for " +
                       keywordOf(named->category) + " only");
  } else if (field.size() > 0) {
    findings.warning(begin, "unused-text",
                     keywordOf(category) + " has no condition: the third field is ignored");
  }
}

}  // namespace

void checkQualifier(Category category, const String& line, const EntryMarks& marks,
                    LineFindings& findings) {
  const Uint32 begin = marks.secondComma + 2;
  const String field = line.subString(begin, marks.qualifierEnd - begin);
  const Condition* condition = findCondition(category);
  if (condition == nullptr) {
    checkUnused(category, field, begin, findings);
    return;
  }
  const QualifierText qualifier = condition->cut(line);
  const Uint32 token =
      qualifier.start - static_cast<Uint32>(std::string_view(condition->token).size());
  if (!qualifier.isGiven) {
    findings.error(begin, "no-qualifier", missingWords(*condition, field));
  } else if (token < begin || token >= marks.qualifierEnd) {
    findings.error(
        token, "misplaced-qualifier",
        String(condition->token) + " outside of the third field counts as the condition");
  } else {
    if (token > begin) {
      findings.warning(begin, "unused-text",
                       String("the text before ") + condition->token + " is ignored");
    }
    if (!condition->canBe(qualifier.value)) {
      findings.error(qualifier.start, "impossible", impossibleWords(*condition, qualifier));
    } else if (qualifier.value.size() > 0) {
      checkLikely(*condition, qualifier, findings);
    }
  }
}

String conditionOf(Category category, const String& line) {
  const Condition* condition = findCondition(category);
  return condition == nullptr ? String() : condition->cut(line).value;
}

}  // namespace lint
