// Texts of the firmware as texts of the CIM data model.
#pragma once

#include <Pegasus/Common/String.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace cimd::host {

// UTF-8 where the bytes are that, otherwise ISO 8859-1. DSP0134 asks for UTF-8 since version 3 and
// for ASCII before; firmware keeps to neither. What XML 1.0 cannot carry becomes '?'.
Pegasus::String toText(std::string_view bytes);

// Without blanks, tabs and line ends around it: firmware fills fixed fields up with blanks.
std::string_view trimmed(std::string_view bytes);

// At most `maxLength` UTF-16 units from the beginning, no character cut in two.
Pegasus::String cut(const Pegasus::String& text, std::size_t maxLength);

// Makes keys of names that need not differ: the first to come has the name as it is, the next ones
// have " #2", " #3" and so on behind it. The same names in the same order give the same keys.
class UniqueNames {
 public:
  // No key is longer than `maxLength` UTF-16 units. Names are cut so that a number of up to five
  // digits has room behind each.
  explicit UniqueNames(std::size_t maxLength) : maxLength_(maxLength) {}

  Pegasus::String next(const Pegasus::String& name);

 private:
  std::size_t maxLength_;
  std::unordered_set<std::u16string> given_;
  // The last number tried behind each name that came twice.
  std::unordered_map<std::u16string, std::size_t> numbers_;
};

}  // namespace cimd::host
