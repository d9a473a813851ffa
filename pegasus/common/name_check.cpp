#include "common/name_check.h"

#include <algorithm>
#include <utility>

namespace Pegasus {

const String* findRepeated(std::vector<const String*> names) {
  // By length first, which tells most names apart.
  std::sort(names.begin(), names.end(), [](const String* a, const String* b) {
    const std::size_t sizeOfA = a->view().size();
    const std::size_t sizeOfB = b->view().size();
    return sizeOfA != sizeOfB ? sizeOfA < sizeOfB : String::compareNoCase(*a, *b) < 0;
  });
  const auto repeated = std::adjacent_find(
      names.begin(), names.end(),
      [](const String* a, const String* b) { return String::equalNoCase(*a, *b); });
  return repeated == names.end() ? nullptr : *repeated;
}

const String* findRepeated(const Array<CIMKeyBinding>& keys) {
  std::vector<const String*> names;
  for (const CIMKeyBinding& key : keys) {
    names.push_back(&key.getName());
  }
  return findRepeated(std::move(names));
}

}  // namespace Pegasus
