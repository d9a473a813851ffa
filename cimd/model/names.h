// The names of CIM elements, namespaces and this host. They are compared without regard to the case
// of ASCII letters (DMTF DSP0004).
#pragma once

#include <Pegasus/Common/String.h>

#include <string>
#include <string_view>

#include "common/name_check.h"

namespace cimd {

// A name in lower case, for use as a key of maps.
using FoldedName = std::u16string;

FoldedName fold(const Pegasus::String& name);

using Pegasus::isNameSpaceName;
using Pegasus::trimNameSpace;

// The name of this host; "localhost" where it has none.
std::string ownHostName();
// True for localhost or a loopback address, with or without a port, as Host headers and object
// paths have it.
bool isLoopbackHost(std::string_view host);

}  // namespace cimd
