// The names of CIM elements, namespaces and this host. They are compared without regard to the case
// of ASCII letters (DMTF DSP0004).
#pragma once

#include <Pegasus/Common/String.h>

#include <string>
#include <string_view>

namespace cimd {

// A name in lower case, for use as a key of maps.
using FoldedName = std::u16string;

FoldedName fold(const Pegasus::String& name);

// Without the slashes at both ends, which do not count: "/root/x/" and "root/x" are the same
// namespace. Letter case is kept.
Pegasus::String trimNameSpace(const Pegasus::String& name);

// A letter or underscore, then letters, digits, underscores; any character past ASCII is a letter.
bool isIdentifier(const Pegasus::String& name);

// Parts of identifier characters, "-" and ".", separated by single slashes.
bool isNameSpaceName(const Pegasus::String& name);

// True for localhost or a loopback address, with or without a port, as Host headers and object
// paths have it.
bool isLoopbackHost(std::string_view host);

}  // namespace cimd
