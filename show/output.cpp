#include "output.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

using Pegasus::String;

namespace show {

namespace {

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

// A document whose only other member is the machine.
Json documentOf(const Output& output, const Machine& machine) {
  Json document = beginning(*output.json);
  document["machine"] = toJson(machine, output.json->format);
  return document;
}

void writeWords(const Output& output, const Machine& machine) {
  const Terminal& terminal = output.terminal;
  const auto line = [&](const char* label, const Text& words) {
    if (!words) {
      return;
    }
    const std::size_t room = std::max(terminal.columns, 2 * labelColumns) - labelColumns;
    std::string begin = styled(Style::bold, padTo(labelColumns, label), terminal);
    for (const std::string& part :
         wrapTo(terminal.columns == 0 ? 0 : room, sanitized(*words, terminal))) {
      output.out << begin << part << '\n';
      begin.assign(labelColumns, ' ');
    }
  };
  line("Host name", machine.hostName);
  line("Model", modelWords(machine));
  line("Machine type", machineTypeWords(machine));
  line("Serial number", machine.serialNumber);
  line("Processors", groupWords(machine.processors));
  line("Memory modules", groupWords(machine.memoryModules));
  line("Language code", languageWords(machine));
}

// --- explanations ---

// How a result is written, and where it is counted.
struct ResultRow {
  const char* words;
  Style style;
  std::uint64_t Summary::*count;
};

const ResultRow& rowOf(Result result) {
  static constexpr ResultRow rows[] = {{"published", Style::green, &Summary::published},
                                       {"left out", Style::yellow, &Summary::leftOut},
                                       {"ignored", Style::faint, &Summary::ignored}};
  return rows[static_cast<std::size_t>(result)];
}

Json explanationJson(const Explanation& explanation, int format) {
  const Entry entry = explanation.entry.value_or(Entry());
  Json json = {{"line", explanation.line},
               {"result", rowOf(explanation.result).words},
               {"reason", explanation.reason.code},
               {"words", toJson(explanation.reason.words)},
               {"category", toJson(explanation.category)},
               {"fruNumber", toJson(entry.fruNumber)},
               {"name", toJson(entry.category)},
               {"description", toJson(entry.description)},
               {"identifyingNumber", toJson(entry.identifyingNumber)}};
  if (format > 1) {
    json["places"] = Json::array();
    for (const String& place : explanation.places) {
      json["places"].push_back(place.toUtf8());
    }
  }
  return json;
}

Table::Row explanationRow(const Explanation& explanation) {
  const auto& entry = explanation.entry;
  const ResultRow& result = rowOf(explanation.result);
  return {{String(std::to_string(explanation.line)), String(result.words),
           entry ? explanation.category : Text(), entry ? entry->fruNumber : Text(),
           entry ? entry->description : Text(), explanation.reason.words},
          result.style};
}

// Calls `write` with each.
template <typename Write>
Summary countAll(const NextExplanation& next, const Write& write) {
  Summary summary;
  while (const auto explanation = next()) {
    write(*explanation);
    ++summary.lines;
    ++(summary.*rowOf(explanation->result).count);
  }
  return summary;
}

}  // namespace

String partWords(const Part& part) {
  if (!part.compared) {
    return "missing: morvik stops here";
  }
  if (!part.isModule) {
    return part.compared->size() > 0 ? *part.compared + " MHz" : "no value";
  }
  if (!part.amount) {
    return *part.compared == "0" ? "no value" : *part.compared + " MiB";
  }
  return sizeWords(*part.amount);
}

Text typeWords(const Part& part) {
  Text words = part.type;
  const auto add = [&](const String& more) { words = words ? *words + ", " + more : more; };
  if (part.isModule && part.maxSpeed) {
    add(numbered(*part.maxSpeed, "MHz"));
  }
  if (part.cores) {
    add(String(counted(*part.cores, "core", "cores")));
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

void writeList(const Output& output, bool withVendor, const Machine& machine,
               const std::vector<Entry>& entries) {
  if (output.json) {
    JsonList list(output.out,
                  output.json->format > 1 ? documentOf(output, machine) : beginning(*output.json),
                  "entries");
    for (const Entry& entry : entries) {
      list.add(toJson(entry));
    }
    return list.end();
  }
  Table table(output, listColumns(withVendor));
  for (const Entry& entry : entries) {
    const Style style = entry.isOurs ? Style::plain : Style::faint;
    const bool isReplaced = entry.problem && !output.form.isCsv;
    const Text description =
        isReplaced ? String("(cannot be read: ") + *entry.problem + ")" : entry.description;
    table.add({{entry.category, entry.fruNumber, description, entry.identifyingNumber, entry.vendor,
                entry.revisionLevel, String(entry.isOurs ? "true" : "false"), entry.problem},
               entry.problem ? Style::yellow : style,
               isReplaced});
  }
  table.end();
}

String groupWords(const Parts& parts) {
  if (parts.refusal) {
    return "unknown";
  }
  std::vector<std::pair<String, std::size_t>> groups;
  for (const Part& part : parts.list) {
    String words = partWords(part);
    const String compared = part.compared.value_or(String()) + " MiB";
    if (part.isModule && part.amount && words != compared) {
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

void writeMachine(const Output& output, const Machine& machine) {
  if (output.json) {
    output.out << dump(documentOf(output, machine)) << '\n';
    return;
  }
  const bool isOnlyTable = output.form.isCsv || !output.form.columns.empty();
  const std::vector<const Part*> parts = machine.parts();
  if (!isOnlyTable) {
    writeWords(output, machine);
    output.out << (parts.empty() ? "" : "\n");
  }
  if (parts.empty() && !isOnlyTable) {
    return;
  }
  Table table(output, machineColumns());
  for (const Part* part : parts) {
    table.add({{part->place, partWords(*part), typeWords(*part), part->compared, part->bank,
                part->manufacturer, part->partNumber, part->serialNumber}});
  }
  table.end();
}

Columns numberColumns() {
  return {{"place", "PLACE"},
          {"part", "PART"},
          {"fruNumber", "FRU NUMBER"},
          {"description", "DESCRIPTION"}};
}

void writeNumbers(const Output& output, const Machine& machine,
                  const std::vector<PartNumber>& numbers) {
  if (output.json) {
    JsonList list(output.out, documentOf(output, machine), "numbers");
    for (const PartNumber& number : numbers) {
      list.add({{"place", toJson(number.part->place)},
                {"category", number.part->isModule ? "MEMORY" : "PROCESSOR"},
                {"fruNumber", toJson(number.fruNumber)},
                {"description", toJson(number.description)}});
    }
    return list.end();
  }
  Output withoutHeadings = output;
  withoutHeadings.form.hasHeadings = output.form.hasHeadings && output.form.isCsv;
  Table table(withoutHeadings, numberColumns());
  for (const PartNumber& number : numbers) {
    table.add({{number.part->place, partWords(*number.part), number.fruNumber, number.description},
               Style::plain,
               true});
  }
  table.end();
}

Summary writeExplanations(const Output& output, const Machine& machine,
                          const NextExplanation& next) {
  if (output.json) {
    JsonList list(output.out, documentOf(output, machine), "lines");
    const Summary summary = countAll(next, [&](const Explanation& explanation) {
      list.add(explanationJson(explanation, output.json->format));
    });
    list.end({{"summary",
               {{"lines", summary.lines},
                {"published", summary.published},
                {"leftOut", summary.leftOut},
                {"ignored", summary.ignored}}}});
    return summary;
  }
  Table table(output, explanationColumns());
  const Summary summary = countAll(
      next, [&](const Explanation& explanation) { table.add(explanationRow(explanation)); });
  table.end();
  if (!output.form.isCsv) {
    output.out << '\n'
               << counted(summary.lines, "line: ", "lines: ") << summary.published << " published, "
               << summary.leftOut << " left out, " << summary.ignored << " ignored\n";
  }
  return summary;
}

}  // namespace show
