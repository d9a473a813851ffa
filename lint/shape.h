// The form of a line: its quotes and commas, and the texts between them. morvik takes a malformed
// line as its cuts give it; the author meant something else.
#pragma once

#include "data_file.h"
#include "finding.h"
#include "import/fru_file.h"

namespace lint {

// Of a line that names none of the nine categories, with what recognise() has made of it.
void checkIgnoredLine(const Pegasus::String& line, const show::Recognition& recognition,
                      LineFindings& findings);

// Of an entry. Returns whether its condition, the third field, is whole.
bool checkFields(const Pegasus::String& line, const EntryMarks& marks, LineFindings& findings);

}  // namespace lint
