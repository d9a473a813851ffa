// SMBIOS tables made to measure.
#pragma once

#include "host/host_files.h"
#include "host/inventory.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "support.h"

namespace cimd::test {

using namespace host;

// A structure under construction: a formatted part of zeroes, filled field by field.
class StructureBuilder {
 public:
  // `length` includes the header.
  StructureBuilder(unsigned type, unsigned length, unsigned handle = 0);

  StructureBuilder& byte(std::size_t offset, unsigned value);
  StructureBuilder& word(std::size_t offset, unsigned value);
  StructureBuilder& doubleWord(std::size_t offset, std::uint32_t value);
  // Appends the string and puts its number at the offset.
  StructureBuilder& text(std::size_t offset, std::string_view text);
  // With its strings and the zero bytes that end them.
  std::string bytes() const;

 private:
  std::string formatted_;
  std::string strings_;
  unsigned stringCount_ = 0;
};

StructureBuilder systemStructure(std::string_view product, std::string_view serialNumber);
// A populated socket.
StructureBuilder processorStructure(std::string_view socket, unsigned megahertz);
// `size` as in the structure: whole mebibytes, for the most part.
StructureBuilder memoryStructure(std::string_view locator, unsigned size);
std::string endOfTable();

// With right checksums, 1Fh and 18h bytes long.
std::string entryPoint32(std::size_t tableLength, std::size_t structureCount);
std::string entryPoint64(std::size_t maxTableLength);
// Changes one byte, and another one so that the sum of the bytes stays the same.
std::string withRightSum(std::string bytes, std::size_t offset, unsigned value,
                         std::size_t checksumOffset);

// What a host with these tables and a 64-bit entry point gives; endOfTable() is added.
HostBytes hostWith(const std::vector<StructureBuilder>& structures);
Inventory inventoryOf(const std::vector<StructureBuilder>& structures);

// A machine in the directory of recorded tables.
HostBytes recorded(const std::string& machine);

}  // namespace cimd::test
