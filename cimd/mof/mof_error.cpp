#include "mof/mof_error.h"

namespace cimd::mof {

namespace {

std::string describe(const Position& position, const std::string& message) {
  std::string text = position.file ? *position.file : "";
  if (position.line != 0) {
    text += ':' + std::to_string(position.line) + ':' + std::to_string(position.column);
  }
  return text + ": error: " + message;
}

}  // namespace

MofError::MofError(const Position& position, const std::string& message)
    : std::runtime_error(describe(position, message)) {}

}  // namespace cimd::mof
