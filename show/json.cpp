#include "json.h"

#include <nlohmann/json.hpp>

#include "history.h"

using Pegasus::String;

namespace show {

namespace {

Json numberJson(const std::optional<std::uint64_t>& number) {
  return number ? Json(*number) : Json();
}

// --- the machine ---

Json processorJson(const Part& part) {
  return {{"place", toJson(part.place)},
          {"name", toJson(part.type)},
          {"clockMHz", numberJson(part.amount)},
          {"comparedAs", toJson(part.compared)},
          {"maxClockMHz", numberJson(part.maxSpeed)},
          {"cores", numberJson(part.cores)},
          {"manufacturer", toJson(part.manufacturer)},
          {"partNumber", toJson(part.partNumber)},
          {"serialNumber", toJson(part.serialNumber)}};
}

Json moduleJson(const Part& part) {
  return {{"place", toJson(part.place)},
          {"locator", toJson(part.locator)},
          {"bank", toJson(part.bank)},
          {"type", toJson(part.type)},
          {"sizeMiB", part.amount ? Json(*part.amount >> 20U) : Json()},
          {"sizeBytes", numberJson(part.amount)},
          {"comparedAs", toJson(part.compared)},
          {"speedMHz", numberJson(part.maxSpeed)},
          {"manufacturer", toJson(part.manufacturer)},
          {"partNumber", toJson(part.partNumber)},
          {"serialNumber", toJson(part.serialNumber)}};
}

// Null for a refusal.
Json partsJson(const Parts& parts, const std::function<Json(const Part&)>& partJson) {
  if (parts.refusal) {
    return {};
  }
  Json list = Json::array();
  for (const Part& part : parts.list) {
    list.push_back(partJson(part));
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
    const auto compared = [](const Part& part) { return toJson(part.compared); };
    return {{"model", toJson(machine.model)},
            {"machineType", toJson(machine.machineType)},
            {"processorClocks", partsJson(machine.processors, compared)},
            {"memorySizes", partsJson(machine.memoryModules, compared)},
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
          {"processors", partsJson(machine.processors, processorJson)},
          {"memoryModules", partsJson(machine.memoryModules, moduleJson)}};
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
