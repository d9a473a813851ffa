// Findings in one line. morvik takes a malformed line as its cuts give it; the author meant
// something else.
#pragma once

#include <vector>

#include "checker.h"
#include "explainer.h"
#include "import/fru_file.h"

namespace lint {

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
