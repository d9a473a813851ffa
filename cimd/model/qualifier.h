// Qualifiers: what a schema says about its classes, properties, methods and parameters (DMTF
// DSP0004).
#pragma once

#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/String.h>

#include <memory>
#include <vector>

namespace cimd {

// How a qualifier is passed on. The initial values are those of DSP0004.
struct Flavors {
  // False: a subclass may repeat the value but not change it.
  bool isOverridable = true;
  // False: holds for the element that it stands at only (flavor Restricted).
  bool isForSubclasses = true;
  bool isTranslatable = false;
};

// Where a qualifier may stand. Bits, to be combined.
enum QualifierScope : unsigned {
  SCOPE_CLASS = 1,
  SCOPE_ASSOCIATION = 2,
  SCOPE_INDICATION = 4,
  SCOPE_PROPERTY = 8,
  SCOPE_REFERENCE = 16,
  SCOPE_METHOD = 32,
  SCOPE_PARAMETER = 64,
  SCOPE_ANY = 127
};

struct QualifierDeclaration {
  Pegasus::String name;
  // Its type is that of all values of the qualifier. Null without default.
  Pegasus::CIMValue defaultValue;
  // Elements of a fixed-size array, 0 for any number of them.
  Pegasus::Uint32 arraySize = 0;
  // Of QualifierScope.
  unsigned scopes = SCOPE_ANY;
  Flavors flavors;
};

struct Qualifier {
  Pegasus::String name;
  Pegasus::CIMValue value;
  Flavors flavors;
};

// A qualifier at one element. Values of a large schema are many and long, so those that a subclass
// has from its superclass are shared.
struct AppliedQualifier {
  std::shared_ptr<const Qualifier> qualifier;
  // True when it comes from the superclass.
  bool isPropagated = false;
};

using Qualifiers = std::vector<AppliedQualifier>;

// Null when it is not there. Letter case is ignored.
const Qualifier* findQualifier(const Qualifiers& qualifiers, const Pegasus::String& name);

// Adds to `own` what an element passes on to the one that overrides it. Throws CIMException
// (INVALID_PARAMETER) when `own` changes a qualifier that may not be overridden. `where` names the
// element in the message.
void inheritQualifiers(Qualifiers& own, const Qualifiers& inherited, const Pegasus::String& where);

}  // namespace cimd
