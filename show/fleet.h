// Which lines of a FRU data file are for which machines, by what is known of these: without a
// server.
#pragma once

#include <cstdint>
#include <istream>
#include <optional>
#include <string>
#include <vector>

#include "explainer.h"
#include "inventory.h"

namespace show {

// An entry of the file.
struct FleetLine {
  // From 1.
  std::uint64_t line = 0;
  Pegasus::String category;
  Text fruNumber;
  Text description;
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
void writeFleet(const Output& output, const Fleet& fleet);

}  // namespace show
