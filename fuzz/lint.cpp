// Checks a FRU data file as morvik-lint does. Findings are inside the file; and each entry of a
// file without errors is published, as it is written, on the machine that its condition is for.
#include <stdlib.h>
#include <utf8.h>

#include <algorithm>
#include <array>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "checker.h"
#include "cim/machine.h"
#include "cim/selection.h"
#include "explainer.h"
#include "fake_client.h"
#include "support/check.h"

namespace {

using fuzz::require;
using Pegasus::CIMClient;
using Pegasus::CIMProperty;
using Pegasus::CIMValue;
using Pegasus::String;
using Pegasus::Uint32;
using Pegasus::Uint64;

std::vector<std::string_view> splitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  for (std::size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
    lines.push_back(text.substr(0, end));
    text.remove_prefix(end + 1);
  }
  lines.push_back(text);
  return lines;
}

// The characters of a line; if it is not UTF-8, its bytes.
std::size_t lengthOf(std::string_view line) {
  return utf8::is_valid(line.begin(), line.end())
             ? static_cast<std::size_t>(utf8::distance(line.begin(), line.end()))
             : line.size();
}

// Returns whether there is an error.
bool checkFindings(std::string_view text) {
  const auto lines = splitLines(text);
  bool hasError = false;
  lint::check(std::string(text), [&](const lint::Finding& finding) {
    require(finding.line >= 1 && finding.line <= lines.size(), "the line is one of the file");
    require(finding.column >= 1 && finding.column <= lengthOf(lines[finding.line - 1]) + 1,
            "the column is in the line, or after it");
    require(finding.code[0] != '\0' && finding.text.size() > 0, "a finding has a code and words");
    hasError = hasError || finding.severity == lint::Severity::error;
  });
  return hasError;
}

// The four texts of "a","b","c","d", after blanks or a byte order mark.
std::optional<std::array<std::u16string_view, 4>> fieldsOf(std::u16string_view line) {
  line.remove_prefix(std::min(line.find(u'"'), line.size()));
  std::array<std::u16string_view, 4> fields;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const std::size_t end = line.starts_with(u'"') ? line.find(u'"', 1) : line.npos;
    if (end == line.npos) {
      return std::nullopt;
    }
    fields[i] = line.substr(1, end - 1);
    line.remove_prefix(end + 1);
    if (i < 3 && !line.starts_with(u',')) {
      return std::nullopt;
    }
    line.remove_prefix(i < 3 ? 1 : 0);
  }
  return fields;
}

// The number after the token in the condition.
template <typename Number>
Number numberIn(std::u16string_view condition, std::u16string_view token) {
  Number number = 0;
  const std::size_t begin = condition.find(token);
  require(begin != condition.npos, "the condition has its token");
  for (const char16_t unit : condition.substr(begin + token.size())) {
    number = number * 10 + static_cast<Number>(unit - u'0');
  }
  return number;
}

// A machine that meets the condition, and has nothing else.
void setUpMachine(std::u16string_view category, std::u16string_view condition) {
  fakeServer = {};
  fakeServer.classes["KVAXDT_ComputerSystemDetails"] = {};
  fakeServer.classes["KVAXDT_Processor"] = {};
  fakeServer.classes["KVAXDT_PhysicalMemory"] = {};
  setenv("LANG", "C", 1);
  if (category == u"PROCESSOR") {
    const auto clock = numberIn<Uint32>(condition, u"SPEED=");
    fakeServer.classes["KVAXDT_Processor"] = {
        instanceWith("KVAXDT_Processor", {CIMProperty("CurrentClockSpeed", CIMValue(clock))})};
  } else if (category == u"MEMORY") {
    const auto size = numberIn<Uint64>(condition, u"SIZE=");
    fakeServer.classes["KVAXDT_PhysicalMemory"] = {
        instanceWith("KVAXDT_PhysicalMemory", {CIMProperty("Capacity", CIMValue(size << 20U))})};
  } else if (category == u"KEYBOARD") {
    const std::size_t begin = condition.find(u"LANGUAGE=") + 9;
    const std::string code = String(std::u16string(condition.substr(begin))).toUtf8();
    setenv("LANG", code.empty() ? "C" : (code + "_XX").c_str(), 1);
  }
}

void checkPublished(CIMClient& client, std::string_view text, std::uint64_t number,
                    const std::array<std::u16string_view, 4>& fields) {
  setUpMachine(fields[1], fields[2]);
  const show::Machine machine = show::readMachine(client);
  show::Explainer explainer(client, machine);
  std::istringstream file{std::string(text)};
  String line;
  for (LineRead read = readAnyLine(file, line); read != LineRead::end;
       read = readAnyLine(file, line)) {
    const show::Explanation explanation = explainer.explain(read, line);
    if (explanation.line == number) {
      require(explanation.result == show::Result::published,
              "an entry without errors is published");
      require(explanation.entry->fruNumber->view() == fields[0] &&
                  explanation.entry->category->view() == fields[1] &&
                  explanation.entry->description->view() == fields[3],
              "an entry is published as it is written");
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Each entry is tried with the whole file.
  constexpr std::size_t mostEntries = 8;
  const std::string_view text = fuzz::asText(data, size);
  const fuzz::ResourceLimit limit({std::size_t{1} << 20U, 1024}, {1'000'000, 20'000}, size);
  if (checkFindings(text)) {
    return 0;
  }
  CIMClient client(1);
  std::istringstream file{std::string(text)};
  String line;
  std::uint64_t number = 0;
  std::size_t entries = 0;
  for (LineRead read = readAnyLine(file, line); read != LineRead::end && entries < mostEntries;
       read = readAnyLine(file, line)) {
    ++number;
    require(read == LineRead::complete, "a file without errors is read to its end");
    if (show::recognise(read, line).category) {
      const auto fields = fieldsOf(line.view());
      require(fields.has_value(), "an entry without errors has four fields in double quotes");
      checkPublished(client, text, number, *fields);
      ++entries;
    }
  }
  require(entries > 0, "a file without errors has an entry");
  return 0;
}
