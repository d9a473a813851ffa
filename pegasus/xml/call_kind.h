#pragma once

namespace Pegasus::xml {

// What a message calls; each kind is answered in an element of its own (DSP0201): an operation of
// the server (IMETHODCALL), a method of a class (METHODCALL), an indication (EXPMETHODCALL).
enum class CallKind { INTRINSIC, METHOD, EXPORT };

}  // namespace Pegasus::xml
