// Qualifiers from MOF as the model has them.
#pragma once

#include <unordered_map>
#include <utility>
#include <vector>

#include "model/class.h"
#include "model/names.h"
#include "mof/mof_tree.h"

namespace cimd::mof {

// Throws MofError for a default value of another type, and for scopes and flavors that DSP0004 does
// not know or that contradict each other.
QualifierDeclaration qualifierDeclaration(const QualifierType& given);

// The qualifier declarations of one namespace, in the order of the files. A name that is declared
// again has the new declaration from there on.
class DeclaredQualifiers {
 public:
  // `place` grows from one declaration to the next.
  void add(std::size_t place, QualifierDeclaration declaration);

  // The declaration that holds just before `place`: the last one before it. Files may declare a
  // qualifier after they use it, so where there is none before, it is the first one after it. Null
  // when the name is not declared. Letter case is ignored.
  const QualifierDeclaration* find(const Pegasus::String& name, std::size_t place) const;

 private:
  std::unordered_map<FoldedName, std::vector<std::pair<std::size_t, QualifierDeclaration>>> byName_;
};

// The qualifiers of one element, each with its value and flavors. `scope` are the bits of
// QualifierScope that hold for the element. A qualifier that is declared must be used as the
// declaration in force at `place` says; one that is not declared has the type of its value: files
// of other servers lack declarations that those servers have built in. Throws MofError for a
// duplicate qualifier and for one out of its scope or of another type.
Qualifiers resolveQualifiers(const std::vector<Qualifier>& given, unsigned scope,
                             const DeclaredQualifiers& declared, std::size_t place);

// True when the boolean qualifier is there and true.
bool isSet(const Qualifiers& qualifiers, const char* name);

}  // namespace cimd::mof
