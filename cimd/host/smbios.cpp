#include "host/smbios.h"

#include <algorithm>
#include <numeric>

namespace cimd::host {

namespace {

using Pegasus::Uint16;
using Pegasus::Uint32;
using Pegasus::Uint8;

constexpr std::size_t headerLength = 4;
constexpr Uint8 endOfTable = 127;
// Handles have 16 bits and no two structures share one.
constexpr std::size_t maxStructures = 0x10000;

// SMBIOS numbers are little-endian. The caller has checked that the bytes are there.
Uint32 numberAt(std::string_view bytes, std::size_t offset, std::size_t size) {
  Uint32 number = 0;
  for (std::size_t i = size; i-- > 0;) {
    number = number << 8U | static_cast<Uint8>(bytes[offset + i]);
  }
  return number;
}

bool sumsToZero(std::string_view bytes) {
  return std::accumulate(bytes.begin(), bytes.end(), 0U, [](unsigned sum, char byte) {
           return (sum + static_cast<Uint8>(byte)) & 0xFFU;
         }) == 0;
}

// True when the first `length` bytes are there and their checksum is right. The length is one that
// the entry point gives for itself.
bool isEntryPoint(std::string_view bytes, std::string_view anchor, std::size_t lengthOffset,
                  std::size_t minLength) {
  if (bytes.substr(0, anchor.size()) != anchor || bytes.size() < minLength) {
    return false;
  }
  const std::size_t length = static_cast<Uint8>(bytes[lengthOffset]);
  return length >= minLength && length <= bytes.size() && sumsToZero(bytes.substr(0, length));
}

// DSP0134, 32-bit entry point. Its length is 1Fh, but version 2.1 of the standard said 1Eh and
// firmware of that time followed it, with the last byte after what counts as the entry point. A
// second part at 10h has its own anchor and checksum.
std::optional<EntryPoint> read32BitEntryPoint(std::string_view bytes) {
  if (!isEntryPoint(bytes, "_SM_", 0x05, 0x1E)) {
    return std::nullopt;
  }
  constexpr std::size_t partLength = 0x0F;
  const std::string_view part = bytes.substr(0x10, partLength);
  const bool isPartGood =
      part.substr(0, 5) == "_DMI_" && (part.size() < partLength || sumsToZero(part));
  if (!isPartGood) {
    return std::nullopt;
  }
  return EntryPoint{numberAt(bytes, 0x16, 2), numberAt(bytes, 0x1C, 2)};
}

std::optional<EntryPoint> read64BitEntryPoint(std::string_view bytes) {
  if (!isEntryPoint(bytes, "_SM3_", 0x06, 0x18)) {
    return std::nullopt;
  }
  return EntryPoint{numberAt(bytes, 0x0C, 4), std::nullopt};
}

// The length of the string set at the beginning of `bytes`, with the first of the two zero bytes
// that end it; nothing when they are missing. A structure without strings has the two as well.
std::optional<std::size_t> stringSetLength(std::string_view bytes) {
  const std::size_t end = bytes.find(std::string_view("\0\0", 2));
  return end == std::string_view::npos ? std::nullopt : std::optional(end + 1);
}

std::string atByte(std::size_t position) {
  return " at byte " + std::to_string(position);
}

}  // namespace

std::optional<EntryPoint> readEntryPoint(std::string_view bytes) {
  const auto entryPoint = read64BitEntryPoint(bytes);
  return entryPoint ? entryPoint : read32BitEntryPoint(bytes);
}

std::optional<Uint8> Structure::byteAt(std::size_t offset) const {
  if (offset + 1 > formatted_.size()) {
    return std::nullopt;
  }
  return static_cast<Uint8>(formatted_[offset]);
}

std::optional<Uint16> Structure::wordAt(std::size_t offset) const {
  if (offset + 2 > formatted_.size()) {
    return std::nullopt;
  }
  return static_cast<Uint16>(numberAt(formatted_, offset, 2));
}

std::optional<Uint32> Structure::doubleWordAt(std::size_t offset) const {
  if (offset + 4 > formatted_.size()) {
    return std::nullopt;
  }
  return numberAt(formatted_, offset, 4);
}

std::optional<std::string_view> Structure::textAt(std::size_t offset) const {
  std::size_t number = byteAt(offset).value_or(0);
  std::string_view rest = strings_;
  while (number > 0 && !rest.empty() && rest.front() != '\0') {
    const std::string_view text = rest.substr(0, rest.find('\0'));
    if (--number == 0) {
      return text;
    }
    rest.remove_prefix(std::min(text.size() + 1, rest.size()));
  }
  return std::nullopt;
}

StructureTable readStructures(std::string_view table, const EntryPoint& entryPoint) {
  StructureTable result;
  const std::size_t count = entryPoint.structureCount.value_or(0);
  const std::size_t limit = count > 0 ? count : maxStructures;
  const std::string_view bytes = table.substr(0, entryPoint.tableLength);
  std::size_t position = 0;
  while (result.structures.size() < limit && bytes.size() - position >= headerLength) {
    const std::string_view rest = bytes.substr(position);
    const std::size_t length = static_cast<Uint8>(rest[1]);
    if (length < headerLength || length > rest.size()) {
      result.damage = "the structure" + atByte(position) + " gives a length of " +
                      std::to_string(length) + " bytes, which is invalid";
      return result;
    }
    const auto stringsLength = stringSetLength(rest.substr(length));
    if (!stringsLength) {
      result.damage = "the strings of the structure" + atByte(position) + " have no end";
      return result;
    }
    const Structure& structure =
        result.structures.emplace_back(rest.substr(0, length), rest.substr(length, *stringsLength));
    // With a number of structures, some firmware goes on after this one.
    if (structure.type() == endOfTable && count == 0) {
      return result;
    }
    position += length + *stringsLength + 1;
  }
  if (count == 0) {
    result.damage = "it ends" + atByte(position) + " without an end-of-table structure";
  } else if (result.structures.size() < count) {
    result.damage = "it ends" + atByte(position) + ", after " +
                    std::to_string(result.structures.size()) + " of " + std::to_string(count) +
                    " structures";
  }
  return result;
}

}  // namespace cimd::host
