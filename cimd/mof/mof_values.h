// Values from MOF as typed CIM values.
#pragma once

#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMValue.h>

#include <functional>

#include "mof/mof_tree.h"

namespace cimd::mof {

// The instance that an alias stands for; throws MofError for an unknown one.
using AliasResolver = std::function<Pegasus::CIMObjectPath(const Literal& alias)>;

// The value as one of this type. Throws MofError where it stands when it is of another type, out of
// the type's range, or text with a character that CIM-XML cannot carry: no client could ever read
// it; and when it has more elements than `arraySize`, unless that is 0. NULL fits every type,
// within an array too.
Pegasus::CIMValue typedValue(const Value& value, Pegasus::CIMType type, bool isArray,
                             Pegasus::Uint32 arraySize, const AliasResolver& resolveAlias);

// Parses an object path as DSP0004 writes them: [[//host/]namespace:]Class.key="text",other=5 . Key
// values are texts in double quotes, numbers, TRUE, FALSE, or (in quotes as well) the path of
// another instance, which only the class can tell from a text. Throws MofError with the position.
Pegasus::CIMObjectPath parseObjectPath(const Pegasus::String& text, const Position& position);

}  // namespace cimd::mof
