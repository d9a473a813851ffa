#include "json.h"

#include <nlohmann/json.hpp>
#include <string_view>

#include "history.h"

using Pegasus::String;

namespace show {

namespace {

// --- the machine ---

Json partJson(const Part& part, bool isModule) {
  Json json;
  for (const PartMember& member : partMembers(isModule)) {
    if (std::string_view(member.name) == "sizeBytes") {
      json["sizeMiB"] = part.amount ? Json(*part.amount >> 20U) : Json();
    }
    std::visit([&](auto value) { json[member.name] = toJson(part.*value); }, member.value);
  }
  return json;
}

// Null for a refusal.
Json partsJson(const Parts& parts, bool areModules, int format) {
  if (parts.refusal) {
    return {};
  }
  Json list = Json::array();
  for (const Part& part : parts.list) {
    list.push_back(format == 1 ? toJson(part.compared) : partJson(part, areModules));
  }
  return list;
}

// --- explanations ---

using Field = String EntryFields::*;

Json explanationJson(const Explanation& explanation, int format) {
  const auto field = [&](Field member) {
    return explanation.fields ? toJson((*explanation.fields).*member) : Json();
  };
  Json json = {{"line", explanation.line},
               {"result", wordsOf(explanation.result)},
               {"reason", explanation.reason.code},
               {"words", toJson(explanation.reason.words)},
               {"category", toJson(explanation.category)},
               {"fruNumber", field(&EntryFields::fruNumber)},
               {"name", field(&EntryFields::name)},
               {"description", field(&EntryFields::description)},
               {"identifyingNumber", toJson(explanation.identifyingNumber)}};
  if (format > 1) {
    Json places = Json::array();
    for (const String& place : explanation.places) {
      places.push_back(place.toUtf8());
    }
    json["places"] = std::move(places);
  }
  return json;
}

}  // namespace

Json toJson(const std::optional<String>& text) {
  return text ? Json(text->toUtf8()) : Json();
}

Json toJson(const std::optional<std::uint64_t>& number) {
  return number ? Json(*number) : Json();
}

const std::vector<PartMember>& partMembers(bool isModule) {
  static const std::vector<PartMember> processor = {{"place", &Part::place},
                                                    {"name", &Part::type},
                                                    {"clockMHz", &Part::amount},
                                                    {"comparedAs", &Part::compared},
                                                    {"maxClockMHz", &Part::maxSpeed},
                                                    {"cores", &Part::cores},
                                                    {"manufacturer", &Part::manufacturer},
                                                    {"partNumber", &Part::partNumber},
                                                    {"serialNumber", &Part::serialNumber}};
  static const std::vector<PartMember> module = {{"place", &Part::place},
                                                 {"locator", &Part::locator},
                                                 {"bank", &Part::bank},
                                                 {"type", &Part::type},
                                                 {"sizeBytes", &Part::amount},
                                                 {"comparedAs", &Part::compared},
                                                 {"speedMHz", &Part::maxSpeed},
                                                 {"manufacturer", &Part::manufacturer},
                                                 {"partNumber", &Part::partNumber},
                                                 {"serialNumber", &Part::serialNumber}};
  return isModule ? module : processor;
}

std::string dump(const Json& json) {
  return json.dump(-1, ' ', true, Json::error_handler_t::replace);
}

Json beginning(const Frame& frame) {
  if (frame.format == 1) {
    return {{"format", 1}};
  }
  return {{"format", frame.format},
          {"program", "morvik-show"},
          {"version", MORVIK_VERSION},
          {"time", timeText(frame.time)},
          {"lastGoodRun", frame.lastGoodRun ? Json(*frame.lastGoodRun) : Json()}};
}

Json toJson(const Entry& entry) {
  return {{"category", toJson(entry.category)},
          {"fruNumber", toJson(entry.fruNumber)},
          {"description", toJson(entry.description)},
          {"identifyingNumber", toJson(entry.identifyingNumber)},
          {"vendor", toJson(entry.vendor)},
          {"revisionLevel", toJson(entry.revisionLevel)},
          {"publishedByMorvik", entry.isOurs},
          {"problem", toJson(entry.problem)}};
}

Json toJson(const Machine& machine, int format) {
  if (format == 1) {
    return {{"model", toJson(machine.model)},
            {"machineType", toJson(machine.machineType)},
            {"processorClocks", partsJson(machine.processors, false, format)},
            {"memorySizes", partsJson(machine.memoryModules, true, format)},
            {"languageCode", toJson(machine.languageCode)},
            {"lang", toJson(machine.language)}};
  }
  return {{"hostName", toJson(machine.hostName)},
          {"manufacturer", toJson(machine.manufacturer)},
          {"model", toJson(machine.model)},
          {"machineType", toJson(machine.machineType)},
          {"serialNumber", toJson(machine.serialNumber)},
          {"languageCode", toJson(machine.languageCode)},
          {"lang", toJson(machine.language)},
          {"processors", partsJson(machine.processors, false, format)},
          {"memoryModules", partsJson(machine.memoryModules, true, format)}};
}

JsonList::JsonList(std::ostream& out, const Json& members, const char* name) : out_(out) {
  std::string begin = dump(members);
  begin.back() = ',';
  out_ << begin << Json(name) << ":[";
}

void JsonList::add(const Json& item) {
  out_ << (isEmpty_ ? "\n" : ",\n") << dump(item);
  isEmpty_ = false;
}

void JsonList::end(const Json& more) {
  out_ << (isEmpty_ ? "]" : "\n]");
  if (more.empty()) {
    out_ << "}\n";
  } else {
    out_ << ',' << dump(more).substr(1) << '\n';
  }
}

void writeJson(std::ostream& out, const Frame& frame, const Machine& machine,
               const std::vector<Entry>& entries) {
  Json members = beginning(frame);
  if (frame.format > 1) {
    members["machine"] = toJson(machine, frame.format);
  }
  JsonList list(out, members, "entries");
  for (const Entry& entry : entries) {
    list.add(toJson(entry));
  }
  list.end(Json::object());
}

void writeMachineJson(std::ostream& out, const Frame& frame, const Machine& machine) {
  Json document = beginning(frame);
  document["machine"] = toJson(machine, frame.format);
  out << dump(document) << '\n';
}

void Summary::count(Result result) {
  ++lines;
  ++(result == Result::published ? published : result == Result::leftOut ? leftOut : ignored);
}

const char* wordsOf(Result result) {
  return result == Result::published ? "published"
         : result == Result::leftOut ? "left out"
                                     : "ignored";
}

Summary writeExplanationsJson(std::ostream& out, const Frame& frame, const Machine& machine,
                              const NextExplanation& next) {
  Summary summary;
  Json members = beginning(frame);
  members["machine"] = toJson(machine, frame.format);
  JsonList list(out, members, "lines");
  while (const auto explanation = next()) {
    list.add(explanationJson(*explanation, frame.format));
    summary.count(explanation->result);
  }
  list.end({{"summary",
             {{"lines", summary.lines},
              {"published", summary.published},
              {"leftOut", summary.leftOut},
              {"ignored", summary.ignored}}}});
  return summary;
}

}  // namespace show
