#include "model/schema.h"

#include "xml/decoder.h"

#include <algorithm>
#include <charconv>

#include "model/errors.h"

namespace cimd {

using Pegasus::String;

namespace {

[[noreturn]] void refuse(const String& text) {
  throwCimError(Pegasus::CIM_ERR_INVALID_PARAMETER, text);
}

// The qualifier names the overridden element, perhaps with its class: "CIM_Base.Name". In CIM 2 an
// element can only override one of the same name.
void checkOverride(const Qualifiers& qualifiers, const String& name, bool isOverriding,
                   const String& where) {
  const Qualifier* found = findQualifier(qualifiers, "Override");
  if (found == nullptr || found->value.isNull()) {
    return;
  }
  const String overridden = found->value.toString();
  const Pegasus::Uint32 point = overridden.reverseFind('.');
  const String last =
      point == Pegasus::PEG_NOT_FOUND ? overridden : overridden.subString(point + 1);
  if (!String::equalNoCase(last, name)) {
    refuse(where + " overrides " + overridden + ", which has another name");
  }
  if (!isOverriding) {
    refuse(where + " overrides " + overridden + ", which no superclass has");
  }
}

Embedded embeddedIn(const PropertyDeclaration& property) {
  if (property.type != Pegasus::CIMTYPE_STRING) {
    return Embedded::none;
  }
  const Qualifier* instance = findQualifier(property.qualifiers, "EmbeddedInstance");
  if (instance != nullptr && !instance->value.isNull()) {
    return Embedded::instance;
  }
  const Qualifier* object = findQualifier(property.qualifiers, "EmbeddedObject");
  return object != nullptr && object->value == Pegasus::CIMValue(true) ? Embedded::object
                                                                       : Embedded::none;
}

// Runs `add` for each declaration and adds its position to what that throws.
template <typename Declarations, typename Add>
void addEach(const Declarations& declarations, RefusedFeature::Kind kind, Add add) {
  for (std::size_t position = 0; position < declarations.size(); ++position) {
    try {
      add(declarations[position]);
    } catch (const Pegasus::CIMException& reason) {
      throw RefusedFeature(reason, kind, position);
    }
  }
}

// An undeclared qualifier has the type of its value, which need not be an integer.
std::optional<Pegasus::Uint64> maxLengthIn(const PropertyDeclaration& property) {
  const Qualifier* qualifier = findQualifier(property.qualifiers, "MaxLen");
  if (property.type != Pegasus::CIMTYPE_STRING || qualifier == nullptr ||
      qualifier->value.isNull()) {
    return std::nullopt;
  }
  const std::string digits = qualifier->value.toString().toUtf8();
  Pegasus::Uint64 limit = 0;
  const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), limit);
  return read.ec == std::errc() && read.ptr == digits.data() + digits.size() ? std::optional(limit)
                                                                             : std::nullopt;
}

void inheritParameters(std::vector<MethodParameter>& own,
                       const std::vector<MethodParameter>& inherited, const String& where) {
  for (MethodParameter& parameter : own) {
    for (const MethodParameter& other : inherited) {
      if (String::equalNoCase(parameter.name, other.name)) {
        inheritQualifiers(parameter.qualifiers, other.qualifiers,
                          "parameter " + parameter.name + " of " + where);
      }
    }
  }
}

}  // namespace

const Qualifier* findQualifier(const Qualifiers& qualifiers, const String& name) {
  const auto found =
      std::find_if(qualifiers.begin(), qualifiers.end(), [&](const AppliedQualifier& applied) {
        return String::equalNoCase(applied.qualifier->name, name);
      });
  return found == qualifiers.end() ? nullptr : found->qualifier.get();
}

void inheritQualifiers(Qualifiers& own, const Qualifiers& inherited, const String& where) {
  for (const auto& [qualifier, isPropagated] : inherited) {
    if (!qualifier->flavors.isForSubclasses) {
      continue;
    }
    const Qualifier* repeated = findQualifier(own, qualifier->name);
    if (repeated == nullptr) {
      own.push_back({qualifier, true});
    } else if (!qualifier->flavors.isOverridable && !(repeated->value == qualifier->value)) {
      throwCimError(Pegasus::CIM_ERR_INVALID_PARAMETER,
                    "qualifier " + qualifier->name + " of " + where +
                        " cannot have another value than in the superclass");
    }
  }
}

// A class is resolved once, when it is defined: it starts with the features of its superclass,
// which is resolved already, and its own declarations are added or take the place of those with the
// same name. Lookups then never walk up the hierarchy.
Class::Class(const ClassDeclaration& declaration, Class* superclass)
    : name_(declaration.name),
      superclass_(superclass),
      isAbstract_(declaration.isAbstract),
      qualifiers_(declaration.qualifiers) {
  if (superclass != nullptr) {
    inherit(*superclass);
  }
  addEach(declaration.properties, RefusedFeature::property,
          [this](const PropertyDeclaration& property) { addDeclared(property); });
  addEach(declaration.methods, RefusedFeature::method,
          [this](const MethodDeclaration& method) { addMethod(method); });
  collectKeys();
  // Last, because a class that is refused must not become a subclass.
  if (superclass != nullptr) {
    superclass->subclasses_.push_back(this);
  }
}

bool Class::isBelow(const Class& other) const {
  const Class* above = superclass_;
  while (above != nullptr && above != &other) {
    above = above->superclass_;
  }
  return above != nullptr;
}

void Class::inherit(const Class& superclass) {
  properties_ = superclass.properties_;
  positions_ = superclass.positions_;
  methods_ = superclass.methods_;
  inheritQualifiers(qualifiers_, superclass.qualifiers_, "class " + name_);
}

void Class::collectKeys() {
  for (std::size_t position = 0; position < properties_.size(); ++position) {
    if (properties_[position]->isKey) {
      keys_.push_back(position);
    }
  }
  if (keys_.size() > Pegasus::xml::maxKeyBindings) {
    refuse("class " + name_ + " has more keys than clients read");
  }
}

std::optional<std::size_t> Class::findProperty(const String& name) const {
  const auto found = positions_.find(fold(name));
  return found == positions_.end() ? std::nullopt : std::optional(found->second);
}

void Class::addDeclared(const PropertyDeclaration& declaration) {
  const auto position = findProperty(declaration.name);
  checkOverride(declaration.qualifiers, declaration.name, position.has_value(),
                "property " + declaration.name + " of class " + name_);
  position ? overrideProperty(*position, declaration) : addProperty(declaration);
  const Property& added = position ? *properties_[*position] : *properties_.back();
  if (added.isKey && added.isArray) {
    refuse("key property " + added.name + " of class " + name_ + " is an array");
  }
}

void Class::addProperty(const PropertyDeclaration& declaration) {
  if (properties_.size() >= Pegasus::xml::maxProperties) {
    refuse("class " + name_ + " has more properties than clients read");
  }
  positions_.emplace(fold(declaration.name), properties_.size());
  properties_.push_back(std::make_shared<const Property>(
      Property{declaration, this, this, embeddedIn(declaration), maxLengthIn(declaration)}));
}

void Class::overrideProperty(std::size_t position, const PropertyDeclaration& declaration) {
  const Property& inherited = *properties_[position];
  const String where = "property " + declaration.name + " of class " + name_;
  if (inherited.declaringClass == this) {
    refuse(where + " is declared twice");
  }
  if (inherited.type != declaration.type || inherited.isArray != declaration.isArray) {
    refuse(where + " has another type than in class " + inherited.declaringClass->name());
  }
  Property property{declaration, this, inherited.originClass};
  inheritQualifiers(property.qualifiers, inherited.qualifiers, where);
  property.embedded = embeddedIn(property);
  property.maxLength = maxLengthIn(property);
  // A key stays one in every subclass: otherwise instances of the two could not be told apart.
  property.isKey = property.isKey || inherited.isKey;
  properties_[position] = std::make_shared<const Property>(std::move(property));
}

void Class::addMethod(const MethodDeclaration& declaration) {
  Method method{declaration, this, this};
  const String where = "method " + declaration.name + " of class " + name_;
  const auto place = std::find_if(methods_.begin(), methods_.end(), [&](const auto& known) {
    return String::equalNoCase(known->name, declaration.name);
  });
  checkOverride(declaration.qualifiers, declaration.name, place != methods_.end(), where);
  if (place == methods_.end()) {
    methods_.push_back(std::make_shared<const Method>(std::move(method)));
    return;
  }
  const Method& inherited = **place;
  if (inherited.declaringClass == this) {
    refuse(where + " is declared twice");
  }
  if (inherited.returnType != declaration.returnType) {
    refuse(where + " returns another type than in class " + inherited.declaringClass->name());
  }
  inheritQualifiers(method.qualifiers, inherited.qualifiers, where);
  inheritParameters(method.parameters, inherited.parameters, where);
  method.originClass = inherited.originClass;
  *place = std::make_shared<const Method>(std::move(method));
}

const Class& Schema::define(const ClassDeclaration& declaration) {
  if (find(declaration.name) != nullptr) {
    throwCimError(Pegasus::CIM_ERR_ALREADY_EXISTS, declaration.name);
  }
  Class* superclass = nullptr;
  if (declaration.superclass.size() != 0) {
    const auto found = classes_.find(fold(declaration.superclass));
    if (found == classes_.end()) {
      throwCimError(Pegasus::CIM_ERR_INVALID_SUPERCLASS, declaration.superclass);
    }
    superclass = found->second.get();
  }
  auto defined = std::make_unique<Class>(declaration, superclass);
  const Class& added = *classes_.emplace(fold(declaration.name), std::move(defined)).first->second;
  if (superclass == nullptr) {
    topClasses_.push_back(&added);
  }
  return added;
}

const Class* Schema::find(const String& name) const {
  const auto found = classes_.find(fold(name));
  return found == classes_.end() ? nullptr : found->second.get();
}

void Schema::declareQualifier(QualifierDeclaration declaration) {
  const auto [place, isNew] =
      qualifierPositions_.try_emplace(fold(declaration.name), qualifiers_.size());
  if (isNew) {
    qualifiers_.push_back(std::move(declaration));
  } else {
    qualifiers_[place->second] = std::move(declaration);
  }
}

const QualifierDeclaration* Schema::findQualifier(const String& name) const {
  const auto found = qualifierPositions_.find(fold(name));
  return found == qualifierPositions_.end() ? nullptr : &qualifiers_[found->second];
}

std::vector<const Class*> Schema::withSubclasses(std::vector<const Class*> classes) {
  for (std::size_t next = 0; next < classes.size(); ++next) {
    const auto& below = classes[next]->subclasses();
    classes.insert(classes.end(), below.begin(), below.end());
  }
  return classes;
}

}  // namespace cimd
