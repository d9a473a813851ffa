// The condition of an entry, its third field.
#pragma once

#include "finding.h"
#include "import/fru_file.h"

namespace lint {

// The third field must be whole: the positions that limit it are in the line.
void checkQualifier(Category category, const Pegasus::String& line, const EntryMarks& marks,
                    LineFindings& findings);

// What an entry asks of a machine, as morvik reads it; the empty text if its category asks nothing.
Pegasus::String conditionOf(Category category, const Pegasus::String& line);

}  // namespace lint
