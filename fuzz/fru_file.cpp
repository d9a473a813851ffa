// Reads a FRU data file: its lines, their fields, whether they fit the machine, and a whole import.
// The first byte of the input chooses the language.
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <optional>
#include <sstream>
#include <vector>

#include "cim/selection.h"
#include "fake_client.h"
#include "import/fru_file.h"
#include "import/import.h"
#include "support/check.h"
#include "work_directory.h"

namespace {

using fuzz::require;
using Pegasus::CIMClient;
using Pegasus::CIMProperty;
using Pegasus::CIMValue;
using Pegasus::String;
using Pegasus::Uint32;
using Pegasus::Uint64;

// The lines of a file, read in another way.
std::vector<String> splitLines(std::string_view text) {
  constexpr std::size_t longest = 255;
  std::vector<String> lines;
  for (std::size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
    const std::string_view line = text.substr(0, end);
    if (line.size() <= longest) {
      lines.emplace_back(line.substr(0, line.find('\0')));
    }
    text.remove_prefix(end + 1);
  }
  return lines;
}

std::vector<String> readLines(std::string_view text) {
  std::istringstream file{std::string(text)};
  std::vector<String> lines;
  String line;
  while (readLine(file, line)) {
    lines.push_back(line);
  }
  return lines;
}

// The four texts of a well-formed line: "a","b","c","d" and anything after them.
std::optional<std::array<std::u16string_view, 4>> fieldsOf(std::u16string_view line) {
  constexpr std::array<std::u16string_view, 4> ends{u"\",\"", u"\",\"", u"\",\"", u"\""};
  std::array<std::u16string_view, 4> fields;
  if (!line.starts_with(u'"')) {
    return std::nullopt;
  }
  line.remove_prefix(1);
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const std::size_t end = line.find(u'"');
    if (end == std::u16string_view::npos || !line.substr(end).starts_with(ends[i])) {
      return std::nullopt;
    }
    fields[i] = line.substr(0, end);
    line.remove_prefix(end + ends[i].size());
  }
  const bool hasComma = fields[0].find(u',') != std::u16string_view::npos ||
                        fields[1].find(u',') != std::u16string_view::npos;
  return hasComma ? std::nullopt : std::optional(fields);
}

void checkCuts(const String& line) {
  const EntryFields fields = cutEntryFields(line);
  const String token = cutCategoryToken(line);
  for (const String* cut : {&fields.fruNumber, &fields.name, &fields.description, &token}) {
    require(line.view().find(cut->view()) != std::u16string_view::npos,
            "a cut lies inside the line");
  }
  if (const auto expected = fieldsOf(line.view())) {
    require(fields.fruNumber.view() == (*expected)[0], "the FRU number of a good line");
    require(fields.name.view() == (*expected)[1] && token.view() == (*expected)[1],
            "the category of a good line");
    require(fields.description.view() == (*expected)[3], "the description of a good line");
  }
}

// The import's decision, written a second time, since the oracle must not share its mistakes.
bool fits(CIMClient& client, Category category, const String& line) {
  switch (category) {
    case Category::processor:
      return getProcessorSpeedQualifier(client, line);
    case Category::memory:
      return getMemorySizeQualifier(client, line);
    case Category::keyboard:
      return getLanguageQualifier(line);
    default:
      return true;
  }
}

// The descriptions of the entries that an import must publish.
std::vector<String> expectedEntries(CIMClient& client, const std::vector<String>& lines) {
  std::vector<String> entries;
  bool hasPlanar = false;
  bool hasCdrom = false;
  for (const String& line : lines) {
    checkCuts(line);
    const auto category = findCategory(cutCategoryToken(line));
    if (isComment(line) || !category) {
      continue;
    }
    const bool isFitting = fits(client, *category, line);
    require(isFitting == fits(client, *category, line), "a line fits, or it does not");
    const bool isRepeated =
        (*category == Category::planar && hasPlanar) || (*category == Category::cdrom && hasCdrom);
    hasPlanar = hasPlanar || *category == Category::planar;
    hasCdrom = hasCdrom || *category == Category::cdrom;
    if (isFitting && !isRepeated) {
      entries.push_back(cutEntryFields(line).description);
    }
  }
  return entries;
}

void setUpMachine() {
  fakeServer = {};
  fakeServer.classes["KVAXDT_Processor"] = {
      instanceWith("KVAXDT_Processor", {CIMProperty("CurrentClockSpeed", CIMValue(Uint32{2400}))}),
      instanceWith("KVAXDT_Processor", {CIMProperty("CurrentClockSpeed", CIMValue(Uint32{800}))})};
  fakeServer.classes["KVAXDT_PhysicalMemory"] = {instanceWith(
      "KVAXDT_PhysicalMemory", {CIMProperty("Capacity", CIMValue(Uint64{512} << 20U))})};
}

void writeFile(std::string_view text) {
  const int file = open("fru.txt", O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  require(file >= 0 && write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size()),
          "fru.txt can be written");
  close(file);
}

void checkImport(CIMClient& client, std::string_view text, const std::vector<String>& expected) {
  {
    const WorkDirectory directory;
    writeFile(text);
    importFruFile(client);
  }
  require(fakeServer.published.size() == expected.size(), "every entry that fits is published");
  std::size_t i = 0;
  for (const auto& [number, instance] : fakeServer.published) {
    const Uint32 position = instance.findProperty("Description");
    require(instance.getProperty(position).getValue().toString() == expected[i++],
            "entries are published in the order of their lines");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::array languages{"", "C", "en_US.UTF-8", "de", "JA_JP", "zh_CN.UTF-8"};
  std::string_view text = fuzz::asText(data, size);
  setenv("LANG", languages[fuzz::takeByte(text) % languages.size()], 1);
  setUpMachine();
  CIMClient client(1);
  const fuzz::ResourceLimit limit({std::size_t{1} << 20U, 512}, {200'000, 1'000}, size);
  const std::vector<String> lines = readLines(text);
  require(lines == splitLines(text), "the lines are those of the file");
  checkImport(client, text, expectedEntries(client, lines));
  return 0;
}
