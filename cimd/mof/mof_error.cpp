#include "mof/mof_error.h"

namespace cimd::mof {

namespace {

std::string messageAt(const Position& position, const char* kind, const std::string& message) {
  std::string text = position.file ? *position.file : "";
  if (position.line != 0) {
    text += ':' + std::to_string(position.line) + ':' + std::to_string(position.column);
  }
  return text + ": " + kind + ": " + message;
}

}  // namespace

MofError::MofError(const Position& position, const std::string& message)
    : std::runtime_error(messageAt(position, "error", message)) {}

std::string warningAt(const Position& position, const std::string& message) {
  return messageAt(position, "warning", message);
}

}  // namespace cimd::mof
