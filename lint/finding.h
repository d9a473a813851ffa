// What is wrong with a FRU data file, and where.
#pragma once

#include <Pegasus/Common/String.h>

#include <cstdint>
#include <functional>
#include <vector>

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

// The findings of one line, at positions in its text as src/ counts them.
class LineFindings {
 public:
  struct Item {
    Pegasus::Uint32 position;
    Severity severity;
    const char* code;
    Pegasus::String text;
  };

  void error(Pegasus::Uint32 position, const char* code, const Pegasus::String& text) {
    items_.push_back({position, Severity::error, code, text});
    hasError_ = true;
  }
  void warning(Pegasus::Uint32 position, const char* code, const Pegasus::String& text) {
    items_.push_back({position, Severity::warning, code, text});
  }
  bool hasError() const { return hasError_; }
  std::vector<Item>& items() { return items_; }

 private:
  std::vector<Item> items_;
  bool hasError_ = false;
};

}  // namespace lint
