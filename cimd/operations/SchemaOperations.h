// The operations on classes and qualifier declarations (DMTF DSP0200), which only read: the schema
// comes from the server's files. Contract as in InstanceOperations.h.
#pragma once

#include "xml/Request.h"

#include <string>

#include "model/NameSpace.h"

namespace cimd {

std::string getClass(NameSpace& nameSpace, const Pegasus::xml::Request& request);
std::string enumerateClasses(NameSpace& nameSpace, const Pegasus::xml::Request& request);
std::string enumerateClassNames(NameSpace& nameSpace, const Pegasus::xml::Request& request);
std::string getQualifier(NameSpace& nameSpace, const Pegasus::xml::Request& request);
std::string enumerateQualifiers(NameSpace& nameSpace, const Pegasus::xml::Request& request);

}  // namespace cimd
