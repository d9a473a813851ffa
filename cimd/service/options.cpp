#include "service/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <boost/asio/ip/address.hpp>
#include <iostream>
#include <string_view>
#include <utility>

#include "text/host_port.h"

namespace cimd {

namespace {

constexpr const char* description =
    "A small CIM server for hosts that have none. Serves the classes and instances of\n"
    "MOF files, and what clients publish, to CIM clients on this host until SIGTERM\n"
    "or SIGINT. SIGHUP makes it read the files again.";
constexpr const char* footer =
    "Exit status: 0 success, 1 run-time error, 2 wrong usage, 3 wrong configuration.";

// In the order of LogLevel.
constexpr std::array<const char*, 4> levelNames{"error", "warning", "info", "debug"};

// Every request of ordinary clients fits into the first; the server is made for no larger ones than
// the second.
constexpr std::size_t smallestRequest = std::size_t{64} << 10U;
constexpr std::size_t largestRequest = std::size_t{64} << 20U;
constexpr std::size_t largestLimit = std::size_t{1} << (sizeof(std::size_t) > 4 ? 40U : 31U);

// "127.0.0.1:5988" or "[::1]:5988".
void setListenAddress(Options& options, const std::string& text) {
  const auto parts = Pegasus::text::splitHostPort(text);
  const auto port = parts ? Pegasus::text::parsePort(parts->port.value_or("")) : std::nullopt;
  const std::string host(parts ? parts->host : "");
  boost::system::error_code error;
  const auto address = boost::asio::ip::make_address(host, error);
  if (!port || error || address.is_v6() != parts->isBracketed || !address.is_loopback()) {
    throw CLI::ValidationError(
        "--listen", "'" + text + "' is not a loopback address with port, such as 127.0.0.1:5988");
  }
  options.address = host;
  options.port = *port;
}

// An empty value comes from a variable that a script left unset, most likely. Taken for "not
// given", it would make a server that keeps nothing.
std::string checkNotEmpty(const std::string& text) {
  return text.empty() ? "must not be empty" : std::string();
}

// Adds the names in a list such as "alice,@operators".
void addWriters(Options& options, const std::string& list) {
  for (std::size_t start = 0; start <= list.size();) {
    const std::size_t end = std::min(list.find(',', start), list.size());
    options.writers.push_back(list.substr(start, end - start));
    if (options.writers.back().empty() || options.writers.back() == "@") {
      throw CLI::ValidationError(
          "--writers",
          "'" + list + "' is not a list of accounts and groups, such as alice,@operators");
    }
    start = end + 1;
  }
}

LogLevel parseLevel(const std::string& name) {
  const auto* const found = std::find(levelNames.begin(), levelNames.end(), name);
  return static_cast<LogLevel>(found - levelNames.begin());
}

// `type` is shown in the help in place of the value.
template <typename Value>
CLI::Option* addText(CLI::App& app, const char* name, Value& value, const char* type,
                     const char* help) {
  return app.add_option(name, value, help)
      ->type_name(type)
      ->check(CLI::Validator(checkNotEmpty, ""));
}

void addInventory(CLI::App& app, Options& options) {
  app.add_flag("--host", options.isHost, "Serve the inventory of this machine, from SMBIOS");
  addText(app, "--smbios", options.recordedTables, "DIRECTORY",
          "Serve an inventory from recorded SMBIOS tables");
  addText(app, "--model", options.model, "TEXT", "Model of the machine, with --host or --smbios");
  addText(app, "--models", options.models, "FILE",
          "Models by product name, with --host or --smbios;\na missing file has none");
}

void addAccounts(CLI::App& app, Options& options) {
  addText(app, "--user", options.user, "NAME",
          "Account to run as when started as root (default:\n"
          "the owner of the store's directory, or nobody)");
  app.add_option_function<std::vector<std::string>>(
         "--writers",
         [&options](const std::vector<std::string>& lists) {
           for (const std::string& list : lists) {
             addWriters(options, list);
           }
         },
         "Accounts, and groups as @GROUP, that may change\n"
         "instances besides root and the server's own\n"
         "account; may be repeated")
      ->type_name("LIST")
      ->allow_extra_args(false);
}

// With empty descriptions of the checks, which the help would show.
void addLimits(CLI::App& app, Options& options) {
  app.add_option("--max-request", options.maxRequest, "Largest request (default: 1MiB)")
      ->type_name("SIZE")
      ->transform(CLI::AsSizeValue(false).description(""))
      ->check(CLI::Range(smallestRequest, largestRequest).description(""));
  app.add_option("--max-instances", options.maxInstances,
                 "Published instances at most (default: 10000)")
      ->type_name("NUMBER")
      ->check(CLI::Range(std::size_t{0}, largestLimit).description(""));
  app.add_option("--max-bytes", options.maxBytes, "Their size together at most (default: 64MiB)")
      ->type_name("SIZE")
      ->transform(CLI::AsSizeValue(false).description(""))
      ->check(CLI::Range(std::size_t{0}, largestLimit).description(""));
}

void addAll(CLI::App& app, Options& options, std::string& level) {
  app.add_option_function<std::string>(
         "--listen", [&options](const std::string& text) { setListenAddress(options, text); },
         "Loopback address (default: 127.0.0.1:5988)")
      ->type_name("ADDRESS:PORT");
  addInventory(app, options);
  addText(app, "--include", options.includeDirectories, "DIRECTORY",
          "Look for included files here too; may be repeated")
      ->allow_extra_args(false);  // one each time: what follows may be a FILE
  addText(app, "--store", options.store, "FILE", "Keep what clients publish in this file");
  addText(app, "--recover", options.recover, "STORE",
          "Write what is readable of a damaged store to\n"
          "STORE.recovered, list what is not, and exit");
  addAccounts(app, options);
  addLimits(app, options);
  app.add_flag("--check", options.isCheck, "Load everything, report, and exit");
  app.add_option("--log-level", level, "Log verbosity: error, warning, info or debug")
      ->type_name("LEVEL")
      ->check(CLI::IsMember(levelNames).description(""));
  app.add_option("FILE", options.files, "MOF files to load, in this order")->type_name("");
}

// The library would do most of this too, and put it into the help.
void checkTogether(const Options& options) {
  if (options.isHost && options.recordedTables) {
    throw CLI::ExcludesError("--host", "--smbios");
  }
  if (options.model && options.models) {
    throw CLI::ExcludesError("--model", "--models");
  }
  if (options.files.empty() && !options.recover) {
    throw CLI::RequiredError("FILE");
  }
  const bool hasInventory = options.isHost || options.recordedTables;
  if ((options.model || options.models) && !hasInventory) {
    throw CLI::RequiresError(options.models ? "--models" : "--model", "--host or --smbios");
  }
}

}  // namespace

std::variant<Options, ExitStatus> readOptions(int argc, const char* const* argv) {
  Options options;
  std::string level = "info";
  CLI::App app{description, "morvik-cimd"};
  app.footer(footer);
  app.set_version_flag("-V,--version", "morvik-cimd " MORVIK_VERSION, "Print the version and exit");
  app.set_help_flag("-h,--help", "Print this help and exit");
  addAll(app, options, level);
  try {
    app.parse(argc, argv);
    checkTogether(options);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {  // help and version come this way too
      app.exit(error);
      return ExitStatus::ok;
    }
    std::cerr << "morvik-cimd: " << withoutControls(error.what()) << "\nTry 'morvik-cimd --help'."
              << std::endl;
    return ExitStatus::usage;
  }
  options.logLevel = parseLevel(level);
  return options;
}

}  // namespace cimd
