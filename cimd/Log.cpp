#include "cimd/Log.h"

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

constexpr std::array<LevelTexts, 4> texts{{
    {"<3>", "error: "},
    {"<4>", "warning: "},
    {"<6>", ""},
    {"<7>", "debug: "},
}};

}  // namespace

Log::Log(LogLevel most) : most_(most), isForJournal_(std::getenv("JOURNAL_STREAM") != nullptr) {}

void Log::write(LogLevel level, std::string_view text) const {
  if (!isOn(level)) {
    return;
  }
  const LevelTexts& chosen = texts.at(static_cast<std::size_t>(level));
  std::string line = isForJournal_ ? chosen.priority : "morvik-cimd: ";
  line += chosen.word;
  for (const char c : text) {
    const bool isControl = static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
    line += isControl ? '?' : c;
  }
  line += '\n';
  std::cerr << line << std::flush;
}

}  // namespace cimd
