#include "output.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

using Pegasus::String;

namespace show {

namespace {

using Text = std::optional<String>;

constexpr std::size_t labelColumns = 16;

String numbered(std::uint64_t number, const char* unit) {
  return String(std::to_string(number) + " " + unit);
}

// In the largest unit that leaves a whole number.
String sizeWords(std::uint64_t bytes) {
  constexpr std::uint64_t gibibyte = std::uint64_t{1} << 30U;
  return bytes > 0 && bytes % gibibyte == 0 ? numbered(bytes / gibibyte, "GiB")
                                            : numbered(bytes >> 20U, "MiB");
}

String modelWords(const Machine& machine) {
  if (machine.systemRefusal || !machine.hasSystem) {
    return "unknown";
  }
  if (!machine.model) {
    return "unknown: the CIM server gives none";
  }
  return machine.model->size() > 0 ? *machine.model : String("none");
}

String machineTypeWords(const Machine& machine) {
  if (!machine.machineType) {
    return "unknown: morvik fetches nothing";
  }
  if (machine.machineType->size() > 0) {
    return *machine.machineType;
  }
  // morvik ignores a model that is the first property of its instance.
  return machine.model && machine.model->size() > 0 ? "none: morvik takes no type from this model"
                                                    : "none";
}

String languageWords(const Machine& machine) {
  const String code = machine.languageCode.size() > 0 ? machine.languageCode : "none";
  return code +
         (machine.language ? String(" (LANG is ") + *machine.language + ")" : " (LANG is not set)");
}

Style styleOf(Result result) {
  return result == Result::published ? Style::green
         : result == Result::leftOut ? Style::yellow
                                     : Style::faint;
}

}  // namespace

String partWords(const Part& part, bool isModule) {
  if (!part.compared) {
    return "missing: morvik stops here";
  }
  if (!isModule) {
    return part.compared->size() > 0 ? *part.compared + " MHz" : "no value";
  }
  if (!part.amount) {
    return *part.compared == "0" ? "no value" : *part.compared + " MiB";
  }
  return sizeWords(*part.amount);
}

Text typeWords(const Part& part, bool isModule) {
  Text words = part.type;
  const auto add = [&](const String& more) { words = words ? *words + ", " + more : more; };
  if (isModule && part.maxSpeed) {
    add(numbered(*part.maxSpeed, "MHz"));
  }
  if (part.cores) {
    add(numbered(*part.cores, *part.cores == 1 ? "core" : "cores"));
  }
  return words;
}

Columns listColumns(bool withVendor) {
  return {{"category", "CATEGORY"},
          {"fruNumber", "FRU NUMBER"},
          {"description", "DESCRIPTION"},
          {"identifyingNumber", "IDENTIFYING NUMBER"},
          {"vendor", "VENDOR", withVendor ? Shown::always : Shown::onDemand},
          {"revisionLevel", "REVISION", Shown::onDemand},
          {"publishedByMorvik", "BY MORVIK", Shown::onDemand},
          {"problem", "PROBLEM", Shown::onDemand}};
}

Columns machineColumns() {
  return {{"place", "PLACE"},
          {"part", "PART"},
          {"type", "TYPE", Shown::ifFilled},
          {"comparedAs", "COMPARED AS", Shown::onDemand},
          {"bank", "BANK", Shown::onDemand},
          {"manufacturer", "MAKER", Shown::ifFilled},
          {"partNumber", "PART NUMBER", Shown::ifFilled},
          {"serialNumber", "SERIAL NUMBER", Shown::ifFilled}};
}

Columns explanationColumns() {
  return {{"line", "LINE", Shown::always, 4},
          {"result", "RESULT", Shown::always, 9},
          {"category", "CATEGORY", Shown::always, 9},
          {"fruNumber", "FRU NUMBER", Shown::always, 10},
          {"description", "DESCRIPTION", Shown::onDemand, 30},
          {"words", "REASON", Shown::always, 30}};
}

void writeList(Table& table, const std::vector<Entry>& entries) {
  for (const Entry& entry : entries) {
    const Style style = entry.isOurs ? Style::plain : Style::faint;
    const bool isReplaced = entry.problem && !table.isCsv();
    const Text description =
        isReplaced ? String("(cannot be read: ") + *entry.problem + ")" : entry.description;
    table.add({{entry.category, entry.fruNumber, description, entry.identifyingNumber, entry.vendor,
                entry.revisionLevel, String(entry.isOurs ? "true" : "false"), entry.problem},
               entry.problem ? Style::yellow : style,
               isReplaced});
  }
  table.end();
}

String groupWords(const Parts& parts, bool areModules) {
  if (parts.refusal) {
    return "unknown";
  }
  std::vector<std::pair<String, std::size_t>> groups;
  for (const Part& part : parts.list) {
    String words = partWords(part, areModules);
    const String compared = part.compared.value_or(String()) + " MiB";
    if (areModules && part.amount && words != compared) {
      words += String(" (") + compared + ")";
    }
    const auto group = std::find_if(groups.begin(), groups.end(),
                                    [&](const auto& known) { return known.first == words; });
    if (group == groups.end()) {
      groups.emplace_back(words, 1);
    } else {
      ++group->second;
    }
  }
  String list;
  for (const auto& [words, count] : groups) {
    list += list.size() > 0 ? ", " : "";
    list += String(std::to_string(count)) + " x " + words;
  }
  return list.size() > 0 ? list : "none";
}

void writeMachine(std::ostream& out, const Terminal& terminal, const Machine& machine) {
  const auto line = [&](const char* label, const Text& words) {
    if (!words) {
      return;
    }
    const std::size_t room = std::max(terminal.columns, 2 * labelColumns) - labelColumns;
    const std::string text = sanitized(*words, terminal);
    std::string begin = styled(Style::bold, padTo(labelColumns, label), terminal);
    for (const std::string& part : terminal.columns == 0 ? std::vector{text} : wrapTo(room, text)) {
      out << begin << part << '\n';
      begin.assign(labelColumns, ' ');
    }
  };
  line("Host name", machine.hostName);
  line("Model", modelWords(machine));
  line("Machine type", machineTypeWords(machine));
  line("Serial number", machine.serialNumber);
  line("Processors", groupWords(machine.processors, false));
  line("Memory modules", groupWords(machine.memoryModules, true));
  line("Language code", languageWords(machine));
}

void writeParts(Table& table, const Machine& machine) {
  for (const bool isModule : {false, true}) {
    for (const Part& part : (isModule ? machine.memoryModules : machine.processors).list) {
      table.add({{part.place, partWords(part, isModule), typeWords(part, isModule), part.compared,
                  part.bank, part.manufacturer, part.partNumber, part.serialNumber}});
    }
  }
  table.end();
}

Columns numberColumns() {
  return {{"place", "PLACE"},
          {"part", "PART"},
          {"fruNumber", "FRU NUMBER"},
          {"description", "DESCRIPTION"}};
}

void writeNumbers(Table& table, const std::vector<PartNumber>& numbers) {
  for (const PartNumber& number : numbers) {
    const auto& [part, isModule] = number.named;
    table.add({{part->place, partWords(*part, isModule), number.fruNumber, number.description},
               Style::plain,
               true});
  }
  table.end();
}

void writeNumbersJson(std::ostream& out, const Frame& frame, const Machine& machine,
                      const std::vector<PartNumber>& numbers) {
  Json members = beginning(frame);
  members["machine"] = toJson(machine, frame.format);
  JsonList list(out, members, "numbers");
  for (const PartNumber& number : numbers) {
    const auto& [part, isModule] = number.named;
    list.add({{"place", toJson(part->place)},
              {"category", isModule ? "MEMORY" : "PROCESSOR"},
              {"fruNumber", toJson(number.fruNumber)},
              {"description", toJson(number.description)}});
  }
  list.end(Json::object());
}

Summary writeExplanations(Table& table, const NextExplanation& next) {
  Summary summary;
  while (const auto explanation = next()) {
    const auto& fields = explanation->fields;
    const auto field = [&](const String& text) { return fields ? Text(text) : std::nullopt; };
    table.add({{String(std::to_string(explanation->line)), String(wordsOf(explanation->result)),
                field(explanation->category.value_or(String())),
                fields ? Text(fields->fruNumber) : std::nullopt,
                fields ? Text(fields->description) : std::nullopt, explanation->reason.words},
               styleOf(explanation->result)});
    summary.count(explanation->result);
  }
  table.end();
  return summary;
}

void writeSummary(std::ostream& out, const Summary& summary) {
  out << '\n'
      << summary.lines << (summary.lines == 1 ? " line: " : " lines: ") << summary.published
      << " published, " << summary.leftOut << " left out, " << summary.ignored << " ignored\n";
}

}  // namespace show
