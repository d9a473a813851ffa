// Reads SMBIOS tables into an inventory, and creates its instances in a repository.
//
// The first byte of the input has flags, the second is the length of the entry point, which
// follows; then comes the table, and after a separator cpuinfo.
#include "host/smbios.h"
#include "host/inventory.h"
#include "model/repository.h"
#include "mof/loader.h"

#include <algorithm>
#include <string>
#include <vector>

#include "support/check.h"
#include "support/round_trip.h"

namespace {

using cimd::host::HostBytes;
using cimd::host::Inventory;
using cimd::host::Structure;
using cimd::host::StructureTable;
using fuzz::require;

enum Flag : unsigned { SUMS_ARE_MENDED = 1, HAS_CPUINFO = 2, HAS_NO_TABLE = 4 };

constexpr std::string_view separator = "\n\xFF\n";

// Makes the bytes from `start` on add up to 0, which the fuzzer would hardly achieve by itself.
void mendSum(std::string& bytes, std::size_t start, std::size_t length, std::size_t place) {
  if (start + length > bytes.size() || place < start || place >= start + length) {
    return;
  }
  unsigned sum = 0;
  for (std::size_t i = start; i < start + length; ++i) {
    sum += static_cast<unsigned char>(bytes[i]);
  }
  bytes[place] = static_cast<char>(static_cast<unsigned char>(bytes[place]) - sum);
}

void mendSums(std::string& entryPoint) {
  if (entryPoint.starts_with("_SM3_") && entryPoint.size() > 6) {
    mendSum(entryPoint, 0, static_cast<unsigned char>(entryPoint[6]), 5);
  } else if (entryPoint.starts_with("_SM_") && entryPoint.size() > 5) {
    mendSum(entryPoint, 0x10, 0x0F, 0x15);
    mendSum(entryPoint, 0, static_cast<unsigned char>(entryPoint[5]), 4);
  }
}

HostBytes hostFrom(std::string_view input) {
  HostBytes host;
  host.hostName = "box1";
  const unsigned flags = fuzz::takeByte(input);
  const std::size_t length = std::min<std::size_t>(fuzz::takeByte(input), input.size());
  std::string entryPoint(input.substr(0, length));
  input.remove_prefix(length);
  if ((flags & SUMS_ARE_MENDED) != 0) {
    mendSums(entryPoint);
  }
  const std::size_t end = std::min(input.find(separator), input.size());
  if ((flags & HAS_NO_TABLE) == 0) {
    host.entryPoint = entryPoint;
    host.table = std::string(input.substr(0, end));
  }
  if ((flags & HAS_CPUINFO) != 0 && end < input.size()) {
    host.cpuinfo = std::string(input.substr(end + separator.size()));
  }
  return host;
}

bool isInside(std::string_view part, std::string_view whole) {
  return part.data() >= whole.data() && part.data() + part.size() <= whole.data() + whole.size();
}

// Requires that texts are inside the table, and that numbers can be read.
void checkStructures(const HostBytes& host) {
  const auto entryPoint = cimd::host::readEntryPoint(host.entryPoint.value_or(""));
  if (!entryPoint || !host.table) {
    return;
  }
  const std::string_view table = *host.table;
  const StructureTable result = cimd::host::readStructures(table, *entryPoint);
  require(result.structures.size() * 6 <= table.size() + 2, "a structure takes six bytes or more");
  for (const Structure& structure : result.structures) {
    for (std::size_t offset = 0; offset < 0x40; ++offset) {
      const auto text = structure.textAt(offset);
      require(!text || isInside(*text, table), "a text lies inside the table");
      const auto word = structure.wordAt(offset);
      require(!structure.doubleWordAt(offset) || word, "where there are four bytes, there are two");
      require(!word || (*word & 0xFFU) == structure.byteAt(offset), "a word begins with its byte");
    }
  }
}

cimd::NameSpace& nameSpace() {
  static cimd::Repository repository = [] {
    cimd::Repository loaded;
    cimd::mof::loadMof({MORVIK_SCHEMA_DIR "/qualifiers.mof", MORVIK_SCHEMA_DIR "/kvaxdt.mof"},
                       loaded);
    return loaded;
  }();
  return repository.nameSpace(cimd::defaultNameSpace);
}

// Creates the instances as the server does, and deletes them again.
void declare(const Inventory& inventory) {
  std::vector<Pegasus::CIMObjectPath> paths;
  for (const Pegasus::CIMInstance& instance : inventory.instances) {
    // Throws if two parts have the same key, or the type of a value is not that of the class.
    paths.push_back(nameSpace().createInstance(instance, cimd::Origin::restored));
    fuzz::requireRoundTrip(nameSpace().instance(paths.back())->instance);
  }
  for (const Pegasus::CIMObjectPath& path : paths) {
    nameSpace().deleteInstance(path);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  nameSpace();  // loads the classes before memory is counted
  const fuzz::ResourceLimit limit({std::size_t{1} << 20U, 512}, {200'000, 3'000}, size);
  const HostBytes host = hostFrom(fuzz::asText(data, size));
  checkStructures(host);
  declare(cimd::host::takeInventory(host));
  return 0;
}
