// Checks a FRU data file as a run of morvik would read it, but without a machine: an entry is right
// if some machine can publish it. morvik takes a malformed line as its cuts give it; the author
// meant something else.
#pragma once

#include <Pegasus/Common/String.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "explainer.h"
#include "import/fru_file.h"

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

// --- one line ---

// The findings of a line, at positions in its text as src/ counts them.
struct LineFindings {
  // Each has its position in place of a column, and no line.
  std::vector<Finding> list;
  bool hasError = false;

  void error(Pegasus::Uint32 position, const char* code, const Pegasus::String& text) {
    list.push_back({0, position, Severity::error, code, text});
    hasError = true;
  }
  void warning(Pegasus::Uint32 position, const char* code, const Pegasus::String& text) {
    list.push_back({0, position, Severity::warning, code, text});
  }
};

// The form of a line, its quotes and commas, and the texts between them: of one that names none of
// the nine categories, with what recognise() has made of it.
void checkIgnoredLine(const Pegasus::String& line, const show::Recognition& recognition,
                      LineFindings& findings);
// Checks an entry. Returns whether its condition, the third field, is whole.
bool checkFields(const Pegasus::String& line, const EntryMarks& marks, LineFindings& findings);

// The condition of an entry. It must be whole: the positions that limit it are in the line.
void checkQualifier(Category category, const Pegasus::String& line, const EntryMarks& marks,
                    LineFindings& findings);
// The condition of an entry, as morvik reads it; the empty text if its category has none.
Pegasus::String conditionOf(Category category, const Pegasus::String& line);

}  // namespace lint
