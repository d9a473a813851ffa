// The operations on classes and qualifier declarations (DMTF DSP0200), which only read: the schema
// comes from the server's files. Contract as in instance_operations.h.
#pragma once

#include "xml/request.h"

#include <string>

#include "model/name_space.h"

namespace cimd {

std::string getClass(NameSpace& nameSpace, const Pegasus::xml::Request& request);
std::string enumerateClasses(NameSpace& nameSpace, const Pegasus::xml::Request& request);
std::string enumerateClassNames(NameSpace& nameSpace, const Pegasus::xml::Request& request);
std::string getQualifier(NameSpace& nameSpace, const Pegasus::xml::Request& request);
std::string enumerateQualifiers(NameSpace& nameSpace, const Pegasus::xml::Request& request);

}  // namespace cimd
