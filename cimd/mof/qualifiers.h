// Qualifiers from MOF as the model has them.
#pragma once

#include <cstddef>
#include <unordered_map>
#include <utility>
#include <vector>

#include "model/names.h"
#include "model/schema.h"
#include "mof/parser.h"

namespace cimd::mof {

// Throws MofError for a default value of another type, and for scopes and flavors that DSP0004 does
// not have or that contradict each other.
QualifierDeclaration qualifierDeclaration(const QualifierDeclarationSyntax& given);

// The qualifier declarations of one namespace, in the order of the files. One that is declared
// again has its new declaration from there on.
class DeclaredQualifiers {
 public:
  // `place` grows from one declaration to the next.
  void add(std::size_t place, QualifierDeclaration declaration);

  // The qualifiers of one element at `place`, each with its value and flavors. `scope` has the bits
  // of QualifierScope that hold for the element. A qualifier that is declared must be used as
  // declared; one that is not has the type of its value. Throws MofError for a duplicate qualifier
  // and for one that is out of its scope or of another type.
  Qualifiers resolve(const QualifierList& given, unsigned scope, std::size_t place) const;

 private:
  const QualifierDeclaration* find(const Pegasus::String& name, std::size_t place) const;

  std::unordered_map<FoldedName, std::vector<std::pair<std::size_t, QualifierDeclaration>>> byName_;
};

// True when the boolean qualifier is there and true.
bool isSet(const Qualifiers& qualifiers, const char* name);

}  // namespace cimd::mof
