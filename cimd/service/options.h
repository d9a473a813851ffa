// The command line of morvik-cimd.
#pragma once

#include <Pegasus/Common/Config.h>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "log.h"

namespace cimd {

struct Options {
  // An address of the loopback interface, without brackets.
  std::string address = "127.0.0.1";
  // 0 lets the system choose a free one.
  Pegasus::Uint16 port = 5988;
  std::vector<std::filesystem::path> files;
  // Further directories to search for included files.
  std::vector<std::filesystem::path> includeDirectories;
  // Whether the inventory of this host is served, or which directory has the recorded SMBIOS tables
  // of the one that is. Not both.
  bool isHost = false;
  std::optional<std::filesystem::path> recordedTables;
  // The model of this machine: a text, or a file with one for each product name.
  std::optional<std::string> model;
  std::optional<std::filesystem::path> models;
  // Without it, instances are kept in memory only.
  std::optional<std::filesystem::path> store;
  // Limits of requests, in bytes, and of what clients publish.
  std::size_t maxRequest = std::size_t{1} << 20U;
  std::size_t maxInstances = 10'000;
  std::size_t maxBytes = std::size_t{64} << 20U;
  // The account to run as, when started as root.
  std::optional<std::string> user;
  // The damaged store to recover, instead of serving anything.
  std::optional<std::filesystem::path> recover;
  // Accounts, and groups as "@name", that may change instances beside root and the account that
  // the server runs as. None is empty.
  std::vector<std::string> writers;
  // Load everything, report, and exit.
  bool isCheck = false;
  LogLevel logLevel = LogLevel::info;
};

// The manual page lists the same.
enum class ExitStatus { ok = 0, runTimeError = 1, usage = 2, configuration = 3 };

// The options, or the status to exit with after printing what the user asked for or did wrong.
std::variant<Options, ExitStatus> readOptions(int argc, const char* const* argv);

}  // namespace cimd
