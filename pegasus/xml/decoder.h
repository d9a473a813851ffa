// Values, names, paths and instances from CIM-XML elements (DMTF DSP0201). Every function throws
// XmlValidationError when the element has another name or holds something that it may not.
// Unknown attributes and qualifiers are ignored. Names, types, numbers and booleans may have white
// space around them, in attributes and in texts; other texts are kept exactly.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMValue.h>
#include "xml/document.h"

#include <string>
#include <string_view>

namespace Pegasus::xml {

// Far more than any class has. Finding a property compares its name with those before it.
constexpr Uint32 maxProperties = 1000;
// The limit for one instance name. Comparing two names compares each key with each.
constexpr Uint32 maxKeyBindings = 100;

// VALUE, VALUE.ARRAY, VALUE.REFERENCE or VALUE.REFARRAY as a value of this type. A missing element
// (Element()) gives null, and so does an empty VALUE of a type that has no empty text.
CIMValue decodeTypedValue(CIMType type, bool isArray, Element element);
// VALUE or VALUE.ARRAY as a string or strings, since the element does not show a type;
// VALUE.REFERENCE, VALUE.REFARRAY. A missing element (Element()) gives a null string.
CIMValue decodeUntypedValue(Element element);
// LOCALNAMESPACEPATH as the names of its parts joined by '/'; empty parts are left out.
String decodeLocalNameSpacePath(Element element);
// INSTANCENAME, LOCALINSTANCEPATH or INSTANCEPATH. The texts of string keys are kept as they are,
// numbers and booleans without the white space around them; a key without VALUETYPE is a string.
CIMObjectPath decodeObjectPath(Element element);
// The path in a VALUE.REFERENCE.
CIMObjectPath decodeReference(Element element);
// INSTANCE; the path has the class name only.
CIMInstance decodeInstance(Element element);
// VALUE.NAMEDINSTANCE (INSTANCENAME, INSTANCE) or VALUE.INSTANCEWITHPATH, with the path of the
// name.
CIMInstance decodeNamedInstance(Element element);

// For the messages around these elements.

// Throws unless the element has this name and, white space apart, no text of its own.
void requireElement(Element element, std::string_view name);
// The attribute, which must be there and not empty.
std::string_view requireAttribute(Element element, const char* name);
// The same for a name or type, without the white space around it.
std::string_view requireName(Element element, const char* attribute);
// The only child element, or none. Throws when there are more, or text beside it.
Element optionalChild(Element element);
// The text of a VALUE, KEYVALUE or HOST; throws when it holds elements.
std::string_view textOnly(Element element);

}  // namespace Pegasus::xml
