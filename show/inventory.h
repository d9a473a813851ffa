// The content of the JSON documents of morvik-show, as docs/inventory.schema.json describes it, and
// reading such documents: earlier ones of this machine, or those of other machines.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "entries.h"
#include "machine.h"
#include "table.h"

namespace show {

Json toJson(const Entry& entry);
Json toJson(const Machine& machine, int format);

struct Inventory {
  int format = 2;
  // RFC 3339; absent in format 1.
  std::optional<std::string> time;
  std::optional<std::string> lastGoodRun;
  // Absent in a list of format 1. In format 1, parts have only the compared text and the amount,
  // which is whole mebibytes for a module.
  std::optional<Machine> machine;
  // Absent unless it is a list.
  std::optional<std::vector<Entry>> entries;
};

// Reads a list or a machine, of format 1 or 2, unknown members ignored. Throws std::runtime_error
// with the place of the mistake, as in "machine.processors[2].place is not a text", for any other
// text.
Inventory parseInventory(std::string_view text);

// As above, from a file or what readWholeInput() takes for one; the message begins with the name.
// Throws std::runtime_error also if it cannot be read, or is larger than 64 MiB.
Inventory readInventory(const std::string& fileName);

struct NamedInventory {
  // The name of its file, or of its server.
  std::string name;
  Inventory inventory;
};

// A name of each for people: its host name; where there is none, the name of its file; and both
// where several have the same host name.
std::vector<Pegasus::String> labelsOf(const std::vector<NamedInventory>& inventories);

}  // namespace show
