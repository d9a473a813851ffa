#include "entry_report.h"

#include "json.h"
#include "table.h"
#include "text.h"

using Pegasus::String;

namespace show {

namespace {

std::string field(const std::optional<String>& value, const Terminal& terminal) {
  const String text = value.value_or(String());
  std::string bytes = terminal.isTerminal ? harmless(text, terminal) : text.toUtf8();
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
    return value ? harmless(*value, terminal) : std::string("-");
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
      out << field(*value, terminal) << ',';
    }
    out << (entry.isOurs ? "true" : "false") << ',' << field(entry.problem, terminal) << "\r\n";
  }
}

void writeJson(std::ostream& out, const Terminal& terminal, const std::vector<Entry>& entries) {
  JsonWriter json(out, terminal.hasOnlyAscii);
  json.openObject().key("format").value(std::uint64_t{1}).key("entries").openArray();
  for (const Entry& entry : entries) {
    json.openObject();
    json.key("category").value(entry.category);
    json.key("fruNumber").value(entry.fruNumber);
    json.key("description").value(entry.description);
    json.key("identifyingNumber").value(entry.identifyingNumber);
    json.key("vendor").value(entry.vendor);
    json.key("revisionLevel").value(entry.revisionLevel);
    json.key("publishedByMorvik").value(entry.isOurs);
    json.key("problem").value(entry.problem);
    json.closeObject();
  }
  json.closeArray().closeObject();
}

}  // namespace show
