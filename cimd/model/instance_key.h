// The identity of an instance: its class and keys, however a name spells them.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>

#include <optional>
#include <string>

#include "model/schema.h"

namespace cimd {

// Equal for names of the same instance of one namespace, whatever the order of keys, the letter
// case of names and booleans, and the form of numbers. String values differ in letter case.
using InstanceKey = std::u16string;

// The namespace in which names are compared.
struct KeyScope {
  // A reference without a namespace points here.
  const Pegasus::String& nameSpace;
  const Schema& schema;
};

// The class of the instance that the path names, if the instance is in this namespace of this host
// and the class exists; otherwise null.
const Class* localClass(const Pegasus::CIMObjectPath& path, const KeyScope& scope);

// Nothing when the path cannot name an instance of the class: a key is missing or unknown, or its
// value does not fit its type. Each value is read as the class declares it, not as the path marks
// it, because clients send numbers as strings. The same holds for keys of references to instances
// of this namespace; keys of other references are compared as the path marks them. A single key may
// have no name. Throws CIMException (INVALID_PARAMETER) for a name of more than 65536 characters.
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
