// The structure table in which firmware describes a machine (DMTF DSP0134, SMBIOS), taken apart.
// The meaning of the fields is left to the caller.
//
// The bytes come from firmware or from a file and may be anything: no byte outside them is read.
#pragma once

#include <Pegasus/Common/Config.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cimd::host {

// The entry point of the table without its place in memory: the kernel offers it as a file.
struct EntryPoint {
  // In bytes; exact in the 32-bit form, an upper limit in the 64-bit form.
  std::size_t tableLength = 0;
  // Only the 32-bit form has it; 0 there means the same as none.
  std::optional<std::size_t> structureCount;
};

// Nothing when the bytes do not begin with an entry point of either form ("_SM_", "_SM3_") with
// the length and the checksums that DSP0134 asks for. Bytes after it are ignored.
std::optional<EntryPoint> readEntryPoint(std::string_view bytes);

// One structure. A view: it lives as long as the bytes of the table.
class Structure {
 public:
  // `formatted` is the fixed part with its header, `strings` the set of strings, without the zero
  // byte that ends the set.
  Structure(std::string_view formatted, std::string_view strings)
      : formatted_(formatted), strings_(strings) {}

  Pegasus::Uint8 type() const { return *byteAt(0); }

  // The field at an offset from the header's first byte; nothing where the structure, of an older
  // SMBIOS version, is too short to have it.
  std::optional<Pegasus::Uint8> byteAt(std::size_t offset) const;
  std::optional<Pegasus::Uint16> wordAt(std::size_t offset) const;
  std::optional<Pegasus::Uint32> doubleWordAt(std::size_t offset) const;
  // The string whose number is at the offset; nothing when there is no such field, the number
  // is 0 (no string), or the set has fewer strings. Its encoding is unknown.
  std::optional<std::string_view> textAt(std::size_t offset) const;

 private:
  std::string_view formatted_;
  std::string_view strings_;
};

struct StructureTable {
  std::vector<Structure> structures;
  // Why reading ended before the table did; empty when it did not. The structures before the place
  // of the damage are good.
  std::string damage;
};

// The structures in the order of the table, whose bytes must outlive the result. Reading ends at
// the length and the number of structures that the entry point gives, at the end-of-table structure
// where no number is given, and at the first structure that does not fit.
StructureTable readStructures(std::string_view table, const EntryPoint& entryPoint);

}  // namespace cimd::host
