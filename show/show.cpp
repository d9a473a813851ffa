#include "show.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <filesystem>
#include <fstream>
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
#include "fleet.h"
#include "history.h"
#include "import/fru_file.h"
#include "inventory.h"
#include "machine.h"
#include "output.h"
#include "page.h"
#include "text.h"

using Pegasus::CIMClient;
using Pegasus::String;

namespace show {

namespace {

// What is shown of another server is not this host's, nor is the state directory that of its runs.
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

using Texts = std::initializer_list<std::optional<String>>;

bool isWanted(const Options& options, const std::optional<String>& category, const Texts& texts) {
  if (!isAmong(category, options.categories)) {
    return false;
  }
  const String wanted = lowered(String(options.wanted.value_or("")));
  return std::any_of(texts.begin(), texts.end(), [&](const std::optional<String>& text) {
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
    const std::string count = std::to_string(unreadable);
    complain(String(count + (unreadable == 1 ? " entry" : " entries") + " cannot be read"));
  }
  return unreadable == 0;
}

ExitStatus list(CIMClient& client, const Options& options, const Terminal& terminal) {
  const std::vector<Entry> entries = readWanted(client, options);
  if (options.isHtml) {
    const Frame frame = frameOf(options);
    writePage(std::cout,
              {{options.server,
                {frame.format, timeText(frame.time), MORVIK_VERSION, frame.lastGoodRun,
                 readWholeMachine(client, options), entries}}},
              frame.time);
  } else if (options.isJson) {
    const Machine machine = options.format == 1 ? Machine() : readWholeMachine(client, options);
    writeJson(std::cout, frameOf(options), machine, entries);
  } else if (entries.empty() && !options.table.isCsv) {
    complain("no entries");
  } else {
    Table table(std::cout, terminal, options.table, listColumns(options.isAll));
    writeList(table, entries);
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

ExitStatus explainOnOthers(const Options& options, std::istream& file, const Terminal& terminal) {
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
  std::istringstream text(readWhole(file, *options.explained, mostFileBytes));
  const Fleet fleet = explainOn(std::move(machines), text);
  if (options.isJson) {
    writeFleetJson(std::cout, {2, std::chrono::system_clock::now(), std::nullopt}, fleet);
  } else {
    writeFleet(std::cout, terminal, options.table, fleet);
  }
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

ExitStatus showHistory(const Options& options, const Terminal& terminal) {
  const std::optional<Frame> frame =
      options.isJson ? std::optional(frameOf(options)) : std::nullopt;
  const bool isTable = options.table.isCsv || !options.table.columns.empty();
  const std::size_t changes = writeHistory(std::cout, terminal, options.state, frame,
                                           isTable ? std::optional(options.table) : std::nullopt);
  if (changes == 0) {
    complain("no changes");
  }
  return changes > 0 ? ExitStatus::entries : ExitStatus::noEntries;
}

ExitStatus showMachine(CIMClient& client, const Options& options, const Terminal& terminal) {
  const Machine machine = readWholeMachine(client, options);
  if (options.isJson) {
    writeMachineJson(std::cout, frameOf(options), machine);
  } else {
    const bool isOnlyTable = options.table.isCsv || !options.table.columns.empty();
    const bool hasParts = !machine.processors.list.empty() || !machine.memoryModules.list.empty();
    if (!isOnlyTable) {
      writeMachine(std::cout, terminal, machine);
      std::cout << (hasParts ? "\n" : "");
    }
    if (hasParts || isOnlyTable) {
      Table table(std::cout, terminal, options.table, machineColumns());
      writeParts(table, machine);
    }
  }
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
  const bool isEmpty =
      !machine.hasSystem && machine.processors.list.empty() && machine.memoryModules.list.empty();
  return isEmpty ? ExitStatus::noEntries : ExitStatus::entries;
}

// The file to explain, or else that of the last good run of this machine.
std::string dataFileOf(const Options& options) {
  return options.explained.value_or(options.state + "/" + goodFile);
}

std::ifstream openDataFile(const Options& options) {
  const std::string name = dataFileOf(options);
  std::error_code error;
  const bool isKnown = hasState(options);
  if (!options.explained && (!isKnown || !std::filesystem::exists(name, error))) {
    throw std::runtime_error("--for needs --explain FILE: morvik-run has left no data file " +
                             (isKnown ? "in " + options.state : "of that machine here"));
  }
  return openFile(name);
}

// The explanation of the next line; nothing at the end. Throws if the file fails.
std::optional<Explanation> nextOf(Explainer& explainer, std::istream& file,
                                  const std::string& name) {
  String line;
  const LineRead read = readAnyLine(file, line);
  if (read != LineRead::end) {
    return explainer.explain(read, line);
  }
  if (file.bad()) {
    failToRead(name, EIO);
  }
  return std::nullopt;
}

ExitStatus explain(CIMClient& client, const Options& options, std::istream& file,
                   const Terminal& terminal) {
  // An import reads these first, and ends there if it cannot.
  client.enumerateInstanceNames(cimNamespace, "KVAXDT_FRU");
  const Machine machine = readWholeMachine(client, options);
  Explainer explainer(client, machine);
  const auto next = [&]() -> std::optional<Explanation> {
    for (auto explanation = nextOf(explainer, file, *options.explained); explanation;
         explanation = nextOf(explainer, file, *options.explained)) {
      const auto& fields = explanation->fields;
      const bool hasFields = fields.has_value();
      if (isWanted(options, explanation->category,
                   {explanation->category, hasFields ? fields->fruNumber : String(),
                    hasFields ? fields->description : String(), explanation->reason.words})) {
        return explanation;
      }
    }
    return std::nullopt;
  };
  Summary summary;
  if (options.isJson) {
    summary = writeExplanationsJson(std::cout, frameOf(options), machine, next);
  } else {
    Table table(std::cout, terminal, options.table, explanationColumns());
    summary = writeExplanations(table, next);
    if (!options.table.isCsv) {
      writeSummary(std::cout, summary);
    }
  }
  return summary.published > 0 ? ExitStatus::entries : ExitStatus::noEntries;
}

[[noreturn]] void failToFind(const std::string& place, const Machine& machine) {
  std::string words = "no part at '" + place + "'; there are";
  const char* separator = " ";
  for (const Parts* parts : {&machine.processors, &machine.memoryModules}) {
    for (const Part& part : parts->list) {
      words += separator + part.place.value_or("?").toUtf8();
      separator = ", ";
    }
  }
  throw std::runtime_error(*separator == ' ' ? "the CIM server has no parts" : words);
}

bool isFor(const Explanation& line, const NamedPart& named) {
  const auto& places = line.places;
  return line.category == (named.isModule ? "MEMORY" : "PROCESSOR") && named.part->place &&
         std::find(places.begin(), places.end(), *named.part->place) != places.end();
}

ExitStatus showPlace(CIMClient& client, const Options& options, std::istream& file,
                     const Terminal& terminal) {
  const Machine machine = readWholeMachine(client, options);
  std::vector<PartNumber> numbers;
  for (const NamedPart& named : partsNamed(machine, String(*options.place))) {
    numbers.push_back({named, {}, {}});
  }
  if (numbers.empty()) {
    failToFind(*options.place, machine);
  }
  const std::size_t parts = numbers.size();
  Explainer explainer(client, machine);
  while (const auto line = nextOf(explainer, file, dataFileOf(options))) {
    for (std::size_t i = 0; i < parts; ++i) {
      if (isFor(*line, numbers[i].named)) {
        PartNumber number = {numbers[i].named, line->fields->fruNumber, line->fields->description};
        // The first takes the place of the part without a number.
        if (numbers[i].fruNumber) {
          numbers.push_back(std::move(number));
        } else {
          numbers[i] = std::move(number);
        }
      }
    }
  }
  std::stable_sort(numbers.begin(), numbers.end(), [](const PartNumber& a, const PartNumber& b) {
    return std::less<>()(a.named.part, b.named.part);
  });
  if (options.isJson) {
    writeNumbersJson(std::cout, frameOf(options), machine, numbers);
  } else {
    TableForm form = options.table;
    form.hasHeadings = form.hasHeadings && form.isCsv;
    Table table(std::cout, terminal, form, numberColumns());
    writeNumbers(table, numbers);
  }
  const bool isEachFound = std::all_of(numbers.begin(), numbers.end(),
                                       [](const PartNumber& number) { return number.fruNumber; });
  if (!isEachFound) {
    complain(String("no entry of " + dataFileOf(options) + " is for it"));
  }
  return isEachFound ? ExitStatus::entries : ExitStatus::noEntries;
}

ExitStatus compare(CIMClient& client, const Options& options, const Inventory& older,
                   const Terminal& terminal) {
  Inventory before = older;
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
  if (options.isJson) {
    writeDifferencesJson(std::cout, frameOf(options), before.time, differences);
  } else if (!differences.empty() || options.table.isCsv) {
    Table table(std::cout, terminal, options.table, differenceColumns());
    writeDifferences(table, differences);
  }
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

ExitStatus showAsked(const Options& options) {
  const Terminal terminal = terminalOf(STDOUT_FILENO);
  checkColumns(options.table, columnsOf(options));
  if (options.isHistory) {
    return showHistory(options, terminal);
  }
  if (!options.inventories.empty()) {
    return showPage(options);
  }
  // Opened first: a missing file is reported even if there is no server.
  std::ifstream file;
  std::optional<Inventory> older;
  if (options.explained || options.place) {
    file = openDataFile(options);
  } else if (options.older) {
    older = readInventory(*options.older);
  }
  if (!options.others.empty()) {
    return explainOnOthers(options, file, terminal);
  }
  const std::unique_ptr<CIMClient> client = makeClient();
  client->connect(addressOf(options.server), String::EMPTY, String::EMPTY);
  return options.place       ? showPlace(*client, options, file, terminal)
         : older             ? compare(*client, options, *older, terminal)
         : options.explained ? explain(*client, options, file, terminal)
         : options.isMachine ? showMachine(*client, options, terminal)
                             : list(*client, options, terminal);
}

}  // namespace

ExitStatus run(const Options& options) {
  const ExitStatus status = showAsked(options);
  if (!std::cout.flush()) {
    throw std::runtime_error("cannot write to standard output");
  }
  return status;
}

void complain(const String& message) {
  std::cerr << "morvik-show: " << sanitized(message, terminalOf(STDERR_FILENO)) << std::endl;
}

}  // namespace show
