// The forms of names (DMTF DSP0004), and whether the names of a list are all different.
#pragma once

#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/String.h>

#include <vector>

namespace Pegasus {

// A letter or underscore, then letters, digits, underscores; any character past ASCII is a letter.
bool isIdentifier(const String& name);

// Parts of identifier characters, "-" and ".", separated by single slashes.
bool isNameSpaceName(const String& name);

// Without the slashes at both ends, which are ignored: "/root/x/" and "root/x" are the same
// namespace. Letter case is kept.
String trimNameSpace(const String& name);

// A duplicate name, ignoring letter case, or null. Takes n log n steps: comparing each name with
// each would take a thousand times as long as reading for a thousand names that differ in their
// last letters only.
const String* findRepeated(std::vector<const String*> names);
// The same for the names of keys.
const String* findRepeated(const Array<CIMKeyBinding>& keys);

}  // namespace Pegasus
