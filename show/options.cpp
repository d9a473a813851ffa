#include "options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstring>
#include <iostream>
#include <string_view>

#include "entries.h"

namespace show {

namespace {

constexpr const char* programDescription =
    "Lists the FRUs that morvik has published on a CIM server, shows the machine and\n"
    "its parts, finds the number for a part, explains which lines of a FRU data file\n"
    "would be published, and shows what has changed.";
constexpr const char* footer =
    "A FILE may be a pipe; - is standard input.\n\n"
    "Exit status: 0 with entries, 1 without, 2 if something went wrong.\n"
    "With --diff: 0 if nothing has changed, 1 if something has, 2 as above.";

// The option as the user has written it: "-j", or "--json".
std::string writtenAs(const CLI::App& app, const char* name, int argc, const char* const* argv) {
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    std::string option = argument.substr(0, argument.find('='));
    const auto* const known = app.get_option_no_throw(option);
    if (known != nullptr && known->check_name(name)) {
      return option;
    }
  }
  return name;
}

// CLI11 would do this too, and spend half of the help on it.
void checkTogether(const CLI::App& app, const Options& options, int argc, const char* const* argv) {
  using Names = std::vector<const char*>;
  const Names tasks = {"--machine", "--explain", "--history", "--diff", "--for", "--html"};
  const Names filters = {"--category", "--find", "--all"};
  const auto refuse = [&](const char* first, const Names& others) {
    for (const char* other : others) {
      if (app.count(first) > 0 && app.count(other) > 0) {
        throw CLI::ExcludesError(writtenAs(app, first, argc, argv),
                                 writtenAs(app, other, argc, argv));
      }
    }
  };
  for (std::size_t i = 0; i < tasks.size(); ++i) {
    for (std::size_t k = i + 1; k < tasks.size(); ++k) {
      // --for looks into the file of --explain.
      if (std::strcmp(tasks[i], "--explain") != 0 || std::strcmp(tasks[k], "--for") != 0) {
        refuse(tasks[i], {tasks[k]});
      }
    }
  }
  refuse("--json", {"--csv", "--columns", "--no-headings"});
  for (const char* task : {"--machine", "--history", "--for"}) {
    refuse(task, filters);
  }
  refuse("--html", {"--json", "--csv", "--columns", "--no-headings"});
  const auto inputs = std::count(options.others.begin(), options.others.end(), "-") +
                      std::count(options.inventories.begin(), options.inventories.end(), "-") +
                      (options.explained == "-" ? 1 : 0);
  if (inputs > 1) {
    throw CLI::ValidationError("-", "standard input can be read only once");
  }
  for (const char* other : {"--server", "--category", "--find", "--all"}) {
    if (!options.inventories.empty() && app.count(other) > 0) {
      throw CLI::ExcludesError("--html FILE", other);
    }
  }
  refuse("--explain", {"--all"});
  refuse("--on", {"--server", "--category", "--find", "--for", "--columns", "--no-headings"});
}

// CLI11 takes the next option for the value that is missing.
void checkValues(CLI::App& app) {
  for (CLI::Option* option : app.get_options()) {
    if (option->get_type_size() > 0) {
      option->check(CLI::Validator(
          [&app](const std::string& value) {
            const bool isOption =
                value.starts_with("--") && app.get_option_no_throw(value) != nullptr;
            return isOption ? "a value is missing before " + value : std::string();
          },
          ""));
    }
  }
}

std::string checkFormat(const std::string& text) {
  return text == "1" || text == "2" ? "" : "'" + text + "' is neither 1 nor 2";
}

// A misspelt name must not look as if nothing were published. Other publishers have their own
// categories.
void checkCategories(const Options& options) {
  for (const std::string& name : options.categories) {
    if (!options.isAll && !isCategory(Pegasus::String(name))) {
      throw CLI::ValidationError(
          "--category", "morvik has no category '" + name + "'; there are " + categoryNames());
    }
  }
}

}  // namespace

std::string messageOf(const CLI::ParseError& error, const CLI::App& app, int argc,
                      const char* const* argv) {
  std::string words = error.what();
  if (words.find(": At Most 1 required") != std::string::npos) {
    return words.substr(0, words.find(':')) + " may be given only once";
  }
  const std::vector<std::string> unknown = app.remaining();
  if (error.get_exit_code() != static_cast<int>(CLI::ExitCodes::ExtrasError) || unknown.empty()) {
    return words;
  }
  const std::string& name = unknown.front();
  if (!name.starts_with('-')) {
    return "unexpected argument: " + name;
  }
  for (int i = 1; i < argc && name.size() == 2; ++i) {
    const std::string_view argument = argv[i];
    const bool isGroup = argument.size() > 2 && argument[0] == '-' && argument[1] != '-';
    if (isGroup && argument.find(name[1]) != std::string_view::npos) {
      return "unknown option: " + name + " in " + std::string(argument);
    }
  }
  return "unknown option: " + name;
}

std::variant<Options, ExitStatus> readOptions(int argc, const char* const* argv) {
  Options options;
  CLI::App app{programDescription, "morvik-show"};
  app.footer(footer);
  app.set_version_flag("-V,--version", "morvik-show " MORVIK_VERSION, "Print the version and exit");
  app.set_help_flag("-h,--help", "Print this help and exit");
  app.add_option("--server", options.server, "CIM server (default: 127.0.0.1:5988)")
      ->type_name("HOST[:PORT]");
  app.add_flag("--machine", options.isMachine, "Show the machine and its parts");
  app.add_option("--for", options.place, "Show the number for the part at this place")
      ->type_name("PLACE");
  app.add_option("--explain", options.explained, "Explain what would be published of a data file")
      ->type_name("FILE");
  app.add_option("--diff", options.older, "Show what has changed since this JSON was written")
      ->type_name("FILE");
  app.add_flag("--history", options.isHistory, "Show what the runs of morvik-run have changed");
  app.add_option("--category", options.categories, "Only this category; may be repeated")
      ->type_name("NAME")
      ->allow_extra_args(false);
  app.add_option("--find", options.wanted, "Only entries with this in a number or text")
      ->type_name("TEXT");
  app.add_flag("--all", options.isAll, "Show the entries of other publishers, too");
  app.add_flag("-j,--json", options.isJson, "Write JSON");
  app.add_option("--format", options.format, "Of JSON: 2, or the earlier 1")
      ->type_name("NUMBER")
      ->check(CLI::Validator(checkFormat, ""));
  app.add_flag("--csv", options.table.isCsv, "Write CSV");
  app.add_option("--columns", options.table.columns,
                 "Only these columns, in this order: NAME,NAME,...")
      ->type_name("NAME")
      ->delimiter(',')
      ->allow_extra_args(false);
  bool hasNoHeadings = false;
  app.add_flag("--no-headings", hasNoHeadings, "Leave out the line of headings");
  app.add_option("--state", options.state, "State directory of morvik-run (/var/lib/morvik)")
      ->type_name("DIR");
  app.add_option("--on", options.others, "Explain it on the machines of these inventories")
      ->type_name("FILE")
      ->needs("--explain");
  app.add_option("--html", options.inventories, "Write a page of inventories, or of this machine")
      ->type_name("FILE")
      ->expected(0, CLI::detail::expected_max_vector_size);
  checkValues(app);
  try {
    app.parse(argc, argv);
    // CLI11 has an empty text for an option without values.
    std::erase(options.inventories, "");
    checkTogether(app, options, argc, argv);
    checkCategories(options);
    options.table.hasHeadings = !hasNoHeadings;
    options.isHtml = app.count("--html") > 0;
    options.isServerGiven = app.count("--server") > 0;
    options.isStateGiven = app.count("--state") > 0;
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {  // help and version come this way too
      app.exit(error);
      return ExitStatus::entries;
    }
    const std::string words = messageOf(error, app, argc, argv);
    const bool isFile = words.starts_with("unexpected argument") && app.count("--html") > 0;
    std::cerr << "morvik-show: " << harmless(words)
              << (isFile ? "; put files directly after --html" : "")
              << "\nTry 'morvik-show --help'." << std::endl;
    return ExitStatus::trouble;
  }
  return options;
}

}  // namespace show
