// Messages of the server, a line each, on standard error.
#pragma once

#include <string>
#include <string_view>

namespace cimd {

enum class LogLevel { error, warning, info, debug };

// The text with '?' in place of each control character: texts from outside must not command a
// terminal.
std::string withoutControls(std::string_view text);

// When standard error is the systemd journal, each line starts with its priority, such as "<4>",
// which the journal takes off (sd-daemon(3)).
class Log {
 public:
  // Messages that are less important than `most` are left out.
  explicit Log(LogLevel most);

  bool isOn(LogLevel level) const { return level <= most_; }

  void error(std::string_view text) const { write(LogLevel::error, text); }
  void warning(std::string_view text) const { write(LogLevel::warning, text); }
  void info(std::string_view text) const { write(LogLevel::info, text); }
  void debug(std::string_view text) const { write(LogLevel::debug, text); }
  // Control characters become '?', so that a line stays one whatever it quotes.
  void write(LogLevel level, std::string_view text) const;
  // About a file of the user. The text begins with file, line and column, and so does the line, for
  // editors to find.
  void writeOfFile(LogLevel level, std::string_view text) const;

 private:
  void writeLine(std::string line, std::string_view text) const;

  LogLevel most_;
  bool isForJournal_;
};

}  // namespace cimd
