#include "metrics.h"

#include <map>
#include <sstream>

#include "import/fru_file.h"

namespace run {

namespace {

// A label value: the format has no other escapes.
std::string quoted(const std::string& value) {
  std::string text = "\"";
  for (const char c : value) {
    text += c == '\\' ? "\\\\" : c == '"' ? "\\\"" : c == '\n' ? "\\n" : std::string(1, c);
  }
  return text + "\"";
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

}  // namespace

std::string metricsText(const Report& report, const MachineNames& machine,
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
  out << "morvik_machine_info{type=" << quoted(machine.type) << ",model=" << quoted(machine.model)
      << ",serial=" << quoted(machine.serial) << "} 1\n";
  const auto& items = report.published ? report.published : report.before;
  if (items) {
    writeEntries(out, *items);
  }
  return out.str();
}

}  // namespace run
