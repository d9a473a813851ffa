// A class as instances see it: its properties, inherited ones included, and which of them are keys.
#pragma once

#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/String.h>

#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include "cimd/model/Names.h"

namespace cimd {

// One property as a class declares it.
struct PropertyDeclaration {
  Pegasus::String name;
  Pegasus::CIMType type = Pegasus::CIMTYPE_STRING;
  bool isArray = false;
  // Elements of a fixed-size array, 0 for any number of them.
  Pegasus::Uint32 arraySize = 0;
  // The class that a reference points to; empty for other types.
  Pegasus::String referenceClass;
  bool isKey = false;
  // Of the type above; null without default.
  Pegasus::CIMValue defaultValue;
};

// What a class declares itself, without what it inherits.
struct ClassDeclaration {
  Pegasus::String name;
  // Empty for a class without superclass.
  Pegasus::String superclass;
  bool isAbstract = false;
  std::vector<PropertyDeclaration> properties;
};

class CimClass;

// A property of a class, its own or inherited.
struct CimProperty : PropertyDeclaration {
  // The class with the declaration in force, and the one that introduced the property first. Both
  // live as long as the schema.
  const CimClass* declaringClass = nullptr;
  const CimClass* originClass = nullptr;
};

// Immutable but for the list of subclasses, which the schema extends.
class CimClass {
 public:
  // `superclass` may be null and must outlive this class. Throws CIMException (INVALID_PARAMETER)
  // when a property is declared twice, or overrides one of another type.
  CimClass(const ClassDeclaration& declaration, CimClass* superclass);
  CimClass(const CimClass&) = delete;
  CimClass& operator=(const CimClass&) = delete;

  const Pegasus::String& name() const { return name_; }
  const CimClass* superclass() const { return superclass_; }
  bool isAbstract() const { return isAbstract_; }

  // Those of the superclass first, in its order; one that is overridden stays at its place there.
  std::size_t propertyCount() const { return properties_.size(); }
  const CimProperty& property(std::size_t position) const { return *properties_[position]; }
  // Positions of the keys, ascending.
  const std::vector<std::size_t>& keys() const { return keys_; }
  // Letter case ignored.
  std::optional<std::size_t> findProperty(const Pegasus::String& name) const;

  // True when instances of this class have the property from a superclass, unchanged.
  bool isPropagated(const CimProperty& property) const { return property.declaringClass != this; }

  // Direct subclasses, in the order of their definition.
  const std::vector<const CimClass*>& subclasses() const { return subclasses_; }

 private:
  void add(const PropertyDeclaration& declaration);
  void override(std::size_t position, const PropertyDeclaration& declaration);

  Pegasus::String name_;
  const CimClass* superclass_;
  bool isAbstract_;
  // Shared with the subclasses: in a large schema most properties are inherited ones.
  std::vector<std::shared_ptr<const CimProperty>> properties_;
  std::unordered_map<FoldedName, std::size_t> positions_;
  std::vector<std::size_t> keys_;
  std::vector<const CimClass*> subclasses_;
};

}  // namespace cimd
