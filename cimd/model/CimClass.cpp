#include "cimd/model/CimClass.h"

#include <algorithm>

#include "cimd/model/CimErrors.h"

namespace cimd {

namespace {

using Pegasus::String;

[[noreturn]] void refuse(const String& text) {
  throwCimError(Pegasus::CIM_ERR_INVALID_PARAMETER, text);
}

// The qualifier names what the element overrides. In CIM 2 that has the same name, so here it is
// checked for being there at all.
void checkOverride(const Qualifiers& qualifiers, const String& where) {
  const Qualifier* found = findQualifier(qualifiers, "Override");
  if (found != nullptr && !found->value.isNull()) {
    refuse(where + " overrides " + found->value.toString() + ", which no superclass has");
  }
}

}  // namespace

CimClass::CimClass(const ClassDeclaration& declaration, CimClass* superclass)
    : name_(declaration.name),
      superclass_(superclass),
      isAbstract_(declaration.isAbstract),
      qualifiers_(declaration.qualifiers) {
  if (superclass != nullptr) {
    inherit(*superclass);
  }
  for (const PropertyDeclaration& property : declaration.properties) {
    const auto position = findProperty(property.name);
    position ? overrideProperty(*position, property) : addProperty(property);
  }
  for (const MethodDeclaration& method : declaration.methods) {
    addMethod(method);
  }
  collectKeys();
  // Last, for a class that is refused must not stay there.
  if (superclass != nullptr) {
    superclass->subclasses_.push_back(this);
  }
}

void CimClass::inherit(const CimClass& superclass) {
  properties_ = superclass.properties_;
  positions_ = superclass.positions_;
  methods_ = superclass.methods_;
  inheritQualifiers(qualifiers_, superclass.qualifiers_, "class " + name_);
}

void CimClass::collectKeys() {
  for (std::size_t position = 0; position < properties_.size(); ++position) {
    const CimProperty& property = *properties_[position];
    if (property.isKey && property.isArray) {
      refuse("key property " + property.name + " of class " + name_ + " is an array");
    }
    if (property.isKey) {
      keys_.push_back(position);
    }
  }
}

std::optional<std::size_t> CimClass::findProperty(const String& name) const {
  const auto found = positions_.find(fold(name));
  return found == positions_.end() ? std::nullopt : std::optional(found->second);
}

void CimClass::addProperty(const PropertyDeclaration& declaration) {
  checkOverride(declaration.qualifiers, "property " + declaration.name + " of class " + name_);
  positions_.emplace(fold(declaration.name), properties_.size());
  properties_.push_back(std::make_shared<const CimProperty>(CimProperty{declaration, this, this}));
}

void CimClass::overrideProperty(std::size_t position, const PropertyDeclaration& declaration) {
  const CimProperty& inherited = *properties_[position];
  const String where = "property " + declaration.name + " of class " + name_;
  if (inherited.declaringClass == this) {
    refuse(where + " is declared twice");
  }
  if (inherited.type != declaration.type || inherited.isArray != declaration.isArray) {
    refuse(where + " has another type than in class " + inherited.declaringClass->name());
  }
  CimProperty property{declaration, this, inherited.originClass};
  inheritQualifiers(property.qualifiers, inherited.qualifiers, where);
  // A key stays one in every subclass: otherwise instances of the two could not be told apart.
  property.isKey = property.isKey || inherited.isKey;
  if (property.defaultValue.isNull()) {
    property.defaultValue = inherited.defaultValue;
  }
  properties_[position] = std::make_shared<const CimProperty>(std::move(property));
}

void CimClass::addMethod(const MethodDeclaration& declaration) {
  CimMethod method{declaration, this, this};
  const String where = "method " + declaration.name + " of class " + name_;
  const auto place = std::find_if(methods_.begin(), methods_.end(), [&](const auto& known) {
    return String::equalNoCase(known->name, declaration.name);
  });
  if (place == methods_.end()) {
    checkOverride(declaration.qualifiers, where);
    methods_.push_back(std::make_shared<const CimMethod>(std::move(method)));
    return;
  }
  const CimMethod& inherited = **place;
  if (inherited.declaringClass == this) {
    refuse(where + " is declared twice");
  }
  if (inherited.returnType != declaration.returnType) {
    refuse(where + " returns another type than in class " + inherited.declaringClass->name());
  }
  inheritQualifiers(method.qualifiers, inherited.qualifiers, where);
  method.originClass = inherited.originClass;
  *place = std::make_shared<const CimMethod>(std::move(method));
}

}  // namespace cimd
