// The settings of a run: from the environment, where morvik.service has them from its settings
// file, and from options, which come first.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <variant>

namespace run {

struct Setting {
  // Empty if it is not set.
  std::string text = {};
  // "--keyring" or "MORVIK_KEYRING", by what has set it.
  const char* name = "";
};

struct Settings {
  // Where the data files are. After readSettings() exactly one of these is set, or none with the
  // FTP server.
  Setting url;
  Setting files;
  Setting file;
  // A host, perhaps with a blank and a port. With a directory alone, it is the built-in server.
  Setting ftpServer;
  Setting ftpDirectory;

  Setting keyring;
  Setting certificates;
  Setting metrics;
  Setting state;
  Setting morvik;
  bool isCheck = false;
  bool isForced = false;
  bool isJson = false;
  bool isQuiet = false;

  Setting minShareText;
  double minShare = 0.5;
  Setting missingText;
  bool isMissingGood = false;
  Setting retryPauseText;
  std::chrono::milliseconds retryPause{5000};
  // Empty, or which setting is missing or wrong: the run fails with these words, and remembers
  // that.
  std::string fault;
};

// Throws Failure(badUse): the value, which is that of the setting or part of it, breaks the rule.
[[noreturn]] void refuseSetting(const Setting& setting, const std::string& value,
                                const std::string& rule);

// Whether the text has no other characters than ASCII letters, digits and these.
[[nodiscard]] bool isOfLettersDigitsAnd(std::string_view others, std::string_view text);

// The settings, or the exit status after help or version have been printed. Throws Failure(badUse)
// if the command line cannot be understood.
[[nodiscard]] std::variant<Settings, int> readSettings(int argc, const char* const* argv);

}  // namespace run
