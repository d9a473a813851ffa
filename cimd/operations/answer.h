// Answers that are made part by part, so that a long one does not make other clients wait.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace cimd {

class NameSpace;

// The elements of an answer, such as the instances of a class. It keeps the instances that it shows
// as they were when the listing was made.
struct Listing {
  std::size_t count = 0;
  // In bytes; an estimate.
  std::size_t expectedSize = 0;
  // Appends the element with this number, below `count`, in CIM-XML. May throw CIMException.
  std::function<void(std::string& out, std::size_t number)> append;
  // For as long as the listing is there, classes and all, also if files are read again.
  std::shared_ptr<const NameSpace> nameSpace;
};

// An answer, or the beginning of one.
struct Answer {
  std::string text;
  // Appends the next part, some milliseconds of work; false when that was the last. It may also
  // replace the text by an error. Null when the text is whole.
  std::function<bool(std::string& text)> more;
};

enum class Length {
  // At most one part.
  brief,
  any
};

}  // namespace cimd
