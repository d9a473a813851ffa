#include "report.h"

#include <algorithm>
#include <map>
#include <sstream>

#include "import/fru_file.h"
#include "text.h"

namespace run {

namespace {

Json countOf(const std::optional<Items>& items) {
  return items ? Json(items->size()) : Json();
}

Json textOrNull(const std::string& text) {
  return text.empty() ? Json() : Json(text);
}

// A label value: the format has no other escapes.
std::string quoted(const std::string& value) {
  std::string text = "\"";
  for (const char c : value) {
    text += c == '\\' ? "\\\\" : c == '"' ? "\\\"" : c == '\n' ? "\\n" : std::string(1, c);
  }
  return text + "\"";
}

std::string quoted(const std::optional<Pegasus::String>& value) {
  return quoted(value ? value->toUtf8() : "");
}

void describe(std::ostream& out, const char* name, const char* help) {
  out << "# HELP " << name << ' ' << help << "\n# TYPE " << name << " gauge\n";
}

void writeTime(std::ostream& out, const char* name, const char* help, Time time) {
  describe(out, name, help);
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time.time_since_epoch());
  out << name << ' ' << seconds.count() << '\n';
}

void writeEntries(std::ostream& out, const Items& items) {
  std::map<std::string, std::size_t> counts;
  for (const CategoryRow& row : categoryTable) {
    counts[row.keyword] = 0;
  }
  for (const Item& item : items) {
    ++counts[item.category];
  }
  describe(out, "morvik_entries", "Published entries.");
  for (const auto& [category, count] : counts) {
    out << "morvik_entries{category=" << quoted(category) << "} " << count << '\n';
  }
  if (items.empty()) {
    return;
  }
  describe(out, "morvik_fru_info", "A published entry.");
  const Item* before = nullptr;
  for (const Item& item : items) {
    // Two entries may differ in what is not a label; a sample must not be repeated.
    if (before == nullptr || before->category != item.category ||
        before->fruNumber != item.fruNumber || before->description != item.description ||
        before->identifyingNumber != item.identifyingNumber) {
      out << "morvik_fru_info{category=" << quoted(item.category)
          << ",fru_number=" << quoted(item.fruNumber) << ",description=" << quoted(item.description)
          << ",identifying_number=" << quoted(item.identifyingNumber) << "} 1\n";
    }
    before = &item;
  }
}

// The entries at the end of the run, or those that there would be.
const std::optional<Items>& endOf(const Report& report) {
  return report.isCheck ? report.predicted : report.published;
}

}  // namespace

Items Report::added() const {
  const auto& end = endOf(*this);
  return before && end ? missingFrom(*before, *end) : Items();
}

Items Report::removed() const {
  const auto& end = endOf(*this);
  return before && end ? missingFrom(*end, *before) : Items();
}

std::string listWords(const Items& items) {
  constexpr std::size_t most = 5;
  std::string words;
  for (std::size_t i = 0; i < std::min(items.size(), most); ++i) {
    words += (i == 0 ? "" : ", ") + harmless(items[i].fruNumber) + " (" +
             harmless(items[i].category) + ")";
  }
  return words +
         (items.size() > most ? " and " + std::to_string(items.size() - most) + " more" : "");
}

std::string goodWords(const Report& report) {
  const std::string what =
      show::counted(report.predicted->size(), "entry of ", "entries of ") + report.source;
  const std::string added = std::to_string(report.added().size());
  const std::string removed = std::to_string(report.removed().size());
  if (report.isCheck) {
    return "would publish " + what + ": " + added + " to add, " + removed + " to remove";
  }
  return report.before == report.published
             ? what + (report.predicted->size() == 1 ? " is" : " are") +
                   " published, nothing has changed"
             : "published " + what + ": " + added + " added, " + removed + " removed";
}

Json toJson(const Items& items) {
  Json list = Json::array();
  for (const Item& item : items) {
    list.push_back({{"category", item.category},
                    {"fruNumber", item.fruNumber},
                    {"description", item.description},
                    {"identifyingNumber", item.identifyingNumber}});
  }
  return list;
}

Json toJson(const Report& report) {
  return {{"format", 1},
          {"status", static_cast<int>(report.status)},
          {"result", rowOf(report.status).word},
          {"message", report.message},
          {"notes", report.notes},
          {"started", timeText(report.started)},
          {"finished", timeText(report.finished)},
          {"machineType", textOrNull(report.machineType)},
          {"source", textOrNull(report.source)},
          {"check", report.isCheck},
          {"restored", report.isRestored},
          {"entries",
           {{"before", countOf(report.before)},
            {"predicted", countOf(report.predicted)},
            {"published", countOf(report.published)}}},
          {"added", toJson(report.added())},
          {"removed", toJson(report.removed())}};
}

std::string metricsText(const Report& report, const show::Machine& machine,
                        const std::optional<Time>& lastSuccess) {
  std::ostringstream out;
  writeTime(out, "morvik_last_run_timestamp_seconds", "When the last run ended.", report.finished);
  if (lastSuccess) {
    writeTime(out, "morvik_last_success_timestamp_seconds", "When the last good run ended.",
              *lastSuccess);
  }
  describe(out, "morvik_run_status", "Exit status of the last run; 0 is good.");
  out << "morvik_run_status " << static_cast<int>(report.status) << '\n';
  describe(out, "morvik_machine_info", "The machine, as its CIM server describes it.");
  out << "morvik_machine_info{type=" << quoted(machine.machineType)
      << ",model=" << quoted(machine.model) << ",serial=" << quoted(machine.serialNumber)
      << "} 1\n";
  const auto& items = report.published ? report.published : report.before;
  if (items) {
    writeEntries(out, *items);
  }
  return out.str();
}

}  // namespace run
