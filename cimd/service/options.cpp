#include "service/options.h"

#include <CLI/CLI.hpp>
#include <boost/asio/ip/address.hpp>
#include <charconv>
#include <iostream>

namespace cimd {

namespace {

constexpr const char* description =
    "A small CIM server for hosts that have none. Serves the classes and instances of MOF files,\n"
    "and what clients publish, to CIM clients on this host until SIGTERM or SIGINT. SIGHUP makes\n"
    "it read the files again.";
constexpr const char* footer =
    "\nExit status: 0 normal end, 1 run-time error, 2 wrong usage, 3 wrong configuration.";

std::string checkListen(const std::string& text) {
  std::string address;
  Pegasus::Uint16 port = 0;
  return parseListenAddress(text, address, port)
             ? std::string()
             : "'" + text + "' is not a loopback address with port, such as 127.0.0.1:5988";
}

// Of a variable that a script left unset, most likely. Taken for "not given", it would make a
// server that keeps nothing.
std::string checkNotEmpty(const std::string& text) {
  return text.empty() ? "must not be empty" : std::string();
}

LogLevel parseLevel(const std::string& name) {
  if (name == "error") {
    return LogLevel::ERROR;
  }
  if (name == "warning") {
    return LogLevel::WARNING;
  }
  return name == "debug" ? LogLevel::DEBUG : LogLevel::INFO;
}

template <typename T>
void setIfGiven(std::optional<T>& option, const std::string& text) {
  if (!text.empty()) {
    option = text;
  }
}

}  // namespace

bool parseListenAddress(const std::string& text, std::string& address, Pegasus::Uint16& port) {
  const std::size_t colon = text.rfind(':');
  if (colon == std::string::npos) {
    return false;
  }
  std::string host = text.substr(0, colon);
  const bool isBracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
  if (isBracketed) {
    host = host.substr(1, host.size() - 2);
  }
  boost::system::error_code error;
  const auto parsed = boost::asio::ip::make_address(host, error);
  if (error || parsed.is_v6() != isBracketed || !parsed.is_loopback()) {
    return false;
  }
  const char* end = text.data() + text.size();
  Pegasus::Uint16 number = 0;
  const auto result = std::from_chars(text.data() + colon + 1, end, number);
  if (result.ec != std::errc() || result.ptr != end) {
    return false;
  }
  address = host;
  port = number;
  return true;
}

std::optional<ExitStatus> readOptions(int argc, const char* const* argv, Options& options) {
  CLI::App app{description, "morvik-cimd"};
  app.footer(footer);
  app.set_version_flag("--version", "morvik-cimd " MORVIK_VERSION);
  app.set_help_flag("--help", "Print this help and exit");
  std::string listen;
  app.add_option("--listen", listen,
                 "Loopback address and port to listen on (default: 127.0.0.1:5988)")
      ->type_name("ADDRESS:PORT")
      ->check(CLI::Validator(checkListen, ""));
  app.add_flag("--host", options.isHost, "Serve this host's own inventory, from its SMBIOS tables");
  std::string recorded;
  app.add_option("--smbios", recorded,
                 "Serve an inventory from the recorded tables in this folder instead")
      ->type_name("DIRECTORY")
      ->check(CLI::Validator(checkNotEmpty, ""));
  std::vector<std::string> directories;
  app.add_option("--include", directories,
                 "Look for included files in this directory too; may be repeated")
      ->type_name("DIRECTORY")
      ->allow_extra_args(false)  // one each time: what follows may be a FILE
      ->check(CLI::Validator(checkNotEmpty, ""));
  std::string store;
  app.add_option("--store", store, "Keep what clients publish in this file")
      ->type_name("FILE")
      ->check(CLI::Validator(checkNotEmpty, ""));
  std::string user;
  app.add_option("--user", user,
                 "Account to run as, when started as root (default: the owner of the folder of "
                 "the store, or nobody)")
      ->type_name("NAME")
      ->check(CLI::Validator(checkNotEmpty, ""));
  app.add_flag("--check", options.isCheck, "Load everything, report, and exit");
  std::string level = "info";
  app.add_option("--log-level", level, "How much to tell: error, warning, info or debug")
      ->type_name("LEVEL")
      ->check(CLI::IsMember({"error", "warning", "info", "debug"}));
  std::vector<std::string> files;
  app.add_option("FILE", files, "MOF files to load, in this order")->type_name("")->required();
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {  // help and version come this way too
      app.exit(error);
      return EXIT_OK;
    }
    std::cerr << "morvik-cimd: " << error.what() << "\nTry 'morvik-cimd --help'." << std::endl;
    return EXIT_USAGE;
  }
  if (!listen.empty()) {
    parseListenAddress(listen, options.address, options.port);
  }
  options.files.assign(files.begin(), files.end());
  options.includeDirectories.assign(directories.begin(), directories.end());
  setIfGiven(options.recordedTables, recorded);
  setIfGiven(options.store, store);
  setIfGiven(options.user, user);
  options.isHost = options.isHost || options.recordedTables;
  options.logLevel = parseLevel(level);
  return std::nullopt;
}

}  // namespace cimd
