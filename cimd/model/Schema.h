// The classes of one namespace.
#pragma once

#include <Pegasus/Common/String.h>

#include <memory>
#include <unordered_map>
#include <vector>

#include "cimd/model/CimClass.h"

namespace cimd {

class Schema {
 public:
  // Throws CIMException: ALREADY_EXISTS for a name in use, INVALID_SUPERCLASS when the superclass
  // is not defined, and what CimClass throws.
  const CimClass& define(const ClassDeclaration& declaration);

  // Null when there is none of this name, letter case ignored. Classes live as long as the schema.
  const CimClass* find(const Pegasus::String& name) const;

  // The class and all below it.
  static std::vector<const CimClass*> withSubclasses(const CimClass& top);

 private:
  std::unordered_map<FoldedName, std::unique_ptr<CimClass>> classes_;
};

}  // namespace cimd
