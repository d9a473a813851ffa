#include "history.h"

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <vector>

using Pegasus::String;

namespace show {

namespace {

// Both are of files that another program has written: anything may be missing, or of another type.
Json memberOf(const Json& object, const char* name) {
  const auto found = object.find(name);
  return found != object.end() ? *found : Json();
}

std::vector<Json> objectsIn(const Json& list) {
  std::vector<Json> objects;
  for (const Json& item : list) {
    if (list.is_array() && item.is_object()) {
      objects.push_back(item);
    }
  }
  return objects;
}

// Anything but an object if there is no status file, or it cannot be read.
Json statusIn(const std::string& stateDirectory) {
  std::ifstream file(stateDirectory + "/" + statusFile);
  return Json::parse(file, nullptr, false);
}

std::vector<Json> changesIn(const std::string& stateDirectory) {
  const std::string name = stateDirectory + "/" + historyFile;
  std::ifstream file(name);
  std::error_code error;
  const bool isMissing = !std::filesystem::exists(name, error) && !error;
  // Every run may have found what was published before.
  if (!file.good() && !(isMissing && std::filesystem::is_directory(stateDirectory, error))) {
    throw std::runtime_error("there is no history: cannot read " + name);
  }
  Json changes = Json::array();
  for (std::string line; std::getline(file, line);) {
    changes.push_back(Json::parse(line, nullptr, false));
  }
  return objectsIn(changes);
}

// A text in a file, as it is shown to people.
std::string clean(const Output& output, const Json& object, const char* member) {
  return sanitized(String(textIn(object, member)), output.terminal);
}

void writeItems(const Output& output, const Json& change, const char* member, const char* sign,
                Style style) {
  for (const Json& item : objectsIn(memberOf(change, member))) {
    const std::string line = sign + padTo(11, clean(output, item, "category")) +
                             padTo(12, clean(output, item, "fruNumber")) +
                             clean(output, item, "description");
    output.out << styled(style, cutTo(output.terminal.columns, line, output.terminal),
                         output.terminal)
               << '\n';
  }
}

void writeTable(const Output& output, const std::vector<Json>& changes) {
  Table table(output, historyColumns());
  for (const Json& change : changes) {
    for (const char* member : {"removed", "added"}) {
      for (const Json& item : objectsIn(memberOf(change, member))) {
        table.add({{String(textIn(change, "time")), String(textIn(change, "source")),
                    String(member), String(textIn(item, "category")),
                    String(textIn(item, "fruNumber")), String(textIn(item, "description"))},
                   member[0] == 'r' ? Style::faint : Style::plain});
      }
    }
  }
  table.end();
}

}  // namespace

std::optional<std::string> lastGoodRun(const std::string& stateDirectory) {
  const std::string finished = textIn(memberOf(statusIn(stateDirectory), "good"), "finished");
  return timeIn(finished) ? std::optional(finished) : std::nullopt;
}

std::optional<std::string> noteAbout(const std::string& stateDirectory,
                                     std::chrono::system_clock::time_point now) {
  const Json status = statusIn(stateDirectory);
  const auto good = lastGoodRun(stateDirectory);
  if (!status.is_object() || (good && now - *timeIn(*good) <= longestSilence)) {
    return std::nullopt;
  }
  const std::string last = textIn(memberOf(status, "last"), "message");
  return (good ? "the last good run of morvik-run was at " + *good
               : std::string("no run of morvik-run was good yet")) +
         (last.empty() ? "" : "; the last one: " + last);
}

Columns historyColumns() {
  return {{"time", "TIME"},         {"source", "SOURCE"},        {"change", "CHANGE"},
          {"category", "CATEGORY"}, {"fruNumber", "FRU NUMBER"}, {"description", "DESCRIPTION"}};
}

std::size_t writeHistory(const Output& output, const std::string& stateDirectory) {
  const std::vector<Json> changes = changesIn(stateDirectory);
  if (output.json) {
    JsonList list(output.out, beginning(*output.json), "changes");
    for (const Json& change : changes) {
      list.add(change);
    }
    list.end();
  } else if (output.form.isCsv || !output.form.columns.empty()) {
    writeTable(output, changes);
  } else {
    for (const Json& change : changes) {
      output.out << styled(Style::bold, clean(output, change, "time"), output.terminal) << "  "
                 << clean(output, change, "source") << '\n';
      writeItems(output, change, "removed", "  - ", Style::faint);
      writeItems(output, change, "added", "  + ", Style::plain);
    }
  }
  return changes.size();
}

}  // namespace show
