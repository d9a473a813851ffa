#include "model/qualifier.h"

#include <algorithm>

#include "model/cim_errors.h"

namespace cimd {

using Pegasus::String;

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

}  // namespace cimd
