#include "settings.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string_view>
#include <system_error>
#include <utility>

#include "options.h"
#include "outcome.h"
#include "text/ascii.h"

namespace run {

namespace {

constexpr const char* description =
    "Fetches the FRU data file of this machine, checks it, has morvik publish it, and\n"
    "makes sure that it is published. Otherwise the entries of the last good run\n"
    "stay. An option takes precedence over the variable of the same meaning.";

struct Row {
  const char* option;
  // Null if there is no variable.
  const char* variable;
  Setting Settings::*value;
  const char* type;
  const char* help;
};

constexpr Row rows[] = {
    {"--url", "MORVIK_URL", &Settings::url, "URL",
     "Directory with the data files, by https, http,\nftps, ftp or file"},
    {"--files", "MORVIK_FILES", &Settings::files, "DIR",
     "Directory with the data files on this machine"},
    {"--file", "MORVIK_FILE", &Settings::file, "FILE", "One data file on this machine"},
    {"--ftp-server", "MORVIK_SERVER", &Settings::ftpServer, "HOST", "FTP server"},
    {"--ftp-directory", "MORVIK_DIRECTORY", &Settings::ftpDirectory, "DIR",
     "Directory on the FTP server"},
    {"--keyring", "MORVIK_KEYRING", &Settings::keyring, "FILE",
     "Keys that may sign: refuse unsigned data files"},
    {"--ca", "MORVIK_CA", &Settings::certificates, "FILE",
     "Certificates to trust instead of the system's"},
    {"--min-share", "MORVIK_MIN_SHARE", &Settings::minShareText, "SHARE",
     "Refuse less than this share of the last entries\n(default: 0.5)"},
    {"--missing", "MORVIK_MISSING", &Settings::missingText, "WORD",
     "ok: no error if a machine type has no data file"},
    {"--retry-pause", "MORVIK_RETRY_PAUSE", &Settings::retryPauseText, "SECONDS",
     "Before the second try; four times that before\nthe third (default: 5)"},
    {"--metrics", "MORVIK_METRICS", &Settings::metrics, "FILE",
     "Write metrics for Prometheus; the name ends with\n.prom"},
    {"--state", "STATE_DIRECTORY", &Settings::state, "DIR",
     "What is remembered (default: /var/lib/morvik)"},
    {"--morvik", nullptr, &Settings::morvik, "PROGRAM", "morvik, if it is not beside morvik-run"},
};

std::string footerText() {
  std::string text = "\nExit status:";
  for (const StatusRow& row : statusTable) {
    text += "\n  " + std::to_string(static_cast<int>(row.status)) + "  " + row.meaning;
  }
  return text;
}

// Those that say where the data files are.
constexpr Setting Settings::*sources[] = {&Settings::url, &Settings::files, &Settings::file,
                                          &Settings::ftpServer, &Settings::ftpDirectory};

bool isSource(const Row& row) {
  return std::find(std::begin(sources), std::end(sources), row.value) != std::end(sources);
}

// The variables, for what no option has set. An option that says where the files are replaces all
// variables that do.
void addEnvironment(const CLI::App& app, Settings& settings) {
  const bool hasSource = std::any_of(std::begin(rows), std::end(rows), [&](const Row& row) {
    return isSource(row) && app.count(row.option) > 0;
  });
  for (const Row& row : rows) {
    Setting& setting = settings.*row.value;
    const bool isOption = row.variable == nullptr || app.count(row.option) > 0;
    setting.name = isOption ? row.option : row.variable;
    if (!isOption && !(hasSource && isSource(row))) {
      const char* value = std::getenv(row.variable);
      setting.text = value == nullptr ? "" : value;
    }
  }
}

// MORVIK_FILE has always come before the FTP server; the settings file may have several.
void chooseSource(Settings& settings) {
  const bool hasFtp = !settings.ftpServer.text.empty() || !settings.ftpDirectory.text.empty();
  const auto count = std::count_if(std::begin(sources), std::begin(sources) + 3,
                                   [&](auto source) { return !(settings.*source).text.empty(); });
  if (count == 0 && !hasFtp) {
    throw Failure(Status::badUse,
                  "no parts server is set: set MORVIK_URL, MORVIK_FILES, MORVIK_FILE or "
                  "MORVIK_SERVER, for morvik.service in " MORVIK_SETTINGS_FILE);
  }
  const bool byOption = std::any_of(std::begin(sources), std::end(sources), [&](auto source) {
    return std::string_view((settings.*source).name).starts_with("--");
  });
  if (byOption && count + (hasFtp ? 1 : 0) > 1) {
    throw Failure(Status::badUse, "use only one of --file, --files, --url and --ftp-server");
  }
  if (!settings.file.text.empty()) {
    settings.files.text.clear();
  }
  if (!settings.file.text.empty() || !settings.files.text.empty()) {
    settings.url.text.clear();
  }
  if (count > 0) {
    settings.ftpServer.text.clear();
    settings.ftpDirectory.text.clear();
    return;
  }
  if (settings.ftpServer.text.empty()) {
    settings.ftpServer.text = MORVIK_DEFAULT_PARTS_SERVER;
  }
  if (settings.ftpDirectory.text.empty()) {
    settings.ftpDirectory.text = "/pc/dolmex/bp_server";
  }
}

// The number in the text; `usual` if it is not set.
double numberIn(const Setting& setting, int most, double usual) {
  const std::string& text = setting.text;
  double number = 0;
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isWhole = parsed.ec == std::errc() && parsed.ptr == text.data() + text.size();
  if (!text.empty() && !(isWhole && number >= 0 && number <= most)) {
    refuseSetting(setting, text, "is not a number from 0 to " + std::to_string(most));
  }
  return text.empty() ? usual : number;
}

void readValues(Settings& settings) {
  constexpr int longestRetryPause = 60;  // more would be most of the time that a run has
  if (!settings.metrics.text.empty() && !settings.metrics.text.ends_with(".prom")) {
    const std::string file = std::exchange(settings.metrics.text, "");
    refuseSetting(settings.metrics, file, "does not end with .prom");
  }
  settings.minShare = numberIn(settings.minShareText, 1, settings.minShare);
  settings.retryPause = std::chrono::milliseconds(
      std::lround(numberIn(settings.retryPauseText, longestRetryPause, 5) * 1000));
  const std::string& missing = settings.missingText.text;
  if (!missing.empty() && missing != "ok" && missing != "fail") {
    refuseSetting(settings.missingText, missing, "is neither ok nor fail");
  }
  settings.isMissingGood = missing == "ok";
}

// The program in the same directory, as in a build, or in the same prefix.
std::string findMorvik() {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::path own = fs::read_symlink("/proc/self/exe", error).parent_path();
  for (const fs::path& place : {own / "morvik", own.parent_path() / "sbin" / "morvik"}) {
    if (fs::is_regular_file(place, error)) {
      return place;
    }
  }
  return own / "morvik";
}

void findPlaces(Settings& settings) {
  // systemd gives a list if the unit has several directories; morvik.service has one.
  std::string& state = settings.state.text;
  state.erase(std::min(state.find(':'), state.size()));
  if (state.empty()) {
    state = "/var/lib/morvik";
  }
  if (settings.morvik.text.empty()) {
    settings.morvik.text = findMorvik();
  }
  for (Setting* place : {&settings.state, &settings.morvik, &settings.keyring, &settings.files,
                         &settings.file, &settings.metrics}) {
    if (!place->text.empty()) {
      place->text = std::filesystem::absolute(place->text);
    }
  }
}

}  // namespace

void refuseSetting(const Setting& setting, const std::string& value, const std::string& rule) {
  throw Failure(Status::badUse, std::string(setting.name) + ": '" + harmless(value) + "' " + rule);
}

bool isOfLettersDigitsAnd(std::string_view others, std::string_view text) {
  return std::all_of(text.begin(), text.end(), [&](char c) {
    return Pegasus::text::isLetter(c) || Pegasus::text::isDigit(c) ||
           others.find(c) != std::string_view::npos;
  });
}

std::variant<Settings, int> readSettings(int argc, const char* const* argv) {
  Settings settings;
  CLI::App app{description, "morvik-run"};
  app.footer(footerText());
  app.set_version_flag("-V,--version", "morvik-run " MORVIK_VERSION, "Print the version and exit");
  app.set_help_flag("-h,--help", "Print this help and exit");
  for (const Row& row : rows) {
    const std::string variable =
        row.variable == nullptr ? "" : std::string("\n[") + row.variable + "]";
    app.add_option(row.option, (settings.*row.value).text, row.help + variable)
        ->type_name(row.type);
  }
  app.add_flag("--check", settings.isCheck, "Do everything but publishing");
  app.add_flag("--force", settings.isForced, "Accept far fewer entries, and an older signed list");
  app.add_flag("-j,--json", settings.isJson, "Write JSON");
  app.add_flag("-q,--quiet", settings.isQuiet, "Write nothing but failures");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {  // help and version come this way too
      return app.exit(error);
    }
    throw Failure(Status::badUse,
                  harmless(show::messageOf(error, app, argc, argv)) + " (see morvik-run --help)");
  }
  addEnvironment(app, settings);
  try {
    readValues(settings);
    chooseSource(settings);
  } catch (const Failure& failure) {
    settings.fault = failure.what();
  }
  findPlaces(settings);
  if (settings.fault.empty() && access(settings.morvik.text.c_str(), X_OK) != 0) {
    settings.fault = "cannot run morvik: " + harmless(settings.morvik.text) + ": " +
                     std::generic_category().message(errno);
  }
  return settings;
}

}  // namespace run
