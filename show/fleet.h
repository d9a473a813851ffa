// Which lines of a FRU data file are for which machines, by what is known of these: without a
// server.
#pragma once

#include <cstdint>
#include <istream>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "entries.h"
#include "explainer.h"
#include "inventory.h"
#include "json.h"
#include "table.h"
#include "text.h"

namespace show {

// An entry of the file.
struct FleetLine {
  // From 1.
  std::uint64_t line = 0;
  Pegasus::String category;
  EntryFields fields;
  // For each machine, whether it publishes the entry.
  std::vector<bool> isPublished;

  std::size_t count() const;
};

struct Fleet {
  std::vector<NamedInventory> machines;
  std::vector<FleetLine> entries;
  // Those that are not entries.
  std::uint64_t ignored = 0;
};

// Goes through the whole file for all machines. Each inventory must have one.
Fleet explainOn(std::vector<NamedInventory> machines, std::istream& file);

// Machines that publish the same lines share a column. In CSV each has its own.
void writeFleet(std::ostream& out, const Terminal& terminal, const TableForm& form,
                const Fleet& fleet);
void writeFleetJson(std::ostream& out, const Frame& frame, const Fleet& fleet);

}  // namespace show
