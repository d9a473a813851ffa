#include "log.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <iostream>
#include <string>

namespace cimd {

namespace {

struct LevelTexts {
  const char* priority;  // of syslog(3)
  const char* word;
};

constexpr std::array<LevelTexts, 4> levelTexts{{
    {"<3>", "error: "},
    {"<4>", "warning: "},
    {"<6>", ""},
    {"<7>", "debug: "},
}};

// The variable names device and inode of the journal's socket (systemd.exec(5)). Programs that a
// service has started have it too, whatever their standard error is.
bool isJournal(int descriptor) {
  const char* stream = std::getenv("JOURNAL_STREAM");
  struct stat status = {};
  return stream != nullptr && fstat(descriptor, &status) == 0 &&
         std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino) == stream;
}

}  // namespace

std::string withoutControls(std::string_view text) {
  std::string out(text);
  for (char& c : out) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
      c = '?';
    }
  }
  return out;
}

Log::Log(LogLevel most) : most_(most), isForJournal_(isJournal(STDERR_FILENO)) {}

void Log::write(LogLevel level, std::string_view text) const {
  if (isOn(level)) {
    const LevelTexts& chosen = levelTexts.at(static_cast<std::size_t>(level));
    writeLine((isForJournal_ ? chosen.priority : std::string("morvik-cimd: ")) + chosen.word, text);
  }
}

void Log::writeOfFile(LogLevel level, std::string_view text) const {
  if (isOn(level)) {
    writeLine(isForJournal_ ? levelTexts.at(static_cast<std::size_t>(level)).priority : "", text);
  }
}

void Log::writeLine(std::string line, std::string_view text) const {
  line += withoutControls(text) + '\n';
  std::cerr.clear();  // a disk that was full then may have space now
  std::cerr << line << std::flush;
}

}  // namespace cimd
