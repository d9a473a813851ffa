// The command line of morvik-show.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "table.h"

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace show {

struct Options {
  // Host and port. An IPv6 address is in brackets.
  std::string server = "127.0.0.1:5988";
  bool isJson = false;
  // The format of JSON, 1 or 2.
  int format = 2;
  TableForm table;
  // Whether `server` and `state` were given; another server's state is not here.
  bool isServerGiven = false;
  bool isStateGiven = false;
  bool isAll = false;
  bool isMachine = false;
  bool isHistory = false;
  // Write a page of the inventories in these files; of the server's if there are none.
  bool isHtml = false;
  std::vector<std::string> inventories;
  // Where morvik-run remembers its runs.
  std::string state = "/var/lib/morvik";
  std::optional<std::string> explained;
  // Inventories of the machines to explain it on, in place of the server's.
  std::vector<std::string> others;
  // The place whose part is looked for.
  std::optional<std::string> place;
  // The older inventory to compare with.
  std::optional<std::string> older;
  // The categories to show, in any letter case; all if there are none.
  std::vector<std::string> categories;
  // A part of a number or text of the entries to list, in any letter case.
  std::optional<std::string> wanted;
};

// The manual page lists the same. With `older`, 0 is for no difference, and 1 for one.
enum class ExitStatus { entries = 0, noEntries = 1, trouble = 2 };

// The options, or the status to end with after the user has been shown what they asked for or did
// wrong.
[[nodiscard]] std::variant<Options, ExitStatus> readOptions(int argc, const char* const* argv);

// The message for a command line that cannot be parsed. CLI11 names the unknown arguments, but not
// what is wrong with them, and of "-xj" only the "-x".
std::string messageOf(const CLI::ParseError& error, const CLI::App& app, int argc,
                      const char* const* argv);

}  // namespace show
