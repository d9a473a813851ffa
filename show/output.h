// Writes the tables of morvik-show and what people read beside them, the same in JSON, and the page
// of HTML.
#pragma once

#include <functional>
#include <vector>

#include "entries.h"
#include "explainer.h"
#include "inventory.h"
#include "machine.h"
#include "table.h"

namespace show {

// Vendors are shown if the list has entries of other publishers.
Columns listColumns(bool withVendor);
// JSON of format 1 is without the machine.
void writeList(const Output& output, bool withVendor, const Machine& machine,
               const std::vector<Entry>& entries);

// The values that morvik reads, in words, and the parts, by place.
Columns machineColumns();
void writeMachine(const Output& output, const Machine& machine);

// How many lines had each result.
struct Summary {
  std::uint64_t lines = 0;
  std::uint64_t published = 0;
  std::uint64_t leftOut = 0;
  std::uint64_t ignored = 0;
};

// The explanation of the next line, or nothing after the last one.
using NextExplanation = std::function<std::optional<Explanation>()>;

// Writes each explanation before it asks for the next: a file may have a million lines.
Columns explanationColumns();
Summary writeExplanations(const Output& output, const Machine& machine,
                          const NextExplanation& next);

// The number for a part.
struct PartNumber {
  const Part* part;
  // Both absent if there is no entry for the part.
  Text fruNumber = {};
  Text description = {};
};

Columns numberColumns();
void writeNumbers(const Output& output, const Machine& machine,
                  const std::vector<PartNumber>& numbers);

// One page that shows machines and their parts. One machine is drawn. Of several there is a list to
// search and sort, with a link to the drawing of each. Ages are those at `now`.
void writePage(std::ostream& out, const std::vector<NamedInventory>& machines,
               std::chrono::system_clock::time_point now);

// "2400 MHz", "16 GiB"; what morvik makes of a part without a value.
Pegasus::String partWords(const Part& part);
// "DDR4, 2666 MHz"; "Processor 3 GHz, 8 cores".
Text typeWords(const Part& part);

// "2 x 16 GiB (16384 MiB), 1 x 953 MiB": equal ones are counted, in the order of the first of them.
Pegasus::String groupWords(const Parts& parts);

}  // namespace show
