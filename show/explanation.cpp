#include "explanation.h"

#include "machine_report.h"

using Pegasus::String;

namespace show {

namespace {

// Fixed, because nobody knows yet what will come; a longer text moves the rest of its line.
constexpr std::size_t lineColumns = 4;
constexpr std::size_t widths[] = {11, 11, 12};

const char* wordsOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::published:
      return "published";
    case Verdict::leftOut:
      return "left out";
    case Verdict::ignored:
      break;
  }
  return "ignored";
}

Style styleOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::published:
      return Style::green;
    case Verdict::leftOut:
      return Style::yellow;
    case Verdict::ignored:
      break;
  }
  return Style::faint;
}

std::string rightAligned(const std::string& digits) {
  return digits.size() < lineColumns ? std::string(lineColumns - digits.size(), ' ') + digits
                                     : digits;
}

}  // namespace

void Counts::add(Verdict verdict) {
  ++lines;
  switch (verdict) {
    case Verdict::published:
      ++published;
      break;
    case Verdict::leftOut:
      ++leftOut;
      break;
    case Verdict::ignored:
      ++ignored;
      break;
  }
}

TextExplanation::TextExplanation(std::ostream& out, const Terminal& terminal)
    : out_(out), terminal_(terminal) {
  writeLine({"LINE", "RESULT", "CATEGORY", "FRU NUMBER", "REASON"}, Style::bold);
}

void TextExplanation::add(const Judgement& judgement) {
  const bool isEntry = judgement.fields.has_value();
  writeLine({rightAligned(std::to_string(judgement.line)), wordsOf(judgement.verdict),
             isEntry ? harmless(judgement.category.value_or(String()), terminal_) : "-",
             isEntry ? harmless(judgement.fields->fruNumber, terminal_) : "-",
             harmless(judgement.reason.words, terminal_)},
            styleOf(judgement.verdict));
}

void TextExplanation::writeLine(const std::vector<std::string>& cells, Style style) {
  std::string line = cells[0] + "  ";
  for (std::size_t i = 0; i < std::size(widths); ++i) {
    // At least one blank behind a text that is too long.
    line += padTo(widths[i], cells[i + 1] + ' ');
  }
  out_ << styled(style, cutTo(terminal_.columns, line + cells.back(), terminal_), terminal_)
       << '\n';
}

void TextExplanation::finish(const Counts& counts) {
  out_ << '\n'
       << counts.lines << (counts.lines == 1 ? " line: " : " lines: ") << counts.published
       << " published, " << counts.leftOut << " left out, " << counts.ignored << " ignored\n";
}

JsonExplanation::JsonExplanation(std::ostream& out, const Terminal& terminal,
                                 const Machine& machine)
    : json_(out, terminal.hasOnlyAscii) {
  json_.openObject().key("format").value(std::uint64_t{1}).key("machine");
  writeMachine(json_, machine);
  json_.key("lines").openArray();
}

void JsonExplanation::add(const Judgement& judgement) {
  const auto field = [&](String EntryFields::*member) {
    return judgement.fields ? std::optional<String>((*judgement.fields).*member) : std::nullopt;
  };
  json_.openObject();
  json_.key("line").value(judgement.line);
  json_.key("result").value(wordsOf(judgement.verdict));
  json_.key("reason").value(judgement.reason.code);
  json_.key("words").value(judgement.reason.words);
  json_.key("category").value(judgement.category);
  json_.key("fruNumber").value(field(&EntryFields::fruNumber));
  json_.key("name").value(field(&EntryFields::name));
  json_.key("description").value(field(&EntryFields::description));
  json_.key("identifyingNumber").value(judgement.identifyingNumber);
  json_.closeObject();
}

void JsonExplanation::finish(const Counts& counts) {
  json_.closeArray().key("summary").openObject();
  json_.key("lines").value(counts.lines);
  json_.key("published").value(counts.published);
  json_.key("leftOut").value(counts.leftOut);
  json_.key("ignored").value(counts.ignored);
  json_.closeObject().closeObject();
}

}  // namespace show
