// A class with what it inherits: its properties and which of them are keys, its methods, and the
// qualifiers of them all.
#pragma once

#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/String.h>

#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include "model/names.h"
#include "model/qualifier.h"

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
  // False: it has the default of the property that it overrides, if any.
  bool hasDefault = false;
  // Of the type above; null without default.
  Pegasus::CIMValue defaultValue;
  Qualifiers qualifiers = {};
};

struct MethodParameter {
  Pegasus::String name;
  Pegasus::CIMType type = Pegasus::CIMTYPE_STRING;
  bool isArray = false;
  // As for properties.
  Pegasus::Uint32 arraySize = 0;
  Pegasus::String referenceClass;
  Qualifiers qualifiers;
};

// One method as a class declares it. No method can be called here; clients that look at the schema
// see them.
struct MethodDeclaration {
  Pegasus::String name;
  Pegasus::CIMType returnType = Pegasus::CIMTYPE_STRING;
  std::vector<MethodParameter> parameters;
  Qualifiers qualifiers;
};

// What a class declares itself, without what it inherits.
struct ClassDeclaration {
  Pegasus::String name;
  // Empty for a class without superclass.
  Pegasus::String superclass;
  bool isAbstract = false;
  std::vector<PropertyDeclaration> properties;
  std::vector<MethodDeclaration> methods = {};
  Qualifiers qualifiers = {};
};

// Why a class is refused, with the one of its declared properties or methods that is the reason.
class RefusedFeature : public Pegasus::CIMException {
 public:
  enum Kind { PROPERTY, METHOD };

  // `position` counts the declared features of this kind from 0.
  RefusedFeature(const Pegasus::CIMException& reason, Kind kind, std::size_t position)
      : CIMException(reason), kind_(kind), position_(position) {}

  Kind kind() const { return kind_; }
  std::size_t position() const { return position_; }

 private:
  Kind kind_;
  std::size_t position_;
};

class CimClass;

// A property of a class, its own or inherited.
struct CimProperty : PropertyDeclaration {
  // The class with the declaration in force, and the one that introduced the property first. Both
  // live as long as the schema.
  const CimClass* declaringClass = nullptr;
  const CimClass* originClass = nullptr;
};

// A method of a class, its own or inherited.
struct CimMethod : MethodDeclaration {
  // As for properties.
  const CimClass* declaringClass = nullptr;
  const CimClass* originClass = nullptr;
};

// Immutable but for the list of subclasses, which the schema extends.
class CimClass {
 public:
  // `superclass` may be null and must outlive this class. Throws CIMException (INVALID_PARAMETER)
  // when the class changes a qualifier that may not be overridden or has more keys than clients
  // read, and RefusedFeature when a property or method does so, is declared twice, overrides one of
  // another type, claims to override one that is not there or has another name, is a key and an
  // array, or is a property more than clients read.
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
  // Those of its superclasses; not the class itself.
  bool isBelow(const CimClass& other) const;

  // Those of the superclass first, as for properties.
  const std::vector<std::shared_ptr<const CimMethod>>& methods() const { return methods_; }
  const Qualifiers& qualifiers() const { return qualifiers_; }

  // Direct subclasses, in the order of their definition.
  const std::vector<const CimClass*>& subclasses() const { return subclasses_; }

 private:
  void inherit(const CimClass& superclass);
  void addDeclared(const PropertyDeclaration& declaration);
  void addProperty(const PropertyDeclaration& declaration);
  void overrideProperty(std::size_t position, const PropertyDeclaration& declaration);
  void addMethod(const MethodDeclaration& declaration);
  void collectKeys();

  Pegasus::String name_;
  const CimClass* superclass_;
  bool isAbstract_;
  // Shared with the subclasses: in a large schema most properties are inherited ones.
  std::vector<std::shared_ptr<const CimProperty>> properties_;
  std::unordered_map<FoldedName, std::size_t> positions_;
  std::vector<std::size_t> keys_;
  std::vector<std::shared_ptr<const CimMethod>> methods_;
  Qualifiers qualifiers_;
  std::vector<const CimClass*> subclasses_;
};

}  // namespace cimd
