// The operations on instances (DMTF DSP0200). Each takes the namespace that the request names and
// the request, and returns the content of IRETURNVALUE in CIM-XML, or as a listing what may be
// long. Each throws CIMException with the standard's code for the failure, and XmlValidationError
// for a parameter of the wrong kind.
#pragma once

#include "xml/request.h"

#include <string>

#include "model/name_space.h"
#include "operations/answer.h"

namespace cimd {

// LocalOnly is accepted and has no effect: the standard deprecates it for instances, and servers
// that follow it leave out what clients need. Qualifiers of instances are those of their class.
Listing enumerateInstances(NameSpace& nameSpace, const Pegasus::xml::Request& request);
Listing enumerateInstanceNames(NameSpace& nameSpace, const Pegasus::xml::Request& request);
Listing getInstance(NameSpace& nameSpace, const Pegasus::xml::Request& request);
std::string getProperty(NameSpace& nameSpace, const Pegasus::xml::Request& request);
std::string createInstance(NameSpace& nameSpace, const Pegasus::xml::Request& request);
std::string modifyInstance(NameSpace& nameSpace, const Pegasus::xml::Request& request);
std::string setProperty(NameSpace& nameSpace, const Pegasus::xml::Request& request);
std::string deleteInstance(NameSpace& nameSpace, const Pegasus::xml::Request& request);

}  // namespace cimd
