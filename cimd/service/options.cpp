#include "service/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <boost/asio/ip/address.hpp>
#include <iostream>
#include <string_view>
#include "text/host_port.h"

namespace cimd {

namespace {

constexpr const char* description =
    "A small CIM server for hosts that have none. Serves the classes and instances of MOF files,\n"
    "and what clients publish, to CIM clients on this host until SIGTERM or SIGINT. SIGHUP makes\n"
    "it read the files again.";
constexpr const char* footer =
    "\nExit status: 0 normal end, 1 run-time error, 2 wrong usage, 3 wrong configuration.";

// Every request of ordinary clients fits into the first; the server is made for no larger ones than
// the second.
constexpr std::size_t smallestRequest = std::size_t{64} << 10U;
constexpr std::size_t largestRequest = std::size_t{64} << 20U;
constexpr std::size_t largestLimit = std::size_t{1} << (sizeof(std::size_t) > 4 ? 40U : 31U);

struct ListenAddress {
  std::string address;
  Pegasus::Uint16 port;
};

// "127.0.0.1:5988" or "[::1]:5988"; nothing when it is of another form or the address is not one of
// the loopback interface.
std::optional<ListenAddress> parseListenAddress(std::string_view text) {
  const auto parts = Pegasus::text::splitHostPort(text);
  const auto port = parts ? Pegasus::text::parsePort(parts->port.value_or("")) : std::nullopt;
  if (!port) {
    return std::nullopt;
  }
  const std::string host(parts->host);
  boost::system::error_code error;
  const auto address = boost::asio::ip::make_address(host, error);
  if (error || address.is_v6() != parts->isBracketed || !address.is_loopback()) {
    return std::nullopt;
  }
  return ListenAddress{host, *port};
}

std::string checkListen(const std::string& text) {
  return parseListenAddress(text)
             ? std::string()
             : "'" + text + "' is not a loopback address with port, such as 127.0.0.1:5988";
}

// An empty value comes from a variable that a script left unset, most likely. Taken for "not
// given", it would make a server that keeps nothing.
std::string checkNotEmpty(const std::string& text) {
  return text.empty() ? "must not be empty" : std::string();
}

// "alice,@operators"
std::vector<std::string> splitAtCommas(const std::string& text) {
  std::vector<std::string> parts;
  for (std::size_t start = 0; start <= text.size();) {
    const std::size_t end = std::min(text.find(',', start), text.size());
    parts.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return parts;
}

std::string checkWriters(const std::string& text) {
  const auto parts = splitAtCommas(text);
  const bool isGood = std::none_of(parts.begin(), parts.end(), [](const std::string& name) {
    return name.empty() || name == "@";
  });
  return isGood ? std::string()
                : "'" + text + "' is not a list of accounts and groups, such as alice,@operators";
}

LogLevel parseLevel(const std::string& name) {
  if (name == "error") {
    return LogLevel::error;
  }
  if (name == "warning") {
    return LogLevel::warning;
  }
  return name == "debug" ? LogLevel::debug : LogLevel::info;
}

template <typename T>
void setIfGiven(std::optional<T>& option, const std::string& text) {
  if (!text.empty()) {
    option = text;
  }
}

void addLimits(CLI::App& app, Options& options) {
  app.add_option("--max-request", options.maxRequest, "Largest request, such as 1MiB, the default")
      ->type_name("SIZE")
      ->transform(CLI::AsSizeValue(false))
      ->check(CLI::Range(smallestRequest, largestRequest));
  app.add_option("--max-instances", options.maxInstances,
                 "How many instances clients may publish (default: 10000)")
      ->type_name("NUMBER")
      ->check(CLI::Range(std::size_t{0}, largestLimit));
  app.add_option("--max-bytes", options.maxBytes,
                 "How large published instances may be together (default: 64MiB)")
      ->type_name("SIZE")
      ->transform(CLI::AsSizeValue(false))
      ->check(CLI::Range(std::size_t{0}, largestLimit));
}

void addAccounts(CLI::App& app, std::string& user, std::vector<std::string>& writers) {
  app.add_option("--user", user,
                 "Account to run as when started as root (default: the owner of the directory "
                 "of the store, or nobody)")
      ->type_name("NAME")
      ->check(CLI::Validator(checkNotEmpty, ""));
  app.add_option("--writers", writers,
                 "Accounts, and groups as @GROUP, that may change instances (always: root and the "
                 "account that the server runs as); may be repeated")
      ->type_name("NAME,...")
      ->allow_extra_args(false)
      ->check(CLI::Validator(checkWriters, ""));
}

void addStores(CLI::App& app, std::string& store, std::string& recover) {
  app.add_option("--store", store, "Keep what clients publish in this file")
      ->type_name("FILE")
      ->check(CLI::Validator(checkNotEmpty, ""));
  app.add_option("--recover", recover,
                 "Write what is readable of this damaged store to STORE.recovered, list what is "
                 "not, and exit")
      ->type_name("STORE")
      ->check(CLI::Validator(checkNotEmpty, ""));
}

// They change the inventory of a host, so there must be one.
void addModels(CLI::App& app, std::string& model, std::string& models) {
  auto* const one = app.add_option("--model", model, "Model of the machine, with --host")
                        ->type_name("TEXT")
                        ->check(CLI::Validator(checkNotEmpty, ""));
  app.add_option("--models", models, "Models by product name, with --host; a missing file has none")
      ->type_name("FILE")
      ->check(CLI::Validator(checkNotEmpty, ""))
      ->excludes(one);
}

// The texts of the options as given, empty where they are not.
struct Texts {
  std::string listen;
  std::string recorded;
  std::string model;
  std::string models;
  std::vector<std::string> directories;
  std::string store;
  std::string recover;
  std::string user;
  std::vector<std::string> writers;
  std::string level = "info";
  std::vector<std::string> files;
};

void addAll(CLI::App& app, Options& options, Texts& texts) {
  app.add_option("--listen", texts.listen,
                 "Loopback address and port to listen on (default: 127.0.0.1:5988)")
      ->type_name("ADDRESS:PORT")
      ->check(CLI::Validator(checkListen, ""));
  auto* const host = app.add_flag("--host", options.isHost,
                                  "Serve this host's own inventory, from its SMBIOS tables");
  app.add_option("--smbios", texts.recorded,
                 "Serve an inventory from recorded SMBIOS tables in this directory instead")
      ->type_name("DIRECTORY")
      ->check(CLI::Validator(checkNotEmpty, ""))
      ->excludes(host);
  addModels(app, texts.model, texts.models);
  app.add_option("--include", texts.directories,
                 "Look for included files in this directory too; may be repeated")
      ->type_name("DIRECTORY")
      ->allow_extra_args(false)  // one each time: what follows may be a FILE
      ->check(CLI::Validator(checkNotEmpty, ""));
  addStores(app, texts.store, texts.recover);
  addAccounts(app, texts.user, texts.writers);
  addLimits(app, options);
  app.add_flag("--check", options.isCheck, "Load everything, report, and exit");
  app.add_option("--log-level", texts.level, "Log verbosity: error, warning, info or debug")
      ->type_name("LEVEL")
      ->check(CLI::IsMember({"error", "warning", "info", "debug"}));
  app.add_option("FILE", texts.files, "MOF files to load, in this order")->type_name("");
}

// Checks what the parser cannot, or only after it has missed an option that does not exist.
void checkTogether(const Options& options, const Texts& texts) {
  if (texts.files.empty() && texts.recover.empty()) {
    throw CLI::RequiredError("FILE");
  }
  const bool hasModels = !texts.model.empty() || !texts.models.empty();
  if (hasModels && !options.isHost && texts.recorded.empty()) {
    throw CLI::RequiresError(texts.models.empty() ? "--model" : "--models", "--host");
  }
}

void setFrom(const Texts& texts, Options& options) {
  if (const auto given = parseListenAddress(texts.listen)) {
    options.address = given->address;
    options.port = given->port;
  }
  options.files.assign(texts.files.begin(), texts.files.end());
  options.includeDirectories.assign(texts.directories.begin(), texts.directories.end());
  for (const std::string& list : texts.writers) {
    const auto names = splitAtCommas(list);
    options.writers.insert(options.writers.end(), names.begin(), names.end());
  }
  setIfGiven(options.recordedTables, texts.recorded);
  setIfGiven(options.model, texts.model);
  setIfGiven(options.models, texts.models);
  setIfGiven(options.store, texts.store);
  setIfGiven(options.recover, texts.recover);
  setIfGiven(options.user, texts.user);
  options.isHost = options.isHost || options.recordedTables;
  options.logLevel = parseLevel(texts.level);
}

}  // namespace

std::variant<Options, ExitStatus> readOptions(int argc, const char* const* argv) {
  Options options;
  CLI::App app{description, "morvik-cimd"};
  app.footer(footer);
  app.set_version_flag("-V,--version", "morvik-cimd " MORVIK_VERSION);
  app.set_help_flag("-h,--help", "Print this help and exit");
  Texts texts;
  addAll(app, options, texts);
  try {
    app.parse(argc, argv);
    checkTogether(options, texts);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {  // help and version come this way too
      app.exit(error);
      return ExitStatus::ok;
    }
    std::cerr << "morvik-cimd: " << error.what() << "\nTry 'morvik-cimd --help'." << std::endl;
    return ExitStatus::usage;
  }
  setFrom(texts, options);
  return options;
}

}  // namespace cimd
