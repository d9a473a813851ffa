// Checks a FRU data file as a run of morvik would read it, but without a machine: an entry is right
// if some machine can publish it.
#pragma once

#include <Pegasus/Common/String.h>

#include <cstdint>
#include <functional>
#include <string>

namespace lint {

enum class Severity { error, warning };

struct Finding {
  // Both from 1. A column is a character of the line.
  std::uint64_t line = 1;
  std::uint64_t column = 1;
  Severity severity = Severity::error;
  // For programs; the manual page lists them all.
  const char* code = "";
  Pegasus::String text;
};

// Reports what is wrong with the file, in the order of lines and columns. Of a text of more than
// show::mostFileBytes, only that is reported.
void check(const std::string& text, const std::function<void(const Finding&)>& report);

}  // namespace lint
