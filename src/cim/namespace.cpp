#include "cim/namespace.h"

// The stream header comes first in this file so that the standard streams are set up before the
// constant is built and outlive it.
#include <iostream>

const Pegasus::String cimNamespace("root/kvasd");
