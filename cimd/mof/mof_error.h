// Where something stands in a MOF file, and what is wrong there.
#pragma once

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

// what() is "file:line:column: error: ..." for people and editors.
class MofError : public std::runtime_error {
 public:
  MofError(const Position& position, const std::string& message);
};

// "file:line:column: warning: ..." about something that is accepted all the same.
std::string warningAt(const Position& position, const std::string& message);

}  // namespace cimd::mof
