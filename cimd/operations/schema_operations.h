// The operations on classes and qualifier declarations (DMTF DSP0200), which only read: the schema
// comes from the server's files. Their contract is that of instance_operations.h. And qualifiers in
// CIM-XML, which instances have too.
#pragma once

#include "xml/request.h"

#include <string>

#include "model/class.h"
#include "model/name_space.h"
#include "operations/answer.h"

namespace cimd {

std::string getClass(NameSpace& nameSpace, const Pegasus::xml::Request& request);
Listing enumerateClasses(NameSpace& nameSpace, const Pegasus::xml::Request& request);
Listing enumerateClassNames(NameSpace& nameSpace, const Pegasus::xml::Request& request);
std::string getQualifier(NameSpace& nameSpace, const Pegasus::xml::Request& request);
Listing enumerateQualifiers(NameSpace& nameSpace, const Pegasus::xml::Request& request);

// Appends a QUALIFIER.DECLARATION.
void appendQualifierDeclaration(std::string& out, const QualifierDeclaration& declaration);
// Appends a QUALIFIER for each, without the inherited ones if only local ones are wanted.
void appendQualifiers(std::string& out, const Qualifiers& qualifiers, bool isLocalOnly);
// The qualifiers of a property or method of `declaringClass` as `cls` has them. In a subclass they
// are inherited, and those that are for the declaring class only are missing.
Qualifiers qualifiersIn(const Class& cls, const Qualifiers& qualifiers,
                        const Class* declaringClass);

}  // namespace cimd
