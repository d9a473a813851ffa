// CIM-XML elements (DMTF DSP0201) as values, names and instances. Every function throws
// XmlValidationError when the element is not what its name says or holds what it may not.
// Unknown attributes and qualifiers are ignored. Names, types, numbers and booleans may have white
// space around them, in attributes and in texts; other texts are kept exactly.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMValue.h>
#include "xml/xml_document.h"

#include <string>
#include <string_view>

namespace Pegasus::xml {

// Far more than any class has. Finding a property compares its name with those before it.
constexpr Uint32 maxProperties = 1000;
// Of one instance name. Comparing two names compares each key with each.
constexpr Uint32 maxKeyBindings = 100;

// The type named by a TYPE attribute ("uint32"), in any letter case.
CIMType parseType(std::string_view name);

// One value of the type from its text. Numbers, booleans and datetimes may have blanks around them.
// Integers are decimal (leading zeros make no octal number) or, as DSP0201 allows, hexadecimal
// (0x1F) or binary (101b), each with or without sign; reals may also be INF, -INF, NaN. One that
// does not fit the type is refused. A char16 is exactly one UTF-16 unit. Strings are taken as they
// are. For CIMTYPE_REFERENCE this always throws: references are elements, not texts.
CIMValue parseScalar(CIMType type, std::string_view text);

// VALUE.ARRAY, or VALUE.REFARRAY for references, as an array of the type. VALUE.NULL gives a null
// element.
CIMValue decodeArray(CIMType type, Element element);

// VALUE, VALUE.ARRAY, VALUE.REFERENCE or VALUE.REFARRAY as a value of this type; a missing element
// (Element()) gives null, and so does an empty VALUE of a type that has no empty text.
CIMValue decodeTypedValue(CIMType type, bool isArray, Element element);
// VALUE, VALUE.ARRAY (as strings, since the element does not tell a type), VALUE.REFERENCE,
// VALUE.REFARRAY; a missing element (Element()) gives a null string.
CIMValue decodeUntypedValue(Element element);
// The text of NAMESPACE elements joined by '/', from a LOCALNAMESPACEPATH; empty parts are left
// out.
String decodeLocalNameSpacePath(Element element);
// INSTANCENAME, LOCALINSTANCEPATH or INSTANCEPATH. The texts of string keys are kept as they are,
// numbers and booleans without the white space around them; a key without VALUETYPE is a string.
CIMObjectPath decodeObjectPath(Element element);
// INSTANCE; the path has the class name only.
CIMInstance decodeInstance(Element element);
// VALUE.NAMEDINSTANCE (INSTANCENAME, INSTANCE) and VALUE.INSTANCEWITHPATH; the path is the name's.
CIMInstance decodeNamedInstance(Element element);

// For the messages around these elements. The first throws unless the element has this name and,
// white space apart, no text of its own; the second when the attribute is missing.
void requireElement(Element element, std::string_view name);
std::string_view requireAttribute(Element element, const char* name);
// The attribute as a name or type, which may have white space around it.
std::string_view requireName(Element element, const char* attribute);
// The only child element, or none. Throws when there are more, or when there is text beside it.
Element optionalChild(Element element);
// The text of a VALUE, KEYVALUE or HOST; throws when it holds elements.
std::string textOnly(Element element);
// The path in a VALUE.REFERENCE.
CIMObjectPath decodeReference(Element element);

}  // namespace Pegasus::xml
