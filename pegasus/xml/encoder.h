// Values, names and instances as CIM-XML elements (DMTF DSP0201). Every function appends to `out`,
// and throws InvalidValueException for what CIM-XML cannot carry: a character that XML forbids, a
// property that is an array of references, a key without name among others, an empty namespace.
// `out` may then end in an incomplete element.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMValue.h>

#include <string>
#include <string_view>

namespace Pegasus::xml {

// VALUE, VALUE.ARRAY, VALUE.REFERENCE or VALUE.REFARRAY; nothing for a null value.
void appendValue(std::string& out, const CIMValue& value);
// PROPERTY, PROPERTY.ARRAY or PROPERTY.REFERENCE; a null property is an element without value.
// CLASSORIGIN and PROPAGATED are written where the property has them.
void appendProperty(std::string& out, const CIMProperty& property);
// The same with the XML of its QUALIFIER elements, and with the attribute EmbeddedObject
// ("instance" or "object") unless that is empty.
void appendQualifiedProperty(std::string& out, const CIMProperty& property,
                             std::string_view qualifiers, std::string_view embeddedObject = {});
// LOCALNAMESPACEPATH of a namespace such as "root/kvasd".
void appendLocalNameSpacePath(std::string& out, const String& nameSpace);
// CLASSNAME.
void appendClassName(std::string& out, const String& className);
// INSTANCENAME: class and keys, without host and namespace.
void appendInstanceName(std::string& out, const CIMObjectPath& path);
// INSTANCEPATH for a path with host and namespace, LOCALINSTANCEPATH for one with a namespace only,
// else INSTANCENAME. A host without namespace has no element and is left out.
void appendObjectPath(std::string& out, const CIMObjectPath& path);
// INSTANCE, without its path.
void appendInstance(std::string& out, const CIMInstance& instance);

// For the messages around these elements: ` NAME="value"` with a blank before it, the value
// escaped.
void appendAttribute(std::string& out, std::string_view name, const String& value);

}  // namespace Pegasus::xml
