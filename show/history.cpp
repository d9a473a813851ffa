#include "history.h"

#include <ctime>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

using Pegasus::String;

namespace show {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::chrono::hours longestSilence{48};

// Of a file that another program has written: anything may be missing, or of another type.
std::string textOf(const Json& object, const char* member) {
  const auto found = object.find(member);
  return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

std::string clean(const std::string& text, const Terminal& terminal) {
  return sanitized(String(text), terminal);
}

void writeItems(std::ostream& out, const Terminal& terminal, const Json& change, const char* member,
                char sign, Style style) {
  const auto items = change.find(member);
  if (items == change.end() || !items->is_array()) {
    return;
  }
  for (const Json& item : *items) {
    if (item.is_object()) {
      const std::string line = std::string("  ") + sign + " " +
                               padTo(11, clean(textOf(item, "category"), terminal)) +
                               padTo(12, clean(textOf(item, "fruNumber"), terminal)) +
                               clean(textOf(item, "description"), terminal);
      out << styled(style, cutTo(terminal.columns, line, terminal), terminal) << '\n';
    }
  }
}

}  // namespace

std::optional<std::chrono::system_clock::time_point> timeIn(const std::string& text) {
  std::tm parts = {};
  const char* end = strptime(text.c_str(), "%Y-%m-%dT%H:%M:%SZ", &parts);
  if (end == nullptr || *end != '\0') {
    return std::nullopt;
  }
  return std::chrono::system_clock::from_time_t(timegm(&parts));
}

std::optional<std::string> noteAbout(const std::string& stateDirectory,
                                     std::chrono::system_clock::time_point now) {
  std::ifstream file(stateDirectory + "/" + statusFile);
  const Json status = Json::parse(file, nullptr, false);
  if (!status.is_object()) {
    return std::nullopt;
  }
  const auto member = [&](const char* name) {
    const auto found = status.find(name);
    return found != status.end() && found->is_object() ? *found : Json::object();
  };
  const std::string last = textOf(member("last"), "message");
  const auto good = timeIn(textOf(member("good"), "finished"));
  if (good && now - *good <= longestSilence) {
    return std::nullopt;
  }
  return (good ? "the last good run of morvik-run was at " + textOf(member("good"), "finished")
               : std::string("no run of morvik-run was good yet")) +
         (last.empty() ? "" : "; the last one: " + last);
}

std::size_t writeHistory(std::ostream& out, const Terminal& terminal,
                         const std::string& stateDirectory, bool isJson) {
  const std::string name = stateDirectory + "/" + historyFile;
  std::ifstream file(name);
  std::error_code error;
  const bool isMissing = !std::filesystem::exists(name, error) && !error;
  // Every run may have found what was published before.
  if (!file.good() && !(isMissing && std::filesystem::is_directory(stateDirectory, error))) {
    throw std::runtime_error("there is no history: cannot read " + name);
  }
  std::size_t count = 0;
  out << (isJson ? "{\"format\":1,\"changes\":[" : "");
  for (std::string line; std::getline(file, line);) {
    const Json change = Json::parse(line, nullptr, false);
    if (!change.is_object()) {
      continue;
    }
    if (isJson) {
      out << (count == 0 ? "\n" : ",\n")
          << change.dump(-1, ' ', true, Json::error_handler_t::replace);
    } else {
      out << styled(Style::bold, clean(textOf(change, "time"), terminal), terminal) << "  "
          << clean(textOf(change, "source"), terminal) << '\n';
      writeItems(out, terminal, change, "removed", '-', Style::faint);
      writeItems(out, terminal, change, "added", '+', Style::plain);
    }
    ++count;
  }
  out << (isJson ? "]}\n" : "");
  return count;
}

}  // namespace show
