#include "common/name_check.h"

#include <algorithm>
#include <utility>

#include "text/ascii.h"

namespace Pegasus {

namespace {

bool isLetter(Char16 c) {
  return text::isLetter(c) || c == u'_' || c >= 0x80;
}

bool isPart(Char16 c) {
  return isLetter(c) || text::isDigit(c);
}

}  // namespace

bool isIdentifier(const String& name) {
  const std::u16string_view units = name.view();
  return !units.empty() && isLetter(units.front()) &&
         std::all_of(units.begin(), units.end(), isPart);
}

bool isNameSpaceName(const String& name) {
  Char16 previous = u'/';
  for (const Char16 c : name.view()) {
    const bool isAllowed = isPart(c) || c == u'-' || c == u'.';
    if (!isAllowed && (c != u'/' || previous == u'/')) {
      return false;
    }
    previous = c;
  }
  return previous != u'/';
}

String trimNameSpace(const String& name) {
  std::u16string_view units = name.view();
  while (!units.empty() && units.front() == u'/') {
    units.remove_prefix(1);
  }
  while (!units.empty() && units.back() == u'/') {
    units.remove_suffix(1);
  }
  return String(std::u16string(units));
}

const String* findRepeated(std::vector<const String*> names) {
  // By length first, which distinguishes most names.
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
