// Reading the parameters of operations.
#pragma once

#include "xml/request.h"

#include <optional>
#include <set>
#include <string>

#include "model/errors.h"
#include "model/names.h"

namespace cimd {

// Throws CIMException (INVALID_PARAMETER) when the parameter is missing.
template <typename T>
T required(std::optional<T> value, const char* parameter) {
  if (!value) {
    throwCimError(Pegasus::CIM_ERR_INVALID_PARAMETER,
                  Pegasus::String("parameter ") + parameter + " is missing");
  }
  return *std::move(value);
}

// The properties that a request wants: all of them, or those in its PropertyList. Names in the list
// that the class does not have are ignored, as DSP0200 says.
class PropertyFilter {
 public:
  explicit PropertyFilter(const Pegasus::xml::Request& request) {
    const Pegasus::CIMPropertyList list = request.propertyList("PropertyList");
    if (!list.isNull()) {
      wanted_.emplace();
      for (Pegasus::Uint32 i = 0; i < list.size(); ++i) {
        wanted_->insert(fold(list[i]));
      }
    }
  }

  bool isOpen() const { return !wanted_; }
  bool passes(const Pegasus::String& name) const {
    return !wanted_ || wanted_->contains(fold(name));
  }

 private:
  std::optional<std::set<FoldedName>> wanted_;
};

}  // namespace cimd
