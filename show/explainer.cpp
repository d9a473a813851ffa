#include "explainer.h"

#include "xml/object_encoder.h"

#include <algorithm>
#include <string>

#include "import/import.h"

using Pegasus::CIMInstance;
using Pegasus::InvalidValueException;
using Pegasus::String;
using Pegasus::Uint32;

namespace show {

namespace {

bool isBlank(const String& line) {
  const auto units = line.view();
  return std::all_of(units.begin(), units.end(),
                     [](char16_t unit) { return unit == u' ' || unit == u'\t' || unit == u'\r'; });
}

String toCapitals(const String& text) {
  std::u16string units(text.view());
  for (char16_t& unit : units) {
    if (unit >= u'a' && unit <= u'z') {
      unit = static_cast<char16_t>(unit - u'a' + u'A');
    }
  }
  return String(units);
}

// Whether the first two fields are there as they should be. It tells a misspelt category from a
// heading; morvik itself does not look.
bool hasTwoFields(const String& line) {
  const Uint32 comma = line.find(',');
  return comma != PEG_NOT_FOUND && comma > 0 && line[comma - 1] == '"' &&
         line.find(comma + 1, '"') == comma + 1;
}

Reason explainToken(const String& token) {
  const String words = String("unknown category \"") + token + "\"";
  return {"unknown-category",
          findCategory(toCapitals(token)) ? words + ": capital letters are needed" : words};
}

String lineWords(std::uint64_t line) {
  return String("line ") + String(std::to_string(line));
}

String valueOf(const CIMInstance& instance, const char* property) {
  return instance.getProperty(instance.findProperty(property)).getValue().toString();
}

}  // namespace

Judgement Explainer::judge(LineRead read, const String& line) {
  Judgement judgement;
  judgement.line = ++lines_;
  if (read == LineRead::tooLong) {
    judgement.reason = {"too-long", "over-long line: more than 255 bytes"};
  } else if (read == LineRead::unfinished) {
    judgement.reason = {"unfinished", "last line without a newline: not read"};
  } else {
    judgeText(line, judgement);
  }
  return judgement;
}

void Explainer::judgeText(const String& line, Judgement& judgement) {
  if (isComment(line)) {
    judgement.reason = {"comment", "comment: there is a # in it"};
    return;
  }
  if (isBlank(line)) {
    judgement.reason = {"blank", "blank line"};
    return;
  }
  const String token = cutCategoryToken(line);
  if (const auto category = findCategory(token)) {
    judgement.category = token;
    judgeEntry(*category, line, judgement);
  } else if (hasTwoFields(line)) {
    judgement.category = token;
    judgement.reason = explainToken(token);
  } else {
    judgement.reason = {"no-entry", "no entry: does not begin like \"number\",\"CATEGORY\""};
  }
}

void Explainer::judgeEntry(Category category, const String& line, Judgement& judgement) {
  judgement.verdict = Verdict::leftOut;
  judgement.fields = cutEntryFields(line);
  if (!isSelected(client_, category, line, publication_)) {
    judgement.reason = whyNotSelected(category, line);
    return;
  }
  CIMInstance instance(String("KVAXDT_FRU"));
  fillInstance(category, line, instance, publication_);
  judgement.identifyingNumber = valueOf(instance, "IdentifyingNumber");
  if (const auto reason = whyNotCreated(instance, judgement)) {
    judgement.reason = *reason;
    return;
  }
  notePublished(category, publication_);
  notePublishedLine(category, judgement);
  judgement.verdict = Verdict::published;
  judgement.reason = {"published", String("as ") + *judgement.identifyingNumber};
}

Reason Explainer::whyNotSelected(Category category, const String& line) const {
  if (category == Category::planar) {
    return {"not-first", String("second PLANAR: the one of ") + lineWords(planarLine_) + " counts"};
  }
  if (category == Category::cdrom) {
    return {"not-first", String("second CDROM: the one of ") + lineWords(cdromLine_) + " counts"};
  }
  return explainMismatch(category, line, machine_);
}

std::optional<Reason> Explainer::whyNotCreated(const CIMInstance& instance,
                                               const Judgement& judgement) const {
  try {
    std::string xml;
    Pegasus::xml::appendInstance(xml, instance);
  } catch (const InvalidValueException& error) {
    return Reason{"not-sendable", String("cannot be sent: ") + error.getMessage()};
  }
  const auto same = published_.find({judgement.fields->fruNumber, *judgement.identifyingNumber});
  if (same != published_.end()) {
    return Reason{"same-key", String("refused: FRU number and identifying number ") +
                                  *judgement.identifyingNumber + " are those of " +
                                  lineWords(same->second)};
  }
  return std::nullopt;
}

void Explainer::notePublishedLine(Category category, const Judgement& judgement) {
  published_[{judgement.fields->fruNumber, *judgement.identifyingNumber}] = judgement.line;
  if (category == Category::planar) {
    planarLine_ = judgement.line;
  } else if (category == Category::cdrom) {
    cdromLine_ = judgement.line;
  }
}

}  // namespace show
