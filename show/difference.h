// Changes between two inventories of a machine.
#pragma once

#include <optional>
#include <vector>

#include "inventory.h"
#include "table.h"

namespace show {

struct Difference {
  enum class Kind { added, removed, changed };
  Kind kind = Kind::changed;
  // The category of an entry, "processor", "memory module", or "machine".
  Pegasus::String part;
  // The FRU number or the place; empty for the machine.
  Pegasus::String name;
  // The member of JSON that has changed; empty if all of the part is new or gone.
  Pegasus::String member;
  Text before;
  Text after;
};

// Compares what both have. Entries of morvik are the same if category and FRU number are: their
// identifying numbers count the entries before them. Those of others are the same if all their keys
// are. Parts are the same if their place is; where one inventory has no places, the numbers of
// equal parts are compared.
std::vector<Difference> differencesOf(const Inventory& before, const Inventory& after);

Columns differenceColumns();
// `since` is the time of the older inventory, if it has one.
void writeDifferences(const Output& output, const std::optional<std::string>& since,
                      const std::vector<Difference>& differences);

}  // namespace show
