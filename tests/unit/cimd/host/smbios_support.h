// SMBIOS tables made to measure.
#pragma once

#include "host/inventory.h"
#include "host/sources.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "support.h"

namespace cimd::test {

using namespace host;

inline char toByte(unsigned value) {
  return static_cast<char>(static_cast<unsigned char>(value));
}

inline void putBytes(std::string& bytes, std::size_t offset, std::size_t size, std::size_t value) {
  for (std::size_t i = 0; i < size; ++i) {
    bytes.at(offset + i) = toByte(static_cast<unsigned>(value >> 8 * i & 0xFF));
  }
}

inline void setChecksum(std::string& bytes, std::size_t start, std::size_t length,
                        std::size_t offset) {
  bytes.at(offset) = 0;
  unsigned sum = 0;
  for (const char byte : bytes.substr(start, length)) {
    sum += static_cast<unsigned char>(byte);
  }
  bytes.at(offset) = toByte(0U - sum);
}

// A structure under construction: a formatted part of zeroes, filled field by field.
class StructureBuilder {
 public:
  // `length` includes the header.
  StructureBuilder(unsigned type, unsigned length, unsigned handle = 0) : formatted_(length, '\0') {
    byte(0, type).byte(1, length).word(2, handle);
  }

  StructureBuilder& byte(std::size_t offset, unsigned value) { return number(offset, 1, value); }
  StructureBuilder& word(std::size_t offset, unsigned value) { return number(offset, 2, value); }
  StructureBuilder& doubleWord(std::size_t offset, std::uint32_t value) {
    return number(offset, 4, value);
  }
  // Appends the string and puts its number at the offset.
  StructureBuilder& text(std::size_t offset, std::string_view text) {
    strings_.append(text).push_back('\0');
    return byte(offset, ++stringCount_);
  }
  // With its strings and the zero bytes that end them.
  std::string bytes() const {
    return formatted_ + strings_ + std::string(strings_.empty() ? 2 : 1, '\0');
  }

 private:
  StructureBuilder& number(std::size_t offset, std::size_t size, std::size_t value) {
    putBytes(formatted_, offset, size, value);
    return *this;
  }

  std::string formatted_;
  std::string strings_;
  unsigned stringCount_ = 0;
};

inline StructureBuilder systemStructure(std::string_view product, std::string_view serialNumber) {
  return StructureBuilder(1, 0x1B).text(0x05, product).text(0x07, serialNumber);
}

// A populated socket.
inline StructureBuilder processorStructure(std::string_view socket, unsigned megahertz) {
  return StructureBuilder(4, 0x30).text(0x04, socket).word(0x16, megahertz).byte(0x18, 0x41);
}

// `size` as in the structure: whole mebibytes, for the most part.
inline StructureBuilder memoryStructure(std::string_view locator, unsigned size) {
  return StructureBuilder(17, 0x28).word(0x0C, size).text(0x10, locator);
}

inline std::string endOfTable() {
  return StructureBuilder(127, 4).bytes();
}

// With right checksums, 1Fh and 18h bytes long.
inline std::string entryPoint32(std::size_t tableLength, std::size_t structureCount) {
  std::string bytes(0x1F, '\0');
  bytes.replace(0, 4, "_SM_");
  putBytes(bytes, 0x05, 1, 0x1F);
  bytes.replace(0x10, 5, "_DMI_");
  putBytes(bytes, 0x16, 2, tableLength);
  putBytes(bytes, 0x1C, 2, structureCount);
  putBytes(bytes, 0x1E, 1, 0x28);
  setChecksum(bytes, 0x10, 0x0F, 0x15);
  setChecksum(bytes, 0, 0x1F, 0x04);
  return bytes;
}

inline std::string entryPoint64(std::size_t maxTableLength) {
  std::string bytes(0x18, '\0');
  bytes.replace(0, 5, "_SM3_");
  putBytes(bytes, 0x06, 1, 0x18);
  putBytes(bytes, 0x07, 1, 3);
  putBytes(bytes, 0x0C, 4, maxTableLength);
  setChecksum(bytes, 0, 0x18, 0x05);
  return bytes;
}

// Changes one byte, and another one so that the sum of the bytes stays the same.
inline std::string withRightSum(std::string bytes, std::size_t offset, unsigned value,
                                std::size_t checksumOffset) {
  const auto old = static_cast<unsigned char>(bytes.at(offset));
  const auto checksum = static_cast<unsigned char>(bytes.at(checksumOffset));
  bytes.at(offset) = toByte(value);
  bytes.at(checksumOffset) = toByte(checksum + old - value);
  return bytes;
}

// The bytes of a host with these tables and a 64-bit entry point; endOfTable() is added.
inline HostBytes hostWith(const std::vector<StructureBuilder>& structures) {
  std::string table;
  for (const StructureBuilder& structure : structures) {
    table += structure.bytes();
  }
  table += endOfTable();
  HostBytes bytes;
  bytes.hostName = "host";
  bytes.entryPoint = entryPoint64(table.size());
  bytes.table = table;
  return bytes;
}

inline Inventory inventoryOf(const std::vector<StructureBuilder>& structures) {
  return takeInventory(hostWith(structures));
}

// The text of a value, "null" for null.
inline std::string textOf(const CIMInstance& instance, const char* property) {
  const CIMValue& value = instance.getProperty(instance.findProperty(property)).getValue();
  return value.isNull() ? "null" : value.toString().toUtf8();
}

// One property of each instance of the class, in their order.
inline std::vector<std::string> valuesOf(const Inventory& inventory, const char* className,
                                         const char* property) {
  std::vector<std::string> values;
  for (const CIMInstance& instance : inventory.instances) {
    if (instance.getClassName() == className) {
      values.push_back(textOf(instance, property));
    }
  }
  return values;
}

// A machine in the directory of recorded tables.
inline HostBytes recorded(const std::string& machine) {
  return readHostBytes(
      recordedHost(std::filesystem::path(MORVIK_TEST_DATA_DIR) / "smbios" / machine));
}

}  // namespace cimd::test
