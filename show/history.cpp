#include "history.h"

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <stdexcept>

using Pegasus::String;

namespace show {

namespace {

constexpr std::chrono::hours longestSilence{48};

// Of a file that another program has written: anything may be missing, or of another type.
std::string textOf(const Json& object, const char* member) {
  const auto found = object.find(member);
  return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

std::string clean(const std::string& text, const Terminal& terminal) {
  return sanitized(String(text), terminal);
}

// The items of a list in a change that are objects.
std::vector<Json> itemsOf(const Json& change, const char* member) {
  std::vector<Json> items;
  const auto found = change.find(member);
  if (found != change.end() && found->is_array()) {
    std::copy_if(found->begin(), found->end(), std::back_inserter(items),
                 [](const Json& item) { return item.is_object(); });
  }
  return items;
}

void addRows(Table& table, const Json& change, const char* member, Style style) {
  for (const Json& item : itemsOf(change, member)) {
    table.add({{String(textOf(change, "time")), String(textOf(change, "source")), String(member),
                String(textOf(item, "category")), String(textOf(item, "fruNumber")),
                String(textOf(item, "description"))},
               style});
  }
}

void writeItems(std::ostream& out, const Terminal& terminal, const Json& change, const char* member,
                char sign, Style style) {
  for (const Json& item : itemsOf(change, member)) {
    const std::string line = std::string("  ") + sign + " " +
                             padTo(11, clean(textOf(item, "category"), terminal)) +
                             padTo(12, clean(textOf(item, "fruNumber"), terminal)) +
                             clean(textOf(item, "description"), terminal);
    out << styled(style, cutTo(terminal.columns, line, terminal), terminal) << '\n';
  }
}

// Anything but an object if there is no status file, or it cannot be read.
Json statusIn(const std::string& stateDirectory) {
  std::ifstream file(stateDirectory + "/" + statusFile);
  return Json::parse(file, nullptr, false);
}

// Empty if it is missing.
Json memberOf(const Json& status, const char* name) {
  const auto found = status.find(name);
  return found != status.end() && found->is_object() ? *found : Json::object();
}

}  // namespace

// By the calendar of <chrono>: time_t ends in 2038 where it has 32 bits.
std::string timeText(std::chrono::system_clock::time_point time) {
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(std::chrono::floor<std::chrono::seconds>(time - day));
  std::tm parts = {};
  parts.tm_year = static_cast<int>(date.year()) - 1900;
  parts.tm_mon = static_cast<int>(static_cast<unsigned>(date.month())) - 1;
  parts.tm_mday = static_cast<int>(static_cast<unsigned>(date.day()));
  parts.tm_hour = static_cast<int>(clock.hours().count());
  parts.tm_min = static_cast<int>(clock.minutes().count());
  parts.tm_sec = static_cast<int>(clock.seconds().count());
  char text[32];
  return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

std::optional<std::chrono::system_clock::time_point> timeIn(const std::string& text) {
  std::tm parts = {};
  const char* end = strptime(text.c_str(), "%Y-%m-%dT%H:%M:%SZ", &parts);
  // The clock counts nanoseconds, which end in 2262.
  if (end == nullptr || *end != '\0' || parts.tm_year < 0 || parts.tm_year >= 300) {
    return std::nullopt;
  }
  const std::chrono::year_month_day date(
      std::chrono::year(parts.tm_year + 1900),
      std::chrono::month(static_cast<unsigned>(parts.tm_mon) + 1),
      std::chrono::day(static_cast<unsigned>(parts.tm_mday)));
  return std::chrono::sys_days(date) + std::chrono::hours(parts.tm_hour) +
         std::chrono::minutes(parts.tm_min) + std::chrono::seconds(parts.tm_sec);
}

std::optional<std::string> lastGoodRun(const std::string& stateDirectory) {
  const Json status = statusIn(stateDirectory);
  const std::string finished =
      status.is_object() ? textOf(memberOf(status, "good"), "finished") : "";
  return timeIn(finished) ? std::optional(finished) : std::nullopt;
}

std::optional<std::string> noteAbout(const std::string& stateDirectory,
                                     std::chrono::system_clock::time_point now) {
  const Json status = statusIn(stateDirectory);
  if (!status.is_object()) {
    return std::nullopt;
  }
  const std::string last = textOf(memberOf(status, "last"), "message");
  const auto good = lastGoodRun(stateDirectory);
  if (good && now - *timeIn(*good) <= longestSilence) {
    return std::nullopt;
  }
  return (good ? "the last good run of morvik-run was at " + *good
               : std::string("no run of morvik-run was good yet")) +
         (last.empty() ? "" : "; the last one: " + last);
}

Columns historyColumns() {
  return {{"time", "TIME"},         {"source", "SOURCE"},        {"change", "CHANGE"},
          {"category", "CATEGORY"}, {"fruNumber", "FRU NUMBER"}, {"description", "DESCRIPTION"}};
}

std::size_t writeHistory(std::ostream& out, const Terminal& terminal,
                         const std::string& stateDirectory, const std::optional<Frame>& json,
                         const std::optional<TableForm>& form) {
  const std::string name = stateDirectory + "/" + historyFile;
  std::ifstream file(name);
  std::error_code error;
  const bool isMissing = !std::filesystem::exists(name, error) && !error;
  // Every run may have found what was published before.
  if (!file.good() && !(isMissing && std::filesystem::is_directory(stateDirectory, error))) {
    throw std::runtime_error("there is no history: cannot read " + name);
  }
  std::size_t count = 0;
  std::optional<JsonList> list;
  if (json) {
    list.emplace(out, beginning(*json), "changes");
  }
  std::optional<Table> table;
  if (form) {
    table.emplace(out, terminal, *form, historyColumns());
  }
  for (std::string line; std::getline(file, line);) {
    const Json change = Json::parse(line, nullptr, false);
    if (!change.is_object()) {
      continue;
    }
    if (list) {
      list->add(change);
    } else if (table) {
      addRows(*table, change, "removed", Style::faint);
      addRows(*table, change, "added", Style::plain);
    } else {
      out << styled(Style::bold, clean(textOf(change, "time"), terminal), terminal) << "  "
          << clean(textOf(change, "source"), terminal) << '\n';
      writeItems(out, terminal, change, "removed", '-', Style::faint);
      writeItems(out, terminal, change, "added", '+', Style::plain);
    }
    ++count;
  }
  if (list) {
    list->end(Json::object());
  } else if (table) {
    table->end();
  }
  return count;
}

}  // namespace show
