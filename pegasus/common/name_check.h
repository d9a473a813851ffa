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

// Without the slashes at both ends, which do not count: "/root/x/" and "root/x" are the same
// namespace. Letter case is kept.
String trimNameSpace(const String& name);

// A name that is there twice, letter case ignored, or null. In n log n steps: comparing each name
// with each, a list of a thousand that differ in their last letters only takes a thousand times as
// long as reading it.
const String* findRepeated(std::vector<const String*> names);
// The same of the names of keys.
const String* findRepeated(const Array<CIMKeyBinding>& keys);

}  // namespace Pegasus
