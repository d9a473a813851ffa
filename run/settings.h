// The settings of a run: from the environment, where morvik.service has them from its settings
// file, and from options, which come first.
#pragma once

#include <chrono>
#include <string>
#include <variant>
#include <vector>

namespace run {

struct Settings;
// One of its texts.
using TextSetting = std::string Settings::*;

// A text is empty if it is not set.
struct Settings {
  // Where the data files are. After readSettings() exactly one of these is set, or none with the
  // FTP server.
  std::string url;
  std::string files;
  std::string file;
  // A host, perhaps with a blank and a port. With a directory alone, it is the built-in server.
  std::string ftpServer;
  std::string ftpDirectory;

  std::string keyring;
  std::string certificates;
  std::string minShareText;
  std::string missingText;
  std::string retryPauseText;
  std::string metrics;
  std::string state;
  std::string morvik;
  // Which of these texts options have set; variables have set the others.
  std::vector<TextSetting> fromOptions;
  bool isCheck = false;
  bool isForced = false;
  bool isJson = false;
  bool isQuiet = false;

  // What the texts mean.
  double minShare = 0.5;
  bool isMissingGood = false;
  std::chrono::milliseconds retryPause{5000};
  // Empty, or which setting is missing or wrong: the run fails with these words, and remembers
  // that.
  std::string fault;

  // "--keyring" or "MORVIK_KEYRING", by what has set it.
  const char* nameOf(TextSetting value) const;
};

// The settings, or the exit status after help or version have been printed. Throws Failure(badUse)
// if the command line cannot be understood.
[[nodiscard]] std::variant<Settings, int> readSettings(int argc, const char* const* argv);

}  // namespace run
