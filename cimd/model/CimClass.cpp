#include "cimd/model/CimClass.h"

#include "cimd/model/CimErrors.h"

namespace cimd {

using Pegasus::CIM_ERR_INVALID_PARAMETER;
using Pegasus::String;

CimClass::CimClass(const ClassDeclaration& declaration, CimClass* superclass)
    : name_(declaration.name), superclass_(superclass), isAbstract_(declaration.isAbstract) {
  if (superclass != nullptr) {
    properties_ = superclass->properties_;
    positions_ = superclass->positions_;
  }
  for (const PropertyDeclaration& property : declaration.properties) {
    const auto position = findProperty(property.name);
    if (position) {
      override(*position, property);
    } else {
      add(property);
    }
  }
  for (std::size_t position = 0; position < properties_.size(); ++position) {
    const CimProperty& property = *properties_[position];
    if (property.isKey && property.isArray) {
      throwCimError(CIM_ERR_INVALID_PARAMETER,
                    "key property " + property.name + " of class " + name_ + " is an array");
    }
    if (property.isKey) {
      keys_.push_back(position);
    }
  }
  // Last, for a class that is refused must not stay there.
  if (superclass != nullptr) {
    superclass->subclasses_.push_back(this);
  }
}

std::optional<std::size_t> CimClass::findProperty(const String& name) const {
  const auto found = positions_.find(fold(name));
  return found == positions_.end() ? std::nullopt : std::optional(found->second);
}

void CimClass::add(const PropertyDeclaration& declaration) {
  positions_.emplace(fold(declaration.name), properties_.size());
  properties_.push_back(std::make_shared<const CimProperty>(CimProperty{declaration, this, this}));
}

void CimClass::override(std::size_t position, const PropertyDeclaration& declaration) {
  const CimProperty& inherited = *properties_[position];
  if (inherited.declaringClass == this) {
    throwCimError(CIM_ERR_INVALID_PARAMETER,
                  "property " + declaration.name + " of class " + name_ + " is declared twice");
  }
  if (inherited.type != declaration.type || inherited.isArray != declaration.isArray) {
    throwCimError(CIM_ERR_INVALID_PARAMETER, "property " + declaration.name + " of class " + name_ +
                                                 " has another type than in class " +
                                                 inherited.declaringClass->name());
  }
  CimProperty property{declaration, this, inherited.originClass};
  // A key stays one in every subclass: otherwise instances of the two could not be told apart.
  property.isKey = property.isKey || inherited.isKey;
  if (property.defaultValue.isNull()) {
    property.defaultValue = inherited.defaultValue;
  }
  properties_[position] = std::make_shared<const CimProperty>(std::move(property));
}

}  // namespace cimd
