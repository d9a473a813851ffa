#include "options.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <utility>

#include "entries.h"

namespace show {

namespace {

constexpr const char* description =
    "Lists the FRUs that morvik has published on a CIM server, shows what morvik\n"
    "reads of the machine, and explains which lines of a FRU data file it would\n"
    "publish.";
constexpr const char* footer =
    "\nExit status: 0 with entries, 1 without, 2 if something went wrong.";

// CLI11 would do this too, and spend half of the help on it.
void checkTogether(const CLI::App& app) {
  constexpr std::pair<const char*, const char*> excluded[] = {
      {"--json", "--csv"},        {"--machine", "--category"}, {"--machine", "--all"},
      {"--on", "--server"},       {"--on", "--category"},      {"--html", "--json"},
      {"--html", "--csv"},        {"--html", "--machine"},     {"--html", "--explain"},
      {"--html", "--history"},    {"--explain", "--all"},      {"--explain", "--machine"},
      {"--history", "--all"},     {"--history", "--machine"},  {"--history", "--explain"},
      {"--history", "--category"}};
  for (const auto& [first, second] : excluded) {
    if (app.count(first) > 0 && app.count(second) > 0) {
      throw CLI::ExcludesError(first, second);
    }
  }
}

// CLI11 names the unknown arguments, but not what is wrong with them.
std::string messageOf(const CLI::ParseError& error, const CLI::App& app) {
  const std::vector<std::string> unknown = app.remaining();
  if (error.get_exit_code() != static_cast<int>(CLI::ExitCodes::ExtrasError) || unknown.empty()) {
    return error.what();
  }
  const bool isOption = unknown.front().starts_with('-');
  return (isOption ? "unknown option: " : "unexpected argument: ") + unknown.front();
}

// A misspelt name must not look as if nothing were published. Other publishers have categories of
// their own.
void checkCategories(const Options& options) {
  for (const std::string& name : options.categories) {
    if (!options.isAll && !isCategory(Pegasus::String(name))) {
      throw CLI::ValidationError("--category", "morvik has no category '" + name + "'");
    }
  }
}

}  // namespace

std::variant<Options, ExitStatus> readOptions(int argc, const char* const* argv) {
  Options options;
  CLI::App app{description, "morvik-show"};
  app.footer(footer);
  app.set_version_flag("-V,--version", "morvik-show " MORVIK_VERSION, "Print the version and exit");
  app.set_help_flag("-h,--help", "Print this help and exit");
  app.add_option("--server", options.server, "CIM server (default: 127.0.0.1:5988)")
      ->type_name("HOST[:PORT]");
  app.add_flag("-j,--json", options.isJson, "Write JSON");
  app.add_option("--format", options.format, "Of JSON: 2, or 1 as before version 1.0")
      ->type_name("NUMBER")
      ->check(CLI::IsMember({1, 2}));
  app.add_flag("--csv", options.table.isCsv, "Write CSV");
  app.add_option("--category", options.categories, "Only this category; may be repeated")
      ->type_name("NAME")
      ->allow_extra_args(false);
  app.add_flag("--all", options.isAll, "Show the entries of other publishers, too");
  app.add_flag("--machine", options.isMachine, "Show what morvik reads of this machine");
  app.add_flag("--history", options.isHistory, "Show what the runs of morvik-run have changed");
  app.add_option("--state", options.state, "State directory of morvik-run (/var/lib/morvik)")
      ->type_name("DIR");
  app.add_option("--explain", options.explained, "Explain what morvik would publish of a data file")
      ->type_name("FILE");
  app.add_option("--on", options.others, "Explain it on the machines of these inventories")
      ->type_name("FILE")
      ->needs("--explain");
  app.add_option("--html", options.inventories, "Write a page of inventories, or of this machine")
      ->type_name("FILE")
      ->expected(0, CLI::detail::expected_max_vector_size);
  try {
    app.parse(argc, argv);
    checkTogether(app);
    checkCategories(options);
    options.isHtml = app.count("--html") > 0;
    // CLI11 has an empty text for an option without values.
    std::erase(options.inventories, "");
    options.isServerGiven = app.count("--server") > 0;
    options.isStateGiven = app.count("--state") > 0;
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {  // help and version come this way too
      app.exit(error);
      return ExitStatus::entries;
    }
    std::cerr << "morvik-show: " << messageOf(error, app) << "\nTry 'morvik-show --help'."
              << std::endl;
    return ExitStatus::trouble;
  }
  return options;
}

}  // namespace show
