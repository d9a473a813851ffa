// Classes and qualifiers as CIM-XML elements (DMTF DSP0201). Every function appends to `out`.
#pragma once

#include <string>

#include "model/class.h"
#include "operations/parameters.h"

namespace cimd {

// What of a class is wanted. It refers to the filter, which must outlive it.
struct ClassContent {
  // Only what the class declares or overrides itself.
  bool isLocalOnly;
  bool hasQualifiers;
  bool hasClassOrigin;
  const PropertyFilter& properties;
};

// CLASS.
void appendClass(std::string& out, const Class& cls, const ClassContent& content);
// A QUALIFIER for each; without the inherited ones if only local ones are wanted.
void appendQualifiers(std::string& out, const Qualifiers& qualifiers, bool isLocalOnly);
// The qualifiers of a property or method as this class has them, which may have it from another
// one: inherited then, and without those that hold for the other class only.
Qualifiers qualifiersIn(const Class& cls, const Qualifiers& qualifiers,
                        const Class* declaringClass);
// QUALIFIER.DECLARATION.
void appendQualifierDeclaration(std::string& out, const QualifierDeclaration& declaration);

}  // namespace cimd
