// An instance as a client or a MOF file gives it, checked against its class and completed.
#pragma once

#include <Pegasus/Common/CIMInstance.h>

#include "cimd/model/CimClass.h"

namespace cimd {

// The instance with every property of the class, in the class's order and spelling, and its name
// (class and keys) as path. What is not given has the class's default value, or is null. Throws
// CIMException: NOT_SUPPORTED when the class is abstract; INVALID_PARAMETER for a property that the
// class does not have, that is given twice, of another type or longer than its fixed array size,
// and for a key without value. (DSP0200 knows no type mismatch for CreateInstance.)
Pegasus::CIMInstance completeInstance(const CimClass& cls, const Pegasus::CIMInstance& given);

}  // namespace cimd
