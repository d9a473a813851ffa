#include "show.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <system_error>

#include "cim/client.h"
#include "entries.h"
#include "entry_report.h"
#include "explainer.h"
#include "explanation.h"
#include "import/fru_file.h"
#include "machine.h"
#include "machine_report.h"
#include "terminal.h"
#include "text.h"

using Pegasus::CIMClient;
using Pegasus::String;

namespace show {

namespace {

void complain(const String& words) {
  std::cerr << "morvik-show: " << harmless(words, lookAt(STDERR_FILENO)) << std::endl;
}

ExitStatus list(CIMClient& client, const Options& options, const Terminal& terminal) {
  std::vector<Entry> entries = readEntries(client);
  std::erase_if(entries, [&](const Entry& entry) {
    return !(options.isAll || entry.isOurs) ||
           !(entry.problem || isAmong(entry.category, options.categories));
  });
  if (options.isJson) {
    writeJson(std::cout, terminal, entries);
  } else if (options.isCsv) {
    writeCsv(std::cout, terminal, entries);
  } else if (entries.empty()) {
    complain("no entries");
  } else {
    writeTable(std::cout, terminal, entries, options.isAll);
  }
  const auto unreadable = std::count_if(
      entries.begin(), entries.end(), [](const Entry& entry) { return entry.problem.has_value(); });
  if (unreadable > 0) {
    const std::string count = std::to_string(unreadable);
    complain(String(count + (unreadable == 1 ? " entry" : " entries") + " cannot be read"));
    return EXIT_TROUBLE;
  }
  return entries.empty() ? EXIT_NONE : EXIT_SOME;
}

ExitStatus showMachine(CIMClient& client, const Options& options, const Terminal& terminal) {
  const Machine machine = readMachine(client);
  if (options.isJson) {
    JsonWriter json(std::cout, terminal.hasOnlyAscii);
    json.openObject().key("format").value(std::uint64_t{1}).key("machine");
    writeMachine(json, machine);
    json.closeObject();
  } else {
    writeMachine(std::cout, terminal, machine);
  }
  bool isRefused = false;
  bool isEmpty = true;
  for (const Told* told : {&machine.models, &machine.clocks, &machine.memorySizes}) {
    isEmpty = isEmpty && told->values.empty();
    if (told->refusal) {
      isRefused = true;
      complain(*told->refusal);
    }
  }
  if (isRefused) {
    return EXIT_TROUBLE;
  }
  return isEmpty ? EXIT_NONE : EXIT_SOME;
}

[[noreturn]] void failToRead(const std::string& file, int error) {
  throw std::system_error(error, std::generic_category(), "cannot read " + file);
}

// Devices are left alone: some of them never end.
std::ifstream open(const std::string& name) {
  std::error_code error;
  const auto status = std::filesystem::status(name, error);
  const bool isFile = is_regular_file(status) || is_fifo(status);
  if (exists(status) && !isFile) {
    throw std::runtime_error("cannot read " + name + ": not a file");
  }
  errno = 0;
  std::ifstream file(name);
  if (!file.good()) {
    failToRead(name, errno != 0 ? errno : EIO);
  }
  return file;
}

ExitStatus explain(CIMClient& client, const Options& options, std::istream& file,
                   const Terminal& terminal) {
  // An import reads these first, and ends there if it cannot.
  client.enumerateInstanceNames(cimNamespace, "KVAXDT_FRU");
  const Machine machine = readMachine(client);
  std::unique_ptr<Explanation> explanation;
  if (options.isJson) {
    explanation = std::make_unique<JsonExplanation>(std::cout, terminal, machine);
  } else {
    explanation = std::make_unique<TextExplanation>(std::cout, terminal);
  }
  Explainer explainer(client, machine);
  Counts counts;
  String line;
  for (LineRead read = readAnyLine(file, line); read != LineRead::end;
       read = readAnyLine(file, line)) {
    const Judgement judgement = explainer.judge(read, line);
    if (isAmong(judgement.category, options.categories)) {
      explanation->add(judgement);
      counts.add(judgement.verdict);
    }
  }
  if (file.bad()) {
    failToRead(*options.explained, EIO);
  }
  explanation->finish(counts);
  return counts.published > 0 ? EXIT_SOME : EXIT_NONE;
}

}  // namespace

ExitStatus run(const Options& options) {
  const Terminal terminal = lookAt(STDOUT_FILENO);
  // A file that is not there is told even where no server is.
  std::ifstream file;
  if (options.explained) {
    file = open(*options.explained);
  }
  const std::unique_ptr<CIMClient> owner = makeClient();
  CIMClient& client = *owner;
  client.connect(String(options.server), String::EMPTY, String::EMPTY);
  ExitStatus status = EXIT_SOME;
  if (options.explained) {
    status = explain(client, options, file, terminal);
  } else if (options.isMachine) {
    status = showMachine(client, options, terminal);
  } else {
    status = list(client, options, terminal);
  }
  client.disconnect();
  if (!std::cout.flush()) {
    throw std::runtime_error("cannot write to standard output");
  }
  return status;
}

}  // namespace show
