// Qualifiers, properties and methods (DMTF DSP0004), classes with those that they inherit, and all
// the classes of a namespace.
#pragma once

#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Exception.h>
#include <Pegasus/Common/String.h>

#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "model/names.h"

namespace cimd {

// How a qualifier is passed on. The initial values are those of DSP0004.
struct Flavors {
  // False: a subclass may repeat the value but not change it.
  bool isOverridable = true;
  // False: holds only for the element that has it (flavor Restricted).
  bool isForSubclasses = true;
  bool isTranslatable = false;
};

// The elements that a qualifier may be applied to. Bits, to be combined.
enum QualifierScope : unsigned {
  scopeClass = 1,
  scopeAssociation = 2,
  scopeIndication = 4,
  scopeProperty = 8,
  scopeReference = 16,
  scopeMethod = 32,
  scopeParameter = 64,
  scopeAny = 127
};

struct QualifierDeclaration {
  Pegasus::String name;
  // Its type is that of all values of the qualifier. Null without default.
  Pegasus::CIMValue defaultValue;
  // The elements of a fixed-size array, 0 for any number of them.
  Pegasus::Uint32 arraySize = 0;
  // Bits of QualifierScope.
  unsigned scopes = scopeAny;
  Flavors flavors;
};

struct Qualifier {
  Pegasus::String name;
  Pegasus::CIMValue value;
  Flavors flavors;
};

// A qualifier of one element. A large schema has many qualifiers with long values, so a subclass
// shares those that it inherits.
struct AppliedQualifier {
  std::shared_ptr<const Qualifier> qualifier;
  // True when it comes from the superclass.
  bool isPropagated = false;
};

using Qualifiers = std::vector<AppliedQualifier>;

// Null when there is none of this name, letter case ignored.
const Qualifier* findQualifier(const Qualifiers& qualifiers, const Pegasus::String& name);

// Adds to `own` what an element passes on to the one that overrides it. Throws CIMException
// (INVALID_PARAMETER) when `own` changes a qualifier that may not be overridden. `where` names the
// element in the message.
void inheritQualifiers(Qualifiers& own, const Qualifiers& inherited, const Pegasus::String& where);

// The type of a property or parameter.
struct DataType {
  Pegasus::CIMType type = Pegasus::CIMTYPE_STRING;
  // The class that a reference points to; empty for other types.
  Pegasus::String referenceClass = {};
  bool isArray = false;
  // Elements of a fixed-size array, 0 for any number of them.
  Pegasus::Uint32 arraySize = 0;
};

// One property as a class declares it.
struct PropertyDeclaration : DataType {
  Pegasus::String name;
  bool isKey = false;
  // A value of the type above; null without default. A property that overrides another one has its
  // own default or none: it does not inherit the other's.
  Pegasus::CIMValue defaultValue;
  Qualifiers qualifiers = {};
};

struct MethodParameter : DataType {
  Pegasus::String name;
  Qualifiers qualifiers;
};

// One method as a class declares it. No method can be called; clients that read the schema see
// them.
struct MethodDeclaration {
  Pegasus::String name;
  Pegasus::CIMType returnType = Pegasus::CIMTYPE_STRING;
  std::vector<MethodParameter> parameters;
  Qualifiers qualifiers;
};

// A class without the features that it inherits.
struct ClassDeclaration {
  Pegasus::String name;
  // Empty for a class without superclass.
  Pegasus::String superclass;
  bool isAbstract = false;
  std::vector<PropertyDeclaration> properties;
  std::vector<MethodDeclaration> methods = {};
  Qualifiers qualifiers = {};
};

// The reason why a class is refused, with the declared property or method that is at fault.
class RefusedFeature : public Pegasus::CIMException {
 public:
  enum Kind { property, method };

  // `position` counts the declared features of this kind from 0.
  RefusedFeature(const Pegasus::CIMException& reason, Kind kind, std::size_t position)
      : CIMException(reason), kind_(kind), position_(position) {}

  Kind kind() const { return kind_; }
  std::size_t position() const { return position_; }

 private:
  Kind kind_;
  std::size_t position_;
};

class Class;

// The kind of object that a string property holds in CIM-XML, by its qualifiers EmbeddedInstance
// and EmbeddedObject.
enum class Embedded { none, instance, object };

// A property of a class, its own or inherited.
struct Property : PropertyDeclaration {
  // The class whose declaration is in force, and the one that introduced the property. Both live as
  // long as the schema.
  const Class* declaringClass = nullptr;
  const Class* originClass = nullptr;
  Embedded embedded = Embedded::none;
  // In characters, by the qualifier MaxLen; nothing where there is no limit.
  std::optional<Pegasus::Uint64> maxLength = {};
};

// A method of a class, its own or inherited.
struct Method : MethodDeclaration {
  // As for properties.
  const Class* declaringClass = nullptr;
  const Class* originClass = nullptr;
};

// Immutable except for the list of subclasses, which grows when the schema defines one.
class Class {
 public:
  // `superclass` may be null and must outlive this class. Throws CIMException (INVALID_PARAMETER)
  // when the class changes a qualifier that may not be overridden or has more keys than clients
  // read, and RefusedFeature when a property or method does so, is declared twice, overrides one of
  // another type, claims to override one that is not there or has another name, is a key and an
  // array, or is a property more than clients read.
  Class(const ClassDeclaration& declaration, Class* superclass);
  Class(const Class&) = delete;
  Class& operator=(const Class&) = delete;

  const Pegasus::String& name() const { return name_; }
  const Class* superclass() const { return superclass_; }
  bool isAbstract() const { return isAbstract_; }

  // The superclass's properties come first and in its order; one that is overridden keeps its
  // place. So an instance begins with the properties of each of its superclasses.
  std::size_t propertyCount() const { return properties_.size(); }
  const Property& property(std::size_t position) const { return *properties_[position]; }
  // Positions of the keys, ascending.
  const std::vector<std::size_t>& keys() const { return keys_; }
  // Letter case ignored.
  std::optional<std::size_t> findProperty(const Pegasus::String& name) const;

  // True when this class inherits the property unchanged.
  bool isPropagated(const Property& property) const { return property.declaringClass != this; }
  // True for its superclasses at every level, false for the class itself.
  bool isBelow(const Class& other) const;

  // In the same order as properties.
  const std::vector<std::shared_ptr<const Method>>& methods() const { return methods_; }
  const Qualifiers& qualifiers() const { return qualifiers_; }

  // Direct subclasses, in the order of their definition.
  const std::vector<const Class*>& subclasses() const { return subclasses_; }

 private:
  void inherit(const Class& superclass);
  void addDeclared(const PropertyDeclaration& declaration);
  void addProperty(const PropertyDeclaration& declaration);
  void overrideProperty(std::size_t position, const PropertyDeclaration& declaration);
  void addMethod(const MethodDeclaration& declaration);
  void collectKeys();

  Pegasus::String name_;
  const Class* superclass_;
  bool isAbstract_;
  // Shared with the subclasses: in a large schema most properties are inherited ones.
  std::vector<std::shared_ptr<const Property>> properties_;
  std::map<FoldedName, std::size_t> positions_;
  std::vector<std::size_t> keys_;
  std::vector<std::shared_ptr<const Method>> methods_;
  Qualifiers qualifiers_;
  std::vector<const Class*> subclasses_;
};

// The classes and qualifier declarations of one namespace.
class Schema {
 public:
  // Throws CIMException: ALREADY_EXISTS for a name in use, INVALID_SUPERCLASS when the superclass
  // is not defined, and what Class throws.
  const Class& define(const ClassDeclaration& declaration);

  // Null when there is none of this name, letter case ignored. Classes live as long as the schema.
  const Class* find(const Pegasus::String& name) const;

  // The number of classes.
  std::size_t size() const { return classes_.size(); }
  // The classes without superclass, in the order of their definition.
  const std::vector<const Class*>& topClasses() const { return topClasses_; }

  // Replaces an earlier declaration of this name, letter case ignored.
  void declareQualifier(QualifierDeclaration declaration);
  // Null when there is none of this name, letter case ignored.
  const QualifierDeclaration* findQualifier(const Pegasus::String& name) const;
  // All, in the order of their first declaration.
  const std::vector<QualifierDeclaration>& qualifiers() const { return qualifiers_; }

  // The classes and all below them, level by level.
  static std::vector<const Class*> withSubclasses(std::vector<const Class*> classes);

 private:
  std::map<FoldedName, std::unique_ptr<Class>> classes_;
  std::vector<const Class*> topClasses_;
  std::vector<QualifierDeclaration> qualifiers_;
  std::map<FoldedName, std::size_t> qualifierPositions_;
};

}  // namespace cimd
