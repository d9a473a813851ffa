#include "machine_report.h"

#include <cstdlib>

#include "text.h"

using Pegasus::String;

namespace show {

namespace {

constexpr std::size_t labelColumns = 16;

std::optional<String> firstOf(const Told& told) {
  return told.values.empty() ? std::nullopt : told.values.front();
}

std::optional<String> language() {
  const char* value = std::getenv("LANG");
  return value == nullptr ? std::nullopt : std::optional<String>(value);
}

String modelWords(const Machine& machine) {
  if (machine.models.refusal || machine.models.values.empty()) {
    return "unknown";
  }
  return machine.models.values.front().value_or("unknown: the CIM server tells none");
}

String typeWords(const Machine& machine) {
  if (!machine.machineType) {
    return "unknown: morvik fetches nothing";
  }
  if (machine.machineType->size() > 0) {
    return *machine.machineType;
  }
  const std::optional<String> model = firstOf(machine.models);
  // morvik passes over a model that is the first property of its instance.
  return model && model->size() > 0 ? "none: morvik takes no type from this model" : "none";
}

String listWords(const Told& told, const String& unit) {
  if (told.refusal) {
    return "unknown";
  }
  String words;
  for (const std::optional<String>& value : told.values) {
    words += words.size() > 0 ? ", " : "";
    words += value ? (value->size() > 0 ? *value + unit : "no value") : "not told: morvik gives up";
  }
  return words.size() > 0 ? words : "none";
}

String languageWords(const Machine& machine) {
  const String code = machine.languageCode.size() > 0 ? machine.languageCode : "none";
  const std::optional<String> value = language();
  return code + (value ? String(" (LANG is ") + *value + ")" : " (LANG is not set)");
}

void writeList(JsonWriter& json, const char* name, const Told& told) {
  json.key(name);
  if (told.refusal) {
    json.value(std::optional<String>());
    return;
  }
  json.openArray();
  for (const std::optional<String>& value : told.values) {
    json.value(value);
  }
  json.closeArray();
}

}  // namespace

void writeMachine(std::ostream& out, const Terminal& terminal, const Machine& machine) {
  const auto line = [&](const char* label, const String& words) {
    out << styled(Style::bold, padTo(labelColumns, label), terminal) << harmless(words, terminal)
        << '\n';
  };
  line("Model", modelWords(machine));
  line("Machine type", typeWords(machine));
  line("Processors", listWords(machine.clocks, " MHz"));
  line("Memory modules", listWords(machine.memorySizes, " MiB"));
  line("Language code", languageWords(machine));
}

void writeMachine(JsonWriter& json, const Machine& machine) {
  json.openObject();
  json.key("model").value(firstOf(machine.models));
  json.key("machineType").value(machine.machineType);
  writeList(json, "processorClocks", machine.clocks);
  writeList(json, "memorySizes", machine.memorySizes);
  json.key("languageCode").value(machine.languageCode);
  json.key("lang").value(language());
  json.closeObject();
}

}  // namespace show
