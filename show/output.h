// What people get: the tables of morvik-show. CSV, of the same tables, is for spreadsheets.
#pragma once

#include <ostream>
#include <vector>

#include "entries.h"
#include "json.h"
#include "machine.h"
#include "table.h"

namespace show {

// Vendors are shown if the list has entries of other publishers.
Columns listColumns(bool withVendor);
Columns machineColumns();
Columns explanationColumns();

void writeList(Table& table, const std::vector<Entry>& entries);

// What morvik reads, in words; the table has the parts, by place.
void writeMachine(std::ostream& out, const Terminal& terminal, const Machine& machine);
void writeParts(Table& table, const Machine& machine);

// Each explanation is written before the next is asked for: a file may be of any length.
Summary writeExplanations(Table& table, const NextExplanation& next);
void writeSummary(std::ostream& out, const Summary& summary);

// The number for a part, and the part.
struct PartNumber {
  NamedPart named;
  // Both absent if there is no entry for the part.
  std::optional<Pegasus::String> fruNumber;
  std::optional<Pegasus::String> description;
};

Columns numberColumns();
void writeNumbers(Table& table, const std::vector<PartNumber>& numbers);
void writeNumbersJson(std::ostream& out, const Frame& frame, const Machine& machine,
                      const std::vector<PartNumber>& numbers);

// "2400 MHz", "16 GiB"; what morvik makes of a part without a value.
Pegasus::String partWords(const Part& part, bool isModule);
// "DDR4, 2666 MHz"; "Processor 3 GHz, 8 cores".
std::optional<Pegasus::String> typeWords(const Part& part, bool isModule);

// "2 x 16 GiB (16384 MiB), 1 x 953 MiB": equal ones are counted, in the order of the first of them.
Pegasus::String groupWords(const Parts& parts, bool areModules);

}  // namespace show
