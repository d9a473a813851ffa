#include "report.h"

#include <algorithm>
#include <ctime>

namespace run {

namespace {

Json countOf(const std::optional<Items>& items) {
  return items ? Json(items->size()) : Json();
}

Json textOrNull(const std::string& text) {
  return text.empty() ? Json() : Json(text);
}

// What there is at the end, or would be.
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

std::string countWords(std::size_t count, const std::string& rest) {
  return std::to_string(count) + (count == 1 ? " entry" : " entries") + rest;
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
  const std::string what = countWords(report.predicted->size(), " of ") + report.source;
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

std::string dump(const Json& json) {
  return json.dump(-1, ' ', true, Json::error_handler_t::replace);
}

}  // namespace run
