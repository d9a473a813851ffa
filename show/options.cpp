#include "options.h"

#include <Pegasus/Common/String.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <iostream>
#include <utility>

#include "import/fru_file.h"

namespace show {

namespace {

constexpr const char* description =
    "Lists the FRUs that morvik has published on a CIM server, tells what it reads of the "
    "machine,\n"
    "and explains which lines of a FRU data file it would publish.";
constexpr const char* footer =
    "\nExit status: 0 with entries, 1 without, 2 when something went wrong.";

// An IPv6 address without brackets leaves open where the port begins.
bool isHost(const std::string& host) {
  const bool isBracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
  return !host.empty() && (isBracketed || host.find_first_of(":[]") == std::string::npos);
}

std::string checkServer(const std::string& text) {
  const std::size_t colon = text.rfind(':');
  unsigned port = 0;
  if (colon != std::string::npos && isHost(text.substr(0, colon))) {
    const char* end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data() + colon + 1, end, port);
    if (parsed.ec == std::errc() && parsed.ptr == end && port > 0 && port <= 65535) {
      return {};
    }
  }
  return "'" + text + "' is not a host with a port, such as 127.0.0.1:5988";
}

bool isCategory(std::string name) {
  for (char& c : name) {
    c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  }
  return findCategory(Pegasus::String(name)).has_value();
}

// CLI11 would do this too, and spend half of the help on it.
void checkTogether(const CLI::App& app) {
  constexpr std::pair<const char*, const char*> excluded[] = {
      {"--json", "--csv"},       {"--machine", "--csv"}, {"--machine", "--category"},
      {"--machine", "--all"},    {"--explain", "--csv"}, {"--explain", "--all"},
      {"--explain", "--machine"}};
  for (const auto& [first, second] : excluded) {
    if (app.count(first) > 0 && app.count(second) > 0) {
      throw CLI::ExcludesError(first, second);
    }
  }
}

// A slip of the pen must not pass for "nothing is published". Other publishers have categories of
// their own.
void checkCategories(const Options& options) {
  for (const std::string& name : options.categories) {
    if (!options.isAll && !isCategory(name)) {
      throw CLI::ValidationError("--category", "morvik has no category '" + name + "'");
    }
  }
}

}  // namespace

std::optional<ExitStatus> readOptions(int argc, const char* const* argv, Options& options) {
  CLI::App app{description, "morvik-show"};
  app.footer(footer);
  app.set_version_flag("--version", "morvik-show " MORVIK_VERSION);
  app.set_help_flag("--help", "Print this help and exit");
  app.add_option("--server", options.server, "CIM server to ask (default: 127.0.0.1:5988)")
      ->type_name("HOST:PORT")
      ->check(CLI::Validator(checkServer, ""));
  app.add_flag("--json", options.isJson, "Write JSON");
  app.add_flag("--csv", options.isCsv, "Write CSV");
  app.add_option("--category", options.categories, "Only this category; may be given several times")
      ->type_name("NAME")
      ->allow_extra_args(false);
  app.add_flag("--all", options.isAll, "Show what others have published, too");
  app.add_flag("--machine", options.isMachine, "Show instead what morvik reads of this machine");
  std::string explained;
  const CLI::Option* explain =
      app.add_option("--explain", explained,
                     "Explain instead which lines of a FRU data file morvik would publish")
          ->type_name("FILE");
  try {
    app.parse(argc, argv);
    checkTogether(app);
    checkCategories(options);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {  // help and version come this way too
      app.exit(error);
      return EXIT_SOME;
    }
    std::cerr << "morvik-show: " << error.what() << "\nTry 'morvik-show --help'." << std::endl;
    return EXIT_TROUBLE;
  }
  if (explain->count() > 0) {
    options.explained = explained;
  }
  return std::nullopt;
}

}  // namespace show
