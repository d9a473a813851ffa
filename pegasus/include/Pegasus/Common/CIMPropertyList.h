// The properties that an operation is asked to return (DMTF DSP0200, parameter PropertyList).
#pragma once

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/String.h>

namespace Pegasus {

// Null (default-constructed) means every property; an empty list means none.
class CIMPropertyList {
 public:
  CIMPropertyList() = default;
  explicit CIMPropertyList(Array<String> names) : names_(std::move(names)), isNull_(false) {}

  Boolean isNull() const { return isNull_; }
  Uint32 size() const { return names_.size(); }
  const String& operator[](Uint32 position) const { return names_[position]; }

 private:
  Array<String> names_;
  Boolean isNull_ = true;
};

}  // namespace Pegasus
