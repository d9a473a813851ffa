// Refusing an operation with a CIM status code.
#pragma once

#include <Pegasus/Common/Exception.h>

namespace cimd {

// The code's name before the detail, for clients that show nothing but this text:
// "CIM_ERR_INVALID_CLASS: KVAXDT_NoSuchClass".
inline Pegasus::String describeCimError(Pegasus::CIMStatusCode code,
                                        const Pegasus::String& detail) {
  return Pegasus::String(Pegasus::cimStatusCodeToString(code)) + ": " + detail;
}

// Throws a CIMException with that description.
[[noreturn]] inline void throwCimError(Pegasus::CIMStatusCode code, const Pegasus::String& detail) {
  throw Pegasus::CIMException(code, describeCimError(code, detail));
}

}  // namespace cimd
