// What is read from files: the JSON documents of morvik-show, of this machine from before or of
// other machines.
#pragma once

#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "entries.h"
#include "machine.h"

namespace show {

struct Inventory {
  int format = 2;
  // RFC 3339; absent in format 1.
  std::optional<std::string> time;
  std::optional<std::string> version;
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

// Opens a file or pipe; not a device, some of which never end. Throws std::system_error or
// std::runtime_error.
std::ifstream openFile(const std::string& name);
[[noreturn]] void failToRead(const std::string& name, int error);
// Throws the same if the file fails, or has more than so many bytes.
std::string readWhole(std::istream& file, const std::string& name, std::size_t most);

// As above; the message begins with the name. Throws std::runtime_error also if the file cannot be
// read, or is larger than 64 MiB.
Inventory readInventory(const std::string& fileName);

struct NamedInventory {
  // Of its file, or its server.
  std::string name;
  Inventory inventory;
};

// What people know each by: its host name; where there is none, the name of its file; and both
// where several have the same host name.
std::vector<Pegasus::String> labelsOf(const std::vector<NamedInventory>& inventories);

}  // namespace show
