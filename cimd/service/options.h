// The command line of morvik-cimd.
#pragma once

#include <Pegasus/Common/Config.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "log.h"

namespace cimd {

struct Options {
  // An address of the loopback interface, without brackets.
  std::string address = "127.0.0.1";
  // 0 lets the system choose a free one.
  Pegasus::Uint16 port = 5988;
  std::vector<std::filesystem::path> files;
  // Where files that are included are looked for too.
  std::vector<std::filesystem::path> includeDirectories;
  // Whether the host's own inventory is served, and the folder with recorded SMBIOS tables to take
  // it from instead of those of the kernel.
  bool isHost = false;
  std::optional<std::filesystem::path> recordedTables;
  // Without it, instances are kept in memory only.
  std::optional<std::filesystem::path> store;
  // The account to run as, when started as root.
  std::optional<std::string> user;
  // Load everything, report, end.
  bool isCheck = false;
  LogLevel logLevel = LogLevel::INFO;
};

// Exit statuses; the manual page lists the same.
enum ExitStatus { EXIT_OK = 0, EXIT_RUN_TIME = 1, EXIT_USAGE = 2, EXIT_CONFIGURATION = 3 };

// Fills `options`, or returns the status to end with, having printed what the user asked for or did
// wrong.
std::optional<ExitStatus> readOptions(int argc, const char* const* argv, Options& options);

// Splits "127.0.0.1:5988" or "[::1]:5988" into address and port; false when it is of another form
// or the address is not one of the loopback interface.
bool parseListenAddress(const std::string& text, std::string& address, Pegasus::Uint16& port);

}  // namespace cimd
