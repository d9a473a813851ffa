#include "output.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

using Pegasus::String;

namespace show {

namespace {

// The members stay in the order in which they are written.
using Json = nlohmann::ordered_json;

Json toJson(const std::optional<String>& text) {
  return text ? Json(text->toUtf8()) : Json();
}

// In ASCII, so that no terminal obeys or misreads any of it.
std::string dump(const Json& json) {
  return json.dump(-1, ' ', true, Json::error_handler_t::replace);
}

// A document that begins with these members and goes on with a list, each item of which stands on a
// line of its own.
class JsonList {
 public:
  JsonList(std::ostream& out, const Json& members, const char* name) : out_(out) {
    std::string begin = dump(members);
    begin.back() = ',';
    out_ << begin << Json(name) << ":[";
  }
  void add(const Json& item) {
    out_ << (isEmpty_ ? "\n" : ",\n") << dump(item);
    isEmpty_ = false;
  }
  void end() { out_ << (isEmpty_ ? "]" : "\n]"); }

 private:
  std::ostream& out_;
  bool isEmpty_ = true;
};

Json beginning() {
  return {{"format", 1}};
}

// --- entries ---

std::string csvField(const std::optional<String>& value, const Terminal& terminal) {
  const String text = value.value_or(String());
  std::string bytes = terminal.isTerminal ? sanitized(text, terminal) : text.toUtf8();
  // Spreadsheets take a text that begins like this for a formula, and run it.
  if (!bytes.empty() &&
      std::string_view("=+-@\t\r").find(bytes.front()) != std::string_view::npos) {
    bytes.insert(0, 1, '\'');
  }
  if (bytes.find_first_of("\",\r\n") == std::string::npos) {
    return bytes;
  }
  std::string quoted = "\"";
  for (const char c : bytes) {
    quoted += c;
    if (c == '"') {
      quoted += c;
    }
  }
  return quoted + '"';
}

// --- the machine ---

constexpr std::size_t labelColumns = 16;

std::optional<String> firstOf(const Answers& answers) {
  return answers.values.empty() ? std::nullopt : answers.values.front();
}

std::optional<String> language() {
  const char* value = std::getenv("LANG");
  return value == nullptr ? std::nullopt : std::optional<String>(value);
}

String modelWords(const Machine& machine) {
  if (machine.models.refusal || machine.models.values.empty()) {
    return "unknown";
  }
  return machine.models.values.front().value_or("unknown: the CIM server gives none");
}

String typeWords(const Machine& machine) {
  if (!machine.machineType) {
    return "unknown: morvik fetches nothing";
  }
  if (machine.machineType->size() > 0) {
    return *machine.machineType;
  }
  const std::optional<String> model = firstOf(machine.models);
  // morvik ignores a model that is the first property of its instance.
  return model && model->size() > 0 ? "none: morvik takes no type from this model" : "none";
}

String listWords(const Answers& answers, const String& unit) {
  if (answers.refusal) {
    return "unknown";
  }
  String words;
  for (const std::optional<String>& value : answers.values) {
    words += words.size() > 0 ? ", " : "";
    words +=
        value ? (value->size() > 0 ? *value + unit : "no value") : "missing: morvik stops here";
  }
  return words.size() > 0 ? words : "none";
}

String languageWords(const Machine& machine) {
  const String code = machine.languageCode.size() > 0 ? machine.languageCode : "none";
  const std::optional<String> value = language();
  return code + (value ? String(" (LANG is ") + *value + ")" : " (LANG is not set)");
}

// Null for a refusal.
Json toJson(const Answers& answers) {
  if (answers.refusal) {
    return {};
  }
  Json list = Json::array();
  for (const std::optional<String>& value : answers.values) {
    list.push_back(toJson(value));
  }
  return list;
}

Json toJson(const Machine& machine) {
  return {
      {"model", toJson(firstOf(machine.models))},     {"machineType", toJson(machine.machineType)},
      {"processorClocks", toJson(machine.clocks)},    {"memorySizes", toJson(machine.memorySizes)},
      {"languageCode", toJson(machine.languageCode)}, {"lang", toJson(language())}};
}

// --- explanations ---

// Fixed, because each line is written before the next one is known; a longer text moves the rest of
// its line.
constexpr std::size_t lineColumns = 4;
constexpr std::size_t widths[] = {11, 11, 12};
constexpr std::size_t narrowestReason = 8;

using Count = std::uint64_t Summary::*;
using Field = String EntryFields::*;

// How a result is written, and where it is counted.
struct ResultForm {
  const char* words;
  Style style;
  Count count;
};

const ResultForm& formOf(Result result) {
  static constexpr ResultForm published = {"published", Style::green, &Summary::published};
  static constexpr ResultForm leftOut = {"left out", Style::yellow, &Summary::leftOut};
  static constexpr ResultForm ignored = {"ignored", Style::faint, &Summary::ignored};
  return result == Result::published ? published : result == Result::leftOut ? leftOut : ignored;
}

void count(Result result, Summary& summary) {
  ++summary.lines;
  ++(summary.*formOf(result).count);
}

void writeLine(std::ostream& out, const Terminal& terminal, Style style,
               const std::vector<std::string>& cells) {
  const std::size_t size = cells[0].size();
  std::string line =
      std::string(size < lineColumns ? lineColumns - size : 0, ' ') + cells[0] + "  ";
  for (std::size_t i = 0; i < std::size(widths); ++i) {
    // At least one blank after a text that is too long.
    line += padTo(widths[i], cells[i + 1] + ' ');
  }
  if (terminal.columns == 0) {
    out << line << cells.back() << '\n';
    return;
  }
  // The reason is never cut: it goes on in the next lines, below itself.
  line = cutTo(std::max(terminal.columns, 2 * narrowestReason) - narrowestReason, line, terminal);
  const std::size_t indent = columnsOf(line);
  const std::size_t room = std::max(terminal.columns, indent + narrowestReason) - indent;
  for (const std::string& part : wrapTo(room, cells.back())) {
    out << styled(style, line + part, terminal) << '\n';
    line.assign(indent, ' ');
  }
}

Json toJson(const Explanation& explanation) {
  const auto field = [&](Field member) {
    return explanation.fields ? toJson((*explanation.fields).*member) : Json();
  };
  return {{"line", explanation.line},
          {"result", formOf(explanation.result).words},
          {"reason", explanation.reason.code},
          {"words", toJson(explanation.reason.words)},
          {"category", toJson(explanation.category)},
          {"fruNumber", field(&EntryFields::fruNumber)},
          {"name", field(&EntryFields::name)},
          {"description", field(&EntryFields::description)},
          {"identifyingNumber", toJson(explanation.identifyingNumber)}};
}

}  // namespace

void writeTable(std::ostream& out, const Terminal& terminal, const std::vector<Entry>& entries,
                bool withVendor) {
  std::vector<std::string> headings = {"CATEGORY", "FRU NUMBER", "DESCRIPTION",
                                       "IDENTIFYING NUMBER"};
  if (withVendor) {
    headings.emplace_back("VENDOR");
  }
  Table table(headings);
  const auto cell = [&](const std::optional<String>& value) {
    return value ? sanitized(*value, terminal) : std::string("-");
  };
  for (const Entry& entry : entries) {
    const std::optional<String> description =
        entry.problem ? String("(cannot be read: ") + *entry.problem + ")" : entry.description;
    std::vector<std::string> cells = {cell(entry.category), cell(entry.fruNumber),
                                      cell(description), cell(entry.identifyingNumber)};
    if (withVendor) {
      cells.push_back(cell(entry.vendor));
    }
    const Style style = entry.isOurs ? Style::plain : Style::faint;
    table.add(std::move(cells), entry.problem ? Style::yellow : style);
  }
  table.write(out, terminal);
}

void writeCsv(std::ostream& out, const Terminal& terminal, const std::vector<Entry>& entries) {
  out << "category,fruNumber,description,identifyingNumber,vendor,revisionLevel,"
         "publishedByMorvik,problem\r\n";
  for (const Entry& entry : entries) {
    for (const auto* value : {&entry.category, &entry.fruNumber, &entry.description,
                              &entry.identifyingNumber, &entry.vendor, &entry.revisionLevel}) {
      out << csvField(*value, terminal) << ',';
    }
    out << (entry.isOurs ? "true" : "false") << ',' << csvField(entry.problem, terminal) << "\r\n";
  }
}

void writeJson(std::ostream& out, const std::vector<Entry>& entries) {
  JsonList list(out, beginning(), "entries");
  for (const Entry& entry : entries) {
    list.add({{"category", toJson(entry.category)},
              {"fruNumber", toJson(entry.fruNumber)},
              {"description", toJson(entry.description)},
              {"identifyingNumber", toJson(entry.identifyingNumber)},
              {"vendor", toJson(entry.vendor)},
              {"revisionLevel", toJson(entry.revisionLevel)},
              {"publishedByMorvik", entry.isOurs},
              {"problem", toJson(entry.problem)}});
  }
  list.end();
  out << "}\n";
}

void writeMachine(std::ostream& out, const Terminal& terminal, const Machine& machine) {
  const auto line = [&](const char* label, const String& words) {
    out << styled(Style::bold, padTo(labelColumns, label), terminal) << sanitized(words, terminal)
        << '\n';
  };
  line("Model", modelWords(machine));
  line("Machine type", typeWords(machine));
  line("Processors", listWords(machine.clocks, " MHz"));
  line("Memory modules", listWords(machine.memorySizes, " MiB"));
  line("Language code", languageWords(machine));
}

void writeMachineJson(std::ostream& out, const Machine& machine) {
  Json document = beginning();
  document["machine"] = toJson(machine);
  out << dump(document) << '\n';
}

Summary writeExplanations(std::ostream& out, const Terminal& terminal,
                          const NextExplanation& next) {
  Summary summary;
  writeLine(out, terminal, Style::bold, {"LINE", "RESULT", "CATEGORY", "FRU NUMBER", "REASON"});
  while (const auto explanation = next()) {
    const ResultForm& form = formOf(explanation->result);
    const auto& fields = explanation->fields;
    const String category = explanation->category.value_or(String());
    writeLine(out, terminal, form.style,
              {std::to_string(explanation->line), form.words,
               fields ? sanitized(category, terminal) : "-",
               fields ? sanitized(fields->fruNumber, terminal) : "-",
               sanitized(explanation->reason.words, terminal)});
    count(explanation->result, summary);
  }
  out << '\n'
      << summary.lines << (summary.lines == 1 ? " line: " : " lines: ") << summary.published
      << " published, " << summary.leftOut << " left out, " << summary.ignored << " ignored\n";
  return summary;
}

Summary writeExplanationsJson(std::ostream& out, const Machine& machine,
                              const NextExplanation& next) {
  Summary summary;
  Json members = beginning();
  members["machine"] = toJson(machine);
  JsonList list(out, members, "lines");
  while (const auto explanation = next()) {
    list.add(toJson(*explanation));
    count(explanation->result, summary);
  }
  list.end();
  const Json counts = {{"lines", summary.lines},
                       {"published", summary.published},
                       {"leftOut", summary.leftOut},
                       {"ignored", summary.ignored}};
  out << ",\"summary\":" << dump(counts) << "}\n";
  return summary;
}

}  // namespace show
