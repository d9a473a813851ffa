// Positions in MOF files, and messages about what is there.
#pragma once

#include <Pegasus/Common/Exception.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace cimd::mof {

// Lines and columns count from 1, columns in characters. Line 0 means the file as a whole.
struct Position {
  std::shared_ptr<const std::string> file;
  unsigned line = 0;
  unsigned column = 0;
};

// "file:line:column: severity: text", the form that editors know.
inline std::string messageAt(const Position& position, const char* severity,
                             const std::string& text) {
  std::string message = position.file ? *position.file : "";
  if (position.line != 0) {
    message += ':' + std::to_string(position.line) + ':' + std::to_string(position.column);
  }
  return message + ": " + severity + ": " + text;
}

// what() is a messageAt() the position, of severity "error".
class MofError : public std::runtime_error {
 public:
  MofError(const Position& position, const std::string& text)
      : std::runtime_error(messageAt(position, "error", text)) {}
};

// Runs `action`, which works for a declaration at `position`: what it refuses with an exception of
// the client library is an error there.
template <typename Action>
auto withPosition(const Position& position, Action action) {
  try {
    return action();
  } catch (const Pegasus::CIMException& error) {
    throw MofError(position, error.getDescription().toUtf8());
  } catch (const Pegasus::Exception& error) {
    throw MofError(position, error.getMessage().toUtf8());
  }
}

}  // namespace cimd::mof
