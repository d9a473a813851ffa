// What is written to standard output: tables for people, CSV, and JSON. JSON is always ASCII, one
// object or one item of a list on each line.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <ostream>
#include <vector>

#include "entries.h"
#include "explainer.h"
#include "machine.h"
#include "text.h"

namespace show {

// With `withVendor` there is one column more.
void writeTable(std::ostream& out, const Terminal& terminal, const std::vector<Entry>& entries,
                bool withVendor);
// RFC 4180, with a line of headings. A file or pipe gets all texts as they are, a terminal
// sanitized ones, but a text that a spreadsheet would take for a formula begins with an apostrophe.
void writeCsv(std::ostream& out, const Terminal& terminal, const std::vector<Entry>& entries);
void writeJson(std::ostream& out, const std::vector<Entry>& entries);

void writeMachine(std::ostream& out, const Terminal& terminal, const Machine& machine);
void writeMachineJson(std::ostream& out, const Machine& machine);

// How many lines had each result.
struct Summary {
  std::uint64_t lines = 0;
  std::uint64_t published = 0;
  std::uint64_t leftOut = 0;
  std::uint64_t ignored = 0;
};

// The explanation of the next line, or nothing after the last one.
using NextExplanation = std::function<std::optional<Explanation>()>;

// Both write each explanation before they ask for the next: a file may be of any length.
Summary writeExplanations(std::ostream& out, const Terminal& terminal, const NextExplanation& next);
Summary writeExplanationsJson(std::ostream& out, const Machine& machine,
                              const NextExplanation& next);

}  // namespace show
