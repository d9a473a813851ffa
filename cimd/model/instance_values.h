// Instances from clients and MOF files, checked against their class and completed.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMPropertyList.h>

#include <string_view>

#include "model/instance_key.h"

namespace cimd {

// The instance with every property of the class, in the class's order and spelling, and its name
// (class and keys) as path. A property that is not given has its default, or is null. Throws
// CIMException: NOT_SUPPORTED when the class is abstract; INVALID_PARAMETER for a property that the
// class does not have, that is given twice, of another type, longer than its fixed array size or a
// reference to an instance of a class that it may not point to, and for a key without value.
// (DSP0200 has no type mismatch for CreateInstance.)
Pegasus::CIMInstance completeInstance(const Class& cls, const Pegasus::CIMInstance& given,
                                      const KeyScope& scope);

// `current`, which is complete, with the values of `given`: all of them, or those that the list
// names if it is not null. A property in the list that `given` does not have gets its default.
// Throws CIMException: NO_SUCH_PROPERTY for a property that the class does not have,
// INVALID_PARAMETER for a value that completeInstance() would refuse and for a key that would
// change.
Pegasus::CIMInstance changedInstance(const Class& cls, const Pegasus::CIMInstance& current,
                                     const Pegasus::CIMInstance& given,
                                     const Pegasus::CIMPropertyList& list, const KeyScope& scope);

// Throws CIMException (INVALID_PARAMETER) when a text in `given`, an instance of the class, has
// more characters than the qualifier MaxLen of its property allows.
void checkLengths(const Class& cls, const Pegasus::CIMInstance& given);

// The attribute EmbeddedObject (DSP0201) of a property with this value: "instance", "object" or
// empty. Clients decode a value with the attribute, and refuse the whole answer if they cannot, so
// a value that is not an object in CIM-XML has none and is an ordinary string.
std::string_view embeddedObject(const Property& property, const Pegasus::CIMValue& value);

}  // namespace cimd
