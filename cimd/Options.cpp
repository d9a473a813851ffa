#include "cimd/Options.h"

#include <CLI/CLI.hpp>
#include <boost/asio/ip/address.hpp>
#include <charconv>
#include <iostream>

namespace cimd {

namespace {

constexpr const char* description =
    "A small CIM server for hosts that have none. Loads classes and instances from MOF files, "
    "keeps\n"
    "them in memory and serves them to CIM clients on this host until SIGTERM or SIGINT.";
constexpr const char* footer =
    "\nExit status: 0 normal end, 1 run-time error, 2 wrong usage, 3 MOF file missing or wrong.";

std::string checkListen(const std::string& text) {
  std::string address;
  Pegasus::Uint16 port = 0;
  return parseListenAddress(text, address, port)
             ? std::string()
             : "'" + text + "' is not a loopback address with port, such as 127.0.0.1:5988";
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
  return std::nullopt;
}

}  // namespace cimd
