#include "show.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <system_error>

#include "cim/client.h"
#include "entries.h"
#include "explainer.h"
#include "history.h"
#include "import/fru_file.h"
#include "machine.h"
#include "output.h"
#include "text.h"

using Pegasus::CIMClient;
using Pegasus::String;

namespace show {

namespace {

ExitStatus list(CIMClient& client, const Options& options, const Terminal& terminal) {
  std::vector<Entry> entries = readEntries(client);
  std::erase_if(entries, [&](const Entry& entry) {
    return !(options.isAll || entry.isOurs) ||
           !(entry.problem || isAmong(entry.category, options.categories));
  });
  if (options.isJson) {
    writeJson(std::cout, entries);
  } else if (options.isCsv) {
    writeCsv(std::cout, terminal, entries);
  } else if (entries.empty()) {
    complain("no entries");
  } else {
    writeTable(std::cout, terminal, entries, options.isAll);
  }
  if (const auto note = noteAbout(options.state, std::chrono::system_clock::now())) {
    complain(String(*note));
  }
  const auto unreadable = std::count_if(
      entries.begin(), entries.end(), [](const Entry& entry) { return entry.problem.has_value(); });
  if (unreadable > 0) {
    const std::string count = std::to_string(unreadable);
    complain(String(count + (unreadable == 1 ? " entry" : " entries") + " cannot be read"));
    return ExitStatus::trouble;
  }
  return entries.empty() ? ExitStatus::noEntries : ExitStatus::entries;
}

ExitStatus showHistory(const Options& options, const Terminal& terminal) {
  const std::size_t changes = writeHistory(std::cout, terminal, options.state, options.isJson);
  if (!std::cout.flush()) {
    throw std::runtime_error("cannot write to standard output");
  }
  if (changes == 0) {
    complain("no changes");
  }
  return changes > 0 ? ExitStatus::entries : ExitStatus::noEntries;
}

ExitStatus showMachine(CIMClient& client, const Options& options, const Terminal& terminal) {
  const Machine machine = readMachine(client);
  if (options.isJson) {
    writeMachineJson(std::cout, machine);
  } else {
    writeMachine(std::cout, terminal, machine);
  }
  bool isRefused = false;
  bool isEmpty = true;
  for (const Answers* answers : {&machine.models, &machine.clocks, &machine.memorySizes}) {
    isEmpty = isEmpty && answers->values.empty();
    if (answers->refusal) {
      isRefused = true;
      complain(*answers->refusal);
    }
  }
  if (isRefused) {
    return ExitStatus::trouble;
  }
  return isEmpty ? ExitStatus::noEntries : ExitStatus::entries;
}

[[noreturn]] void failToRead(const std::string& file, int error) {
  throw std::system_error(error, std::generic_category(), "cannot read " + file);
}

// Devices are not read: some of them never end.
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
  Explainer explainer(client, machine);
  String line;
  const auto next = [&]() -> std::optional<Explanation> {
    for (LineRead read = readAnyLine(file, line); read != LineRead::end;
         read = readAnyLine(file, line)) {
      Explanation explanation = explainer.explain(read, line);
      if (isAmong(explanation.category, options.categories)) {
        return explanation;
      }
    }
    if (file.bad()) {
      failToRead(*options.explained, EIO);
    }
    return std::nullopt;
  };
  const Summary summary = options.isJson ? writeExplanationsJson(std::cout, machine, next)
                                         : writeExplanations(std::cout, terminal, next);
  return summary.published > 0 ? ExitStatus::entries : ExitStatus::noEntries;
}

// The port of plain CIM-XML, where none is given.
String addressOf(const std::string& server) {
  const std::size_t port = server.find(':', server.rfind(']') + 1);
  return String(port == std::string::npos ? server + ":5988" : server);
}

}  // namespace

ExitStatus run(const Options& options) {
  const Terminal terminal = terminalOf(STDOUT_FILENO);
  if (options.isHistory) {
    return showHistory(options, terminal);
  }
  // Opened first: a missing file is reported even if there is no server.
  std::ifstream file;
  if (options.explained) {
    file = open(*options.explained);
  }
  const std::unique_ptr<CIMClient> owner = makeClient();
  CIMClient& client = *owner;
  client.connect(addressOf(options.server), String::EMPTY, String::EMPTY);
  ExitStatus status = ExitStatus::entries;
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

void complain(const String& message) {
  std::cerr << "morvik-show: " << sanitized(message, terminalOf(STDERR_FILENO)) << std::endl;
}

}  // namespace show
