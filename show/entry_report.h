// The published FRUs in the forms that the user can choose.
#pragma once

#include <ostream>
#include <vector>

#include "entries.h"
#include "terminal.h"

namespace show {

// For people. With `withVendor` there is one column more.
void writeTable(std::ostream& out, const Terminal& terminal, const std::vector<Entry>& entries,
                bool withVendor);
// RFC 4180, with a line of headings. A file or pipe gets all texts as they are, a terminal harmless
// ones.
void writeCsv(std::ostream& out, const Terminal& terminal, const std::vector<Entry>& entries);
void writeJson(std::ostream& out, const Terminal& terminal, const std::vector<Entry>& entries);

}  // namespace show
