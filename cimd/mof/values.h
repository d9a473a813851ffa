// Values from MOF as typed CIM values.
#pragma once

#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMValue.h>

#include <functional>

#include "mof/parser.h"

namespace cimd::mof {

// The path of the instance that an alias stands for. Throws MofError for an unknown alias.
using AliasResolver = std::function<Pegasus::CIMObjectPath(const Literal& alias)>;

// The value as one of this type. NULL fits every type, inside an array too. Throws MofError at the
// position of the value when it is of another type or out of the type's range; when it has more
// elements than a fixed size; and when it has a character that CIM-XML cannot
// carry, since no client could ever read it.
Pegasus::CIMValue typedValue(const ValueSyntax& value, const DataType& type,
                             const AliasResolver& resolveAlias);

// The same for a constant of the schema, which cannot refer to an instance.
Pegasus::CIMValue constantValue(const ValueSyntax& value, const DataType& type);

}  // namespace cimd::mof
