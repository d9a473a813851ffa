// Qualifiers from MOF as the model has them.
#pragma once

#include <vector>

#include "model/class.h"
#include "model/schema.h"
#include "mof/mof_tree.h"

namespace cimd::mof {

// Throws MofError for a default value of another type, and for scopes and flavors that DSP0004 does
// not know or that contradict each other.
QualifierDeclaration qualifierDeclaration(const QualifierType& given);

// The qualifiers of one element, each with its value and flavors. `scope` are the bits of
// QualifierScope that hold for the element. What is declared in the schema must be used as
// declared; what is not declared has the type of its value: files of other servers lack
// declarations that those servers have built in. Throws MofError for a qualifier that is there
// twice, out of its scope, or of another type.
Qualifiers resolveQualifiers(const std::vector<Qualifier>& given, unsigned scope,
                             const Schema& schema);

// True when the boolean qualifier is there and true.
bool isSet(const Qualifiers& qualifiers, const char* name);

}  // namespace cimd::mof
