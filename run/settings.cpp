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
#include <optional>
#include <system_error>
#include <utility>

#include "outcome.h"

namespace run {

namespace {

constexpr const char* description =
    "Brings the FRU data file of this machine, checks it, has morvik publish it, and\n"
    "makes sure that it is published. Otherwise the entries of the last good run\n"
    "stay. An option comes before the variable of the same meaning.";

struct Row {
  const char* option;
  // Null if there is no variable.
  const char* variable;
  TextSetting value;
  const char* type;
  const char* help;
};

constexpr Row rows[] = {
    {"--url", "MORVIK_URL", &Settings::url, "URL",
     "Directory with the data files (https, http, ftps, ftp, file)"},
    {"--files", "MORVIK_FILES", &Settings::files, "DIR",
     "Directory with the data files on this machine"},
    {"--file", "MORVIK_FILE", &Settings::file, "FILE", "One data file on this machine"},
    {"--ftp-server", "MORVIK_SERVER", &Settings::ftpServer, "HOST", "FTP server"},
    {"--ftp-directory", "MORVIK_DIRECTORY", &Settings::ftpDirectory, "DIR",
     "Directory on the FTP server"},
    {"--keyring", "MORVIK_KEYRING", &Settings::keyring, "FILE",
     "Keys that may sign: refuse unsigned data files"},
    {"--ca", "MORVIK_CA", &Settings::certificates, "FILE",
     "Certificates to trust instead of those of the system"},
    {"--min-share", "MORVIK_MIN_SHARE", &Settings::minShareText, "SHARE",
     "Refuse less than this share of the last entries (0.5)"},
    {"--missing", "MORVIK_MISSING", &Settings::missingText, "WORD",
     "ok: a machine type without a data file is good"},
    {"--retry-pause", "MORVIK_RETRY_PAUSE", &Settings::retryPauseText, "SECONDS",
     "Before the second try; four times that before the third (5)"},
    {"--metrics", "MORVIK_METRICS", &Settings::metrics, "FILE",
     "Write metrics for Prometheus; the name ends with .prom"},
    {"--state", "STATE_DIRECTORY", &Settings::state, "DIR", "What is remembered (/var/lib/morvik)"},
    {"--morvik", nullptr, &Settings::morvik, "PROGRAM", "morvik, if it is not beside morvik-run"},
};

std::string footerText() {
  std::string text = "\nExit status:";
  for (const StatusRow& row : statusTable) {
    text += "\n  " + std::to_string(static_cast<int>(row.status)) + "  " + row.meaning;
  }
  return text;
}

std::string environment(const char* name) {
  const char* value = name == nullptr ? nullptr : std::getenv(name);
  return value == nullptr ? "" : value;
}

[[noreturn]] void refuse(const std::string& name, const std::string& value,
                         const std::string& rule) {
  throw Failure(Status::badUse, name + ": '" + harmless(value) + "' " + rule);
}

bool isSource(const Row& row) {
  constexpr TextSetting sources[] = {&Settings::url, &Settings::files, &Settings::file,
                                     &Settings::ftpServer, &Settings::ftpDirectory};
  return std::find(std::begin(sources), std::end(sources), row.value) != std::end(sources);
}

bool isFromOption(const Settings& settings, TextSetting value) {
  const auto& all = settings.fromOptions;
  return std::find(all.begin(), all.end(), value) != all.end();
}

// The variables, for what no option has set. An option that says where the files are replaces all
// variables that do.
void addEnvironment(const CLI::App& app, Settings& settings) {
  const bool hasSource = std::any_of(std::begin(rows), std::end(rows), [&](const Row& row) {
    return isSource(row) && app.count(row.option) > 0;
  });
  for (const Row& row : rows) {
    if (app.count(row.option) > 0) {
      settings.fromOptions.push_back(row.value);
    } else if (!(hasSource && isSource(row))) {
      settings.*row.value = environment(row.variable);
    }
  }
}

// MORVIK_FILE has always come before the FTP server; the settings file may have several.
void chooseSource(Settings& settings) {
  const bool hasFtp = !settings.ftpServer.empty() || !settings.ftpDirectory.empty();
  const std::string given[] = {settings.file, settings.files, settings.url};
  const auto count = std::count_if(std::begin(given), std::end(given),
                                   [](const std::string& text) { return !text.empty(); });
  if (count == 0 && !hasFtp) {
    throw Failure(Status::badUse,
                  "no parts server is set: set MORVIK_URL, MORVIK_FILES, MORVIK_FILE or "
                  "MORVIK_SERVER, for morvik.service in " MORVIK_SETTINGS_FILE);
  }
  const bool byOption = std::any_of(std::begin(rows), std::end(rows), [&](const Row& row) {
    return isSource(row) && isFromOption(settings, row.value);
  });
  if (byOption && count + (hasFtp ? 1 : 0) > 1) {
    throw Failure(Status::badUse, "use only one of --file, --files, --url and --ftp-server");
  }
  if (!settings.file.empty()) {
    settings.files.clear();
  }
  if (!settings.file.empty() || !settings.files.empty()) {
    settings.url.clear();
  }
  if (count > 0) {
    settings.ftpServer.clear();
    settings.ftpDirectory.clear();
    return;
  }
  if (settings.ftpServer.empty()) {
    settings.ftpServer = MORVIK_DEFAULT_PARTS_SERVER;
  }
  if (settings.ftpDirectory.empty()) {
    settings.ftpDirectory = "/pc/dolmex/bp_server";
  }
}

std::optional<double> numberIn(const std::string& text, double most) {
  double number = 0;
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isWhole = parsed.ec == std::errc() && parsed.ptr == text.data() + text.size();
  return isWhole && number >= 0 && number <= most ? std::optional(number) : std::nullopt;
}

void readValues(Settings& settings) {
  constexpr double longestRetryPause = 60;  // more would be most of the time that a run has
  if (!settings.metrics.empty() && !settings.metrics.ends_with(".prom")) {
    const std::string file = std::exchange(settings.metrics, "");
    refuse(settings.nameOf(&Settings::metrics), file, "does not end with .prom");
  }
  if (!settings.minShareText.empty()) {
    const auto share = numberIn(settings.minShareText, 1);
    if (!share) {
      refuse(settings.nameOf(&Settings::minShareText), settings.minShareText,
             "is not a number from 0 to 1");
    }
    settings.minShare = *share;
  }
  if (!settings.retryPauseText.empty()) {
    const auto pause = numberIn(settings.retryPauseText, longestRetryPause);
    if (!pause) {
      refuse(settings.nameOf(&Settings::retryPauseText), settings.retryPauseText,
             "is not a number from 0 to 60");
    }
    settings.retryPause = std::chrono::milliseconds(std::lround(*pause * 1000));
  }
  if (!settings.missingText.empty() && settings.missingText != "ok" &&
      settings.missingText != "fail") {
    refuse(settings.nameOf(&Settings::missingText), settings.missingText, "is neither ok nor fail");
  }
  settings.isMissingGood = settings.missingText == "ok";
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
  settings.state = settings.state.substr(0, settings.state.find(':'));
  if (settings.state.empty()) {
    settings.state = "/var/lib/morvik";
  }
  if (settings.morvik.empty()) {
    settings.morvik = findMorvik();
  }
  for (std::string* place : {&settings.state, &settings.morvik, &settings.keyring, &settings.files,
                             &settings.file, &settings.metrics}) {
    if (!place->empty()) {
      *place = std::filesystem::absolute(*place);
    }
  }
}

std::string messageOf(const CLI::ParseError& error, const CLI::App& app) {
  const std::vector<std::string> unknown = app.remaining();
  if (error.get_exit_code() != static_cast<int>(CLI::ExitCodes::ExtrasError) || unknown.empty()) {
    return error.what();
  }
  const bool isOption = unknown.front().starts_with('-');
  return (isOption ? "unknown option: " : "unexpected argument: ") + harmless(unknown.front());
}

}  // namespace

const char* Settings::nameOf(TextSetting value) const {
  const auto* row = std::find_if(std::begin(rows), std::end(rows),
                                 [&](const Row& each) { return each.value == value; });
  return row->variable == nullptr || isFromOption(*this, value) ? row->option : row->variable;
}

std::variant<Settings, int> readSettings(int argc, const char* const* argv) {
  Settings settings;
  CLI::App app{description, "morvik-run"};
  app.footer(footerText());
  app.set_version_flag("-V,--version", "morvik-run " MORVIK_VERSION, "Print the version and exit");
  app.set_help_flag("-h,--help", "Print this help and exit");
  for (const Row& row : rows) {
    const std::string variable = row.variable == nullptr ? "" : std::string(" ") + row.variable;
    app.add_option(row.option, settings.*row.value, row.help)->type_name(row.type + variable);
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
    throw Failure(Status::badUse, messageOf(error, app) + " (see morvik-run --help)");
  }
  addEnvironment(app, settings);
  try {
    readValues(settings);
    chooseSource(settings);
  } catch (const Failure& failure) {
    settings.fault = failure.what();
  }
  findPlaces(settings);
  if (settings.fault.empty() && access(settings.morvik.c_str(), X_OK) != 0) {
    settings.fault = "cannot run morvik: " + harmless(settings.morvik) + ": " +
                     std::generic_category().message(errno);
  }
  return settings;
}

}  // namespace run
