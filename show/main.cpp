#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <clocale>
#include <exception>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>

#include "cim/client.h"
#include "difference.h"
#include "entries.h"
#include "explainer.h"
#include "file.h"
#include "fleet.h"
#include "history.h"
#include "import/fru_file.h"
#include "inventory.h"
#include "machine.h"
#include "options.h"
#include "output.h"
#include "text.h"

using Pegasus::CIMClient;
using Pegasus::String;

using namespace show;

namespace {

void complain(const String& message) {
  std::cerr << "morvik-show: " << sanitized(message, terminalOf(STDERR_FILENO)) << std::endl;
}

// Another server does not describe this host, and the state directory has no runs of its host.
bool hasState(const Options& options) {
  return !options.isServerGiven || options.isStateGiven;
}

Frame frameOf(const Options& options) {
  return {options.format, std::chrono::system_clock::now(),
          hasState(options) ? lastGoodRun(options.state) : std::nullopt};
}

Machine readWholeMachine(CIMClient& client, const Options& options) {
  Machine machine = readMachine(client);
  addDetails(client, machine);
  std::array<char, HOST_NAME_MAX + 1> name{};
  if (!machine.hostName && !options.isServerGiven &&
      gethostname(name.data(), name.size() - 1) == 0) {
    machine.hostName = String(name.data());
  }
  return machine;
}

// Whether the category is one of those asked for, and one of the texts has what is looked for.
bool isWanted(const Options& options, const Text& category, std::initializer_list<Text> texts) {
  const auto& names = options.categories;
  const bool isAmong =
      names.empty() || std::any_of(names.begin(), names.end(), [&](const std::string& name) {
        return category && String::equalNoCase(*category, String(name));
      });
  const String wanted = lowered(String(options.wanted.value_or("")));
  return isAmong && std::any_of(texts.begin(), texts.end(), [&](const auto& text) {
           const String whole = lowered(text.value_or(String()));
           return whole.view().find(wanted.view()) != std::u16string_view::npos;
         });
}

// An entry that cannot be read may be any of them.
bool isWanted(const Options& options, const Entry& entry) {
  return (options.isAll || entry.isOurs) &&
         (entry.problem || isWanted(options, entry.category,
                                    {entry.category, entry.fruNumber, entry.description,
                                     entry.identifyingNumber, entry.vendor}));
}

std::vector<Entry> readWanted(CIMClient& client, const Options& options) {
  std::vector<Entry> entries = readEntries(client);
  std::erase_if(entries, [&](const Entry& entry) { return !isWanted(options, entry); });
  return entries;
}

// Whether all could be read; reports those that could not.
bool areReadable(const std::vector<Entry>& entries) {
  const auto unreadable = std::count_if(
      entries.begin(), entries.end(), [](const Entry& entry) { return entry.problem.has_value(); });
  if (unreadable > 0) {
    complain(String(counted(static_cast<std::size_t>(unreadable), "entry", "entries") +
                    " cannot be read"));
  }
  return unreadable == 0;
}

ExitStatus list(CIMClient& client, const Options& options, const Output& output) {
  const std::vector<Entry> entries = readWanted(client, options);
  if (options.isHtml) {
    const Frame frame = frameOf(options);
    writePage(std::cout,
              {{options.server,
                {frame.format, timeText(frame.time), frame.lastGoodRun,
                 readWholeMachine(client, options), entries}}},
              frame.time);
  } else if (!entries.empty() || output.json || output.form.isCsv) {
    const bool hasMachine = output.json && output.json->format > 1;
    writeList(output, options.isAll, hasMachine ? readWholeMachine(client, options) : Machine(),
              entries);
  } else {
    complain("no entries");
  }
  const auto note =
      hasState(options) ? noteAbout(options.state, std::chrono::system_clock::now()) : std::nullopt;
  if (note) {
    complain(String(*note));
  }
  if (!areReadable(entries)) {
    return ExitStatus::trouble;
  }
  return entries.empty() ? ExitStatus::noEntries : ExitStatus::entries;
}

// Each with the name of its file. What cannot be read is reported, and left out.
std::vector<NamedInventory> readInventories(const std::vector<std::string>& files) {
  std::vector<NamedInventory> machines;
  for (const std::string& file : files) {
    try {
      machines.push_back({file, readInventory(file)});
    } catch (const std::exception& error) {
      complain(String(error.what()));
    }
  }
  return machines;
}

ExitStatus explainOnOthers(const Options& options, std::istream& lines, const Output& output) {
  std::vector<NamedInventory> machines = readInventories(options.others);
  std::erase_if(machines, [](const NamedInventory& read) {
    if (!read.inventory.machine) {
      complain(String(read.name + ": it does not describe a machine; use --machine --json"));
    }
    return !read.inventory.machine;
  });
  if (machines.empty()) {
    return ExitStatus::trouble;
  }
  const Fleet fleet = explainOn(std::move(machines), lines);
  writeFleet(output, fleet);
  if (fleet.machines.size() < options.others.size()) {
    return ExitStatus::trouble;
  }
  const bool isForAny = std::any_of(fleet.entries.begin(), fleet.entries.end(),
                                    [](const FleetLine& entry) { return entry.count() > 0; });
  return isForAny ? ExitStatus::entries : ExitStatus::noEntries;
}

ExitStatus showPage(const Options& options) {
  const std::vector<NamedInventory> machines = readInventories(options.inventories);
  if (machines.empty()) {
    return ExitStatus::trouble;
  }
  writePage(std::cout, machines, std::chrono::system_clock::now());
  return machines.size() < options.inventories.size() ? ExitStatus::trouble : ExitStatus::entries;
}

ExitStatus showHistory(const Options& options, const Output& output) {
  const std::size_t changes = writeHistory(output, options.state);
  if (changes == 0) {
    complain("no changes");
  }
  return changes > 0 ? ExitStatus::entries : ExitStatus::noEntries;
}

ExitStatus showMachine(CIMClient& client, const Options& options, const Output& output) {
  const Machine machine = readWholeMachine(client, options);
  writeMachine(output, machine);
  bool isRefused = false;
  for (const auto* refusal :
       {&machine.systemRefusal, &machine.processors.refusal, &machine.memoryModules.refusal}) {
    if (*refusal) {
      isRefused = true;
      complain(**refusal);
    }
  }
  if (isRefused) {
    return ExitStatus::trouble;
  }
  return !machine.hasSystem && machine.parts().empty() ? ExitStatus::noEntries
                                                       : ExitStatus::entries;
}

// The file to explain, or else that of the last good run of this machine.
std::string dataFileOf(const Options& options) {
  return options.explained.value_or(options.state + "/" + goodFile);
}

// Reports what is wrong with the file as a whole.
std::string readDataFile(const Options& options) {
  const std::string name = dataFileOf(options);
  std::error_code error;
  const bool isKnown = hasState(options);
  if (!options.explained && (!isKnown || !std::filesystem::exists(name, error))) {
    throw std::runtime_error("--for needs --explain FILE: morvik-run has left no data file " +
                             (isKnown ? "in " + options.state : "of that machine here"));
  }
  std::string text = readWholeInput(name);
  if (const auto problem = findFormProblem(text)) {
    complain(String(name + ": " + problem->words));
  }
  return text;
}

// The explanation of the next line; nothing at the end.
std::optional<Explanation> nextOf(Explainer& explainer, std::istream& lines) {
  String line;
  const LineRead read = readAnyLine(lines, line);
  return read == LineRead::end ? std::nullopt : std::optional(explainer.explain(read, line));
}

ExitStatus explain(CIMClient& client, const Options& options, std::istream& lines,
                   const Output& output) {
  // An import reads these first, and ends there if it cannot.
  client.enumerateInstanceNames(cimNamespace, "KVAXDT_FRU");
  const Machine machine = readWholeMachine(client, options);
  Explainer explainer(client, machine);
  const auto next = [&]() -> std::optional<Explanation> {
    while (auto explanation = nextOf(explainer, lines)) {
      const Entry entry = explanation->entry.value_or(Entry());
      if (isWanted(options, explanation->category,
                   {explanation->category, entry.fruNumber, entry.description,
                    explanation->reason.words})) {
        return explanation;
      }
    }
    return std::nullopt;
  };
  const Summary summary = writeExplanations(output, machine, next);
  return summary.published > 0 ? ExitStatus::entries : ExitStatus::noEntries;
}

[[noreturn]] void failToFind(const std::string& place, const Machine& machine) {
  std::string words = "no part at '" + place + "'; there are";
  const char* separator = " ";
  for (const Part* part : machine.parts()) {
    words += separator + part->place.value_or("?").toUtf8();
    separator = ", ";
  }
  throw std::runtime_error(machine.parts().empty() ? "the CIM server has no parts" : words);
}

bool isFor(const Explanation& line, const Part& part) {
  const auto& places = line.places;
  return line.category == (part.isModule ? "MEMORY" : "PROCESSOR") && part.place &&
         std::find(places.begin(), places.end(), *part.place) != places.end();
}

ExitStatus showPlace(CIMClient& client, const Options& options, std::istream& lines,
                     const Output& output) {
  const Machine machine = readWholeMachine(client, options);
  const std::vector<const Part*> parts = partsNamed(machine, String(*options.place));
  if (parts.empty()) {
    failToFind(*options.place, machine);
  }
  std::vector<std::vector<PartNumber>> found(parts.size());
  Explainer explainer(client, machine);
  while (const auto line = nextOf(explainer, lines)) {
    for (std::size_t i = 0; i < parts.size(); ++i) {
      if (isFor(*line, *parts[i])) {
        found[i].push_back({parts[i], line->entry->fruNumber, line->entry->description});
      }
    }
  }
  std::vector<PartNumber> numbers;
  bool isEachFound = true;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    isEachFound = isEachFound && !found[i].empty();
    if (found[i].empty()) {
      found[i].push_back({parts[i]});
    }
    numbers.insert(numbers.end(), found[i].begin(), found[i].end());
  }
  writeNumbers(output, machine, numbers);
  if (!isEachFound) {
    complain(String("no entry of " + dataFileOf(options) + " is for it"));
  }
  return isEachFound ? ExitStatus::entries : ExitStatus::noEntries;
}

ExitStatus compare(CIMClient& client, const Options& options, Inventory before,
                   const Output& output) {
  Inventory now;
  const bool isFiltered = !options.categories.empty() || options.wanted;
  if (before.machine && !isFiltered) {
    now.machine = readWholeMachine(client, options);
  }
  if (before.entries) {
    now.entries = readWanted(client, options);
    std::erase_if(*before.entries, [&](const Entry& entry) { return !isWanted(options, entry); });
  }
  const std::vector<Difference> differences = differencesOf(before, now);
  writeDifferences(output, before.time, differences);
  if (now.entries && !areReadable(*now.entries)) {
    return ExitStatus::trouble;
  }
  return differences.empty() ? ExitStatus::entries : ExitStatus::noEntries;
}

Columns columnsOf(const Options& options) {
  return options.isMachine   ? machineColumns()
         : options.place     ? numberColumns()
         : options.older     ? differenceColumns()
         : options.isHistory ? historyColumns()
         : options.explained ? explanationColumns()
                             : listColumns(options.isAll);
}

// The port of plain CIM-XML, where none is given.
String addressOf(const std::string& server) {
  const std::size_t port = server.find(':', server.rfind(']') + 1);
  return String(port == std::string::npos ? server + ":5988" : server);
}

ExitStatus run(const Options& options) {
  checkColumns(options.table, columnsOf(options));
  Output output = {std::cout, terminalOf(STDOUT_FILENO), options.table, {}};
  if (options.isJson) {
    // The runs of this machine say nothing about other machines.
    output.json =
        options.others.empty() ? frameOf(options) : Frame{.time = std::chrono::system_clock::now()};
  }
  if (options.isHistory) {
    return showHistory(options, output);
  }
  if (!options.inventories.empty()) {
    return showPage(options);
  }
  // Read first: a missing file is reported even if there is no server.
  std::istringstream lines;
  std::optional<Inventory> older;
  if (options.explained || options.place) {
    lines.str(readDataFile(options));
  } else if (options.older) {
    older = readInventory(*options.older);
  }
  if (!options.others.empty()) {
    return explainOnOthers(options, lines, output);
  }
  const std::unique_ptr<CIMClient> client = makeClient();
  client->connect(addressOf(options.server), String::EMPTY, String::EMPTY);
  return options.place       ? showPlace(*client, options, lines, output)
         : older             ? compare(*client, options, *older, output)
         : options.explained ? explain(*client, options, lines, output)
         : options.isMachine ? showMachine(*client, options, output)
                             : list(*client, options, output);
}

ExitStatus runAsAsked(int argc, char** argv) {
  try {
    const auto options = readOptions(argc, argv);
    const auto* ended = std::get_if<ExitStatus>(&options);
    const ExitStatus status = ended != nullptr ? *ended : run(std::get<Options>(options));
    if (!std::cout.flush() && ended == nullptr) {
      throw std::runtime_error("cannot write to standard output");
    }
    return status;
  } catch (const std::exception& error) {
    complain(withNameOnce(error.what()));
  }
  return ExitStatus::trouble;
}

}  // namespace

int main(int argc, char** argv) {
  // Says which characters a terminal understands; nothing else depends on it.
  std::setlocale(LC_CTYPE, "");
  return static_cast<int>(runAsAsked(argc, argv));
}
