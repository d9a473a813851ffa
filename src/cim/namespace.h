#pragma once

#include <Pegasus/Common/String.h>

// "root/kvasd": every CIM operation of the program names it, and nothing can change it. Built
// before main() runs and destroyed after it returns.
extern const Pegasus::String cimNamespace;
