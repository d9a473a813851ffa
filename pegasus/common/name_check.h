// Whether names are all different, for lists that anybody may have made.
#pragma once

#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/String.h>

#include <vector>

namespace Pegasus {

// A name that is there twice, letter case ignored, or null. In n log n steps: comparing each name
// with each, a list of a thousand that differ in their last letters only takes a thousand times as
// long as reading it.
const String* findRepeated(std::vector<const String*> names);
// The same of the names of keys.
const String* findRepeated(const Array<CIMKeyBinding>& keys);

}  // namespace Pegasus
