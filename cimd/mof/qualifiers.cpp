#include "mof/qualifiers.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <memory>
#include <optional>

#include "mof/values.h"

namespace cimd::mof {

namespace {

using Kind = Literal::Kind;
using Pegasus::CIMType;
using Pegasus::CIMValue;
using Pegasus::String;

// The last two are scopes that no element of a file has.
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

unsigned scopeBits(const QualifierDeclarationSyntax& given) {
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

struct FlavorName {
  const char* name;
  // Null for a flavor without meaning.
  bool Flavors::*flavor;
  bool value;
};

constexpr std::array<FlavorName, 6> flavorNames{{
    {"EnableOverride", &Flavors::isOverridable, true},
    {"DisableOverride", &Flavors::isOverridable, false},
    {"ToSubclass", &Flavors::isForSubclasses, true},
    {"Restricted", &Flavors::isForSubclasses, false},
    {"Translatable", &Flavors::isTranslatable, true},
    {"ToInstance", nullptr, true},  // in old files
}};

// The flavors, changed by the names that a declaration or use gives.
Flavors changedFlavors(Flavors flavors, const std::vector<String>& names,
                       const Position& position) {
  Flavors given{false, false, false};
  for (const String& name : names) {
    const auto* const known =
        std::find_if(flavorNames.begin(), flavorNames.end(),
                     [&](const auto& flavor) { return String::equalNoCase(name, flavor.name); });
    if (known == flavorNames.end()) {
      throw MofError(position, "expected a flavor such as ToSubclass, found " + name.toUtf8());
    }
    if (known->flavor == nullptr) {
      continue;
    }
    if (given.*known->flavor && flavors.*known->flavor != known->value) {
      throw MofError(position, "flavor " + name.toUtf8() + " contradicts the one before it");
    }
    flavors.*known->flavor = known->value;
    given.*known->flavor = true;
  }
  return flavors;
}

QualifierDeclaration implied(const char* name, CIMType type, unsigned scope, Flavors flavors) {
  return {name, CIMValue(type, false), 0, scope, flavors};
}

// The qualifiers that change what the server does, as DSP0004 declares them, for schemas that do
// not.
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
    case Kind::boolean:
      return Pegasus::CIMTYPE_BOOLEAN;
    case Kind::integer:
      return literal.integer.isNegative ? Pegasus::CIMTYPE_SINT64 : Pegasus::CIMTYPE_UINT64;
    case Kind::real:
      return Pegasus::CIMTYPE_REAL64;
    case Kind::character:
      return Pegasus::CIMTYPE_CHAR16;
    default:
      return Pegasus::CIMTYPE_STRING;
  }
}

// The type of the first value that is not NULL, but integers are signed if one of them is negative.
CIMType impliedType(const std::vector<Literal>& literals) {
  std::optional<CIMType> type;
  for (const Literal& literal : literals) {
    const CIMType own = literalType(literal);
    const bool isSignedAfterAll = type == Pegasus::CIMTYPE_UINT64 && own == Pegasus::CIMTYPE_SINT64;
    if (literal.kind != Kind::null && (!type || isSignedAfterAll)) {
      type = own;
    }
  }
  return type.value_or(Pegasus::CIMTYPE_STRING);
}

CIMValue undeclaredValue(const std::optional<ValueSyntax>& value) {
  if (!value) {
    return CIMValue(true);
  }
  return constantValue(*value, {impliedType(value->literals), {}, value->isArray, 0});
}

// A boolean without value is true; others have the value of their declaration.
CIMValue declaredValue(const std::optional<ValueSyntax>& value,
                       const QualifierDeclaration& declaration) {
  const CIMValue& standard = declaration.defaultValue;
  if (value) {
    return constantValue(*value,
                         {standard.getType(), {}, standard.isArray(), declaration.arraySize});
  }
  const bool isFlag = standard.getType() == Pegasus::CIMTYPE_BOOLEAN && !standard.isArray();
  return isFlag ? CIMValue(true) : standard;
}

// A qualifier that is declared must be used as declared. One that is not declared has the type of
// its value: files of other servers lack the declarations that those servers have built in.
Qualifier resolveOne(const QualifierSyntax& given, unsigned scope,
                     const QualifierDeclaration* declaration) {
  if (declaration == nullptr) {
    declaration = findImplied(given.name);
  }
  if (declaration == nullptr) {
    return {given.name, undeclaredValue(given.value),
            changedFlavors(Flavors(), given.flavors, given.position)};
  }
  if ((declaration->scopes & scope) == 0) {
    throw MofError(given.position, "qualifier " + given.name.toUtf8() + " is not allowed here");
  }
  return {declaration->name, declaredValue(given.value, *declaration),
          changedFlavors(declaration->flavors, given.flavors, given.position)};
}

}  // namespace

QualifierDeclaration qualifierDeclaration(const QualifierDeclarationSyntax& given) {
  const DataType& type = given.type;
  if (type.type == Pegasus::CIMTYPE_REFERENCE) {
    throw MofError(given.position, "a qualifier cannot be a reference");
  }
  QualifierDeclaration declaration;
  declaration.name = given.name;
  declaration.defaultValue = given.defaultValue ? constantValue(*given.defaultValue, type)
                                                : CIMValue(type.type, type.isArray);
  declaration.arraySize = type.arraySize;
  declaration.scopes = scopeBits(given);
  declaration.flavors = changedFlavors(Flavors(), given.flavors, given.position);
  return declaration;
}

void DeclaredQualifiers::add(std::size_t place, QualifierDeclaration declaration) {
  auto& declarations = byName_[fold(declaration.name)];
  declarations.emplace_back(place, std::move(declaration));
}

// The last declaration before `place`. Files may declare a qualifier after they use it, so where
// there is none before, it is the first one after it. Null when the name is not declared.
const QualifierDeclaration* DeclaredQualifiers::find(const String& name, std::size_t place) const {
  const auto found = byName_.find(fold(name));
  if (found == byName_.end()) {
    return nullptr;
  }
  const auto& declarations = found->second;
  const auto next = std::partition_point(declarations.begin(), declarations.end(),
                                         [&](const auto& entry) { return entry.first < place; });
  return next == declarations.begin() ? &next->second : &std::prev(next)->second;
}

Qualifiers DeclaredQualifiers::resolve(const QualifierList& given, unsigned scope,
                                       std::size_t place) const {
  Qualifiers resolved;
  for (const QualifierSyntax& qualifier : given) {
    if (findQualifier(resolved, qualifier.name) != nullptr) {
      throw MofError(qualifier.position, "duplicate qualifier " + qualifier.name.toUtf8());
    }
    const QualifierDeclaration* declaration = find(qualifier.name, place);
    resolved.push_back(
        {std::make_shared<const Qualifier>(resolveOne(qualifier, scope, declaration)), false});
  }
  return resolved;
}

bool isSet(const Qualifiers& qualifiers, const char* name) {
  const Qualifier* found = findQualifier(qualifiers, name);
  bool value = false;
  if (found != nullptr && found->value.getType() == Pegasus::CIMTYPE_BOOLEAN &&
      !found->value.isArray() && !found->value.isNull()) {
    found->value.get(value);
  }
  return value;
}

}  // namespace cimd::mof
