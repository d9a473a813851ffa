// Comparing names as CIM does: letter case does not matter, for ASCII letters (DMTF DSP0004).
#pragma once

#include <Pegasus/Common/String.h>

#include <string>

namespace cimd {

// A name in the form in which equal names are equal, for use as a key of maps.
using FoldedName = std::u16string;

FoldedName fold(const Pegasus::String& name);

// "/Root//x/" and "root/x" name the same namespace: slashes at both ends are dropped. Letter case
// is kept.
Pegasus::String trimNameSpace(const Pegasus::String& name);

// A letter or underscore, then letters, digits, underscores; any character past ASCII is a letter.
bool isIdentifier(const Pegasus::String& name);

// True for what may name a namespace: identifiers, with digits and "-", "." allowed, between single
// slashes.
bool isNameSpaceName(const Pegasus::String& name);

}  // namespace cimd
