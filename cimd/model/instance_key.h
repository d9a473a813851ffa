// What makes two instance names the same: class and keys, however they are written.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>

#include <optional>
#include <string>

#include "model/class.h"
#include "model/schema.h"

namespace cimd {

// Equal for names of the same instance of one namespace, whatever the order of keys, the letter
// case of names and booleans, and the form of numbers. String values differ in letter case.
using InstanceKey = std::u16string;

// The namespace in which names are compared.
struct KeyScope {
  // A reference that does not tell its namespace points here.
  const Pegasus::String& nameSpace;
  const Schema& schema;
};

// The class of the instance that the path names, when that is one of this host and namespace, and
// the class exists; otherwise null.
const Class* localClass(const Pegasus::CIMObjectPath& path, const KeyScope& scope);

// Nothing when the path cannot name an instance of the class: a key is missing, unknown or no value
// of its property's type. Each value is read as the class has it, not as the path marks it: clients
// send numbers as strings. So are the keys of references to instances of this namespace; those of
// others are compared as the path marks them. A single key may be without a name. Throws
// CIMException (INVALID_PARAMETER) for a name of more than 65536 characters.
std::optional<InstanceKey> instanceKey(const Class& cls, const Pegasus::CIMObjectPath& path,
                                       const KeyScope& scope);

// Whether two values of a key property, each of its type, name the same instance.
bool isSameKey(const Property& property, const Pegasus::CIMValue& a, const Pegasus::CIMValue& b,
               const KeyScope& scope);

// The name of an instance that has all properties of the class in its order: class and keys,
// without namespace. Throws CIMException (INVALID_PARAMETER) when a key is null.
Pegasus::CIMObjectPath instancePath(const Class& cls, const Pegasus::CIMInstance& instance);

// For messages: the name as a text, or only its class where that text would be too long.
Pegasus::String describePath(const Pegasus::CIMObjectPath& path);

}  // namespace cimd
