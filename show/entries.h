// The published FRUs, as the CIM server tells them.
#pragma once

#include <Pegasus/Client/CIMClient.h>

#include <optional>
#include <string>
#include <vector>

namespace show {

// Each text is nothing where the server has no value.
struct Entry {
  std::optional<Pegasus::String> category;
  std::optional<Pegasus::String> fruNumber;
  std::optional<Pegasus::String> description;
  std::optional<Pegasus::String> identifyingNumber;
  std::optional<Pegasus::String> vendor;
  std::optional<Pegasus::String> revisionLevel;
  // Whether morvik takes it for one of its own.
  bool isOurs = false;
};

// All of them, those of other publishers too: by category in the order of morvik's own table,
// others behind them, within a category by number. Throws what the client throws.
std::vector<Entry> readEntries(Pegasus::CIMClient& client);

// Whether `category` is one of the names, letter case ignored. No names are all categories.
bool isAmong(const std::optional<Pegasus::String>& category, const std::vector<std::string>& names);

}  // namespace show
