// The command line of morvik-show.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace show {

struct Options {
  // Host and port. An IPv6 address stands in brackets.
  std::string server = "127.0.0.1:5988";
  bool isJson = false;
  bool isCsv = false;
  bool isAll = false;
  bool isMachine = false;
  std::optional<std::string> explained;
  // Those wanted, in any letter case; all if there are none.
  std::vector<std::string> categories;
};

// Exit statuses; the manual page lists the same.
enum ExitStatus { EXIT_SOME = 0, EXIT_NONE = 1, EXIT_TROUBLE = 2 };

// Fills `options`, or returns the status to end with, having printed what the user asked for or did
// wrong.
std::optional<ExitStatus> readOptions(int argc, const char* const* argv, Options& options);

}  // namespace show
