#include "mof/mof_qualifiers.h"

#include <algorithm>
#include <array>
#include <utility>

#include "mof/mof_values.h"

namespace cimd::mof {

namespace {

using Pegasus::CIMType;
using Pegasus::CIMValue;
using Pegasus::String;

// The last two are scopes of declarations that no file can hold qualifiers for.
constexpr std::array<std::pair<const char*, unsigned>, 10> scopes{{
    {"class", scopeClass},
    {"association", scopeAssociation},
    {"indication", scopeIndication},
    {"property", scopeProperty},
    {"reference", scopeReference},
    {"method", scopeMethod},
    {"parameter", scopeParameter},
    {"any", scopeAny},
    {"qualifier", 0},
    {"schema", 0},
}};

unsigned scopeBits(const QualifierType& given) {
  unsigned bits = 0;
  for (const String& name : given.scopes) {
    const auto* const known = std::find_if(scopes.begin(), scopes.end(), [&](const auto& scope) {
      return String::equalNoCase(name, scope.first);
    });
    if (known == scopes.end()) {
      throw MofError(given.position, "expected a scope such as property, found " + name.toUtf8());
    }
    bits |= known->second;
  }
  return bits;
}

// What names of flavors say, on top of what holds without them.
class FlavorReader {
 public:
  FlavorReader(const Position& position, Flavors flavors)
      : position_(position), flavors_(flavors) {}

  Flavors read(const std::vector<String>& names) {
    for (const String& name : names) {
      readOne(name);
    }
    return flavors_;
  }

 private:
  void readOne(const String& name) {
    if (String::equalNoCase(name, "EnableOverride")) {
      set(flavors_.isOverridable, override_, true, name);
    } else if (String::equalNoCase(name, "DisableOverride")) {
      set(flavors_.isOverridable, override_, false, name);
    } else if (String::equalNoCase(name, "ToSubclass")) {
      set(flavors_.isForSubclasses, subclass_, true, name);
    } else if (String::equalNoCase(name, "Restricted")) {
      set(flavors_.isForSubclasses, subclass_, false, name);
    } else if (String::equalNoCase(name, "Translatable")) {
      flavors_.isTranslatable = true;
    } else if (!String::equalNoCase(name, "ToInstance")) {  // old files have it; it means nothing
      throw MofError(position_, "expected a flavor such as ToSubclass, found " + name.toUtf8());
    }
  }

  void set(bool& flavor, bool& isGiven, bool value, const String& name) {
    if (isGiven && flavor != value) {
      throw MofError(position_, "flavor " + name.toUtf8() + " contradicts the one before it");
    }
    flavor = value;
    isGiven = true;
  }

  const Position& position_;
  Flavors flavors_;
  bool override_ = false;
  bool subclass_ = false;
};

// A qualifier is a constant of the schema: no instance can stand in it.
CIMValue qualifierValue(const Value& value, CIMType type, bool isArray, Pegasus::Uint32 arraySize) {
  return typedValue(
      value, type, isArray, arraySize, [](const Literal& alias) -> Pegasus::CIMObjectPath {
        throw MofError(alias.position,
                       "a qualifier cannot refer to the instance $" + alias.text.toUtf8());
      });
}

QualifierDeclaration implied(const char* name, CIMType type, unsigned scope, Flavors flavors) {
  return {name, CIMValue(type, false), 0, scope, flavors};
}

// Those that change what the server does, as DSP0004 declares them, for schemas that do not.
const QualifierDeclaration* findImplied(const String& name) {
  constexpr Flavors fixed{.isOverridable = false};
  constexpr Flavors restricted{.isForSubclasses = false};
  static const std::array<QualifierDeclaration, 5> known{
      implied("Key", Pegasus::CIMTYPE_BOOLEAN, scopeProperty | scopeReference, fixed),
      implied("Abstract", Pegasus::CIMTYPE_BOOLEAN, scopeClass | scopeAssociation | scopeIndication,
              restricted),
      implied("Association", Pegasus::CIMTYPE_BOOLEAN, scopeAssociation, fixed),
      implied("Indication", Pegasus::CIMTYPE_BOOLEAN, scopeClass | scopeIndication, fixed),
      implied("Override", Pegasus::CIMTYPE_STRING, scopeProperty | scopeReference | scopeMethod,
              restricted),
  };
  for (const QualifierDeclaration& declaration : known) {
    if (String::equalNoCase(declaration.name, name)) {
      return &declaration;
    }
  }
  return nullptr;
}

CIMType literalType(const Literal& literal) {
  switch (literal.kind) {
    case Literal::BOOLEAN:
      return Pegasus::CIMTYPE_BOOLEAN;
    case Literal::INTEGER:
      return literal.isNegative ? Pegasus::CIMTYPE_SINT64 : Pegasus::CIMTYPE_UINT64;
    case Literal::REAL:
      return Pegasus::CIMTYPE_REAL64;
    case Literal::CHAR:
      return Pegasus::CIMTYPE_CHAR16;
    default:
      return Pegasus::CIMTYPE_STRING;
  }
}

// Of what is in braces the first value that tells a type, but numbers are signed if one of them is.
CIMType impliedType(const std::vector<Literal>& literals) {
  std::optional<CIMType> type;
  for (const Literal& literal : literals) {
    const CIMType own = literalType(literal);
    const bool isSignedAfterAll = type == Pegasus::CIMTYPE_UINT64 && own == Pegasus::CIMTYPE_SINT64;
    if (literal.kind != Literal::NULL_VALUE && (!type || isSignedAfterAll)) {
      type = own;
    }
  }
  return type.value_or(Pegasus::CIMTYPE_STRING);
}

CIMValue undeclaredValue(const std::optional<Value>& value) {
  if (!value) {
    return CIMValue(true);
  }
  return qualifierValue(*value, impliedType(value->literals), value->isArray, 0);
}

// A boolean without value is true; others have the value of their declaration.
CIMValue declaredValue(const std::optional<Value>& value, const QualifierDeclaration& declaration) {
  const CIMValue& standard = declaration.defaultValue;
  if (value) {
    return qualifierValue(*value, standard.getType(), standard.isArray(), declaration.arraySize);
  }
  const bool isFlag = standard.getType() == Pegasus::CIMTYPE_BOOLEAN && !standard.isArray();
  return isFlag ? CIMValue(true) : standard;
}

cimd::Qualifier resolve(const Qualifier& given, unsigned scope,
                        const QualifierDeclaration* declaration) {
  if (declaration == nullptr) {
    declaration = findImplied(given.name);
  }
  if (declaration == nullptr) {
    return {given.name, undeclaredValue(given.value),
            FlavorReader(given.position, Flavors()).read(given.flavors)};
  }
  if ((declaration->scopes & scope) == 0) {
    throw MofError(given.position, "qualifier " + given.name.toUtf8() + " cannot stand here");
  }
  return {declaration->name, declaredValue(given.value, *declaration),
          FlavorReader(given.position, declaration->flavors).read(given.flavors)};
}

}  // namespace

QualifierDeclaration qualifierDeclaration(const QualifierType& given) {
  QualifierDeclaration declaration;
  const DataType& type = given.type;
  if (type.type == Pegasus::CIMTYPE_REFERENCE) {
    throw MofError(given.position, "a qualifier cannot be a reference");
  }
  declaration.name = given.name;
  declaration.defaultValue = given.defaultValue ? qualifierValue(*given.defaultValue, type.type,
                                                                 type.isArray, type.arraySize)
                                                : CIMValue(type.type, type.isArray);
  declaration.arraySize = type.arraySize;
  declaration.scopes = scopeBits(given);
  declaration.flavors = FlavorReader(given.position, Flavors()).read(given.flavors);
  return declaration;
}

void DeclaredQualifiers::add(std::size_t place, QualifierDeclaration declaration) {
  auto& declarations = byName_[fold(declaration.name)];
  declarations.emplace_back(place, std::move(declaration));
}

const QualifierDeclaration* DeclaredQualifiers::find(const String& name, std::size_t place) const {
  const auto found = byName_.find(fold(name));
  if (found == byName_.end()) {
    return nullptr;
  }
  const auto& declarations = found->second;
  const auto after = std::partition_point(declarations.begin(), declarations.end(),
                                          [&](const auto& entry) { return entry.first < place; });
  return after == declarations.begin() ? &after->second : &std::prev(after)->second;
}

Qualifiers resolveQualifiers(const std::vector<Qualifier>& given, unsigned scope,
                             const DeclaredQualifiers& declared, std::size_t place) {
  Qualifiers resolved;
  for (const Qualifier& qualifier : given) {
    if (findQualifier(resolved, qualifier.name) != nullptr) {
      throw MofError(qualifier.position,
                     "qualifier " + qualifier.name.toUtf8() + " is there already");
    }
    const QualifierDeclaration* declaration = declared.find(qualifier.name, place);
    resolved.push_back(
        {std::make_shared<const cimd::Qualifier>(resolve(qualifier, scope, declaration)), false});
  }
  return resolved;
}

bool isSet(const Qualifiers& qualifiers, const char* name) {
  const cimd::Qualifier* found = findQualifier(qualifiers, name);
  bool value = false;
  if (found != nullptr && found->value.getType() == Pegasus::CIMTYPE_BOOLEAN &&
      !found->value.isArray() && !found->value.isNull()) {
    found->value.get(value);
  }
  return value;
}

}  // namespace cimd::mof
