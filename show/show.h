#pragma once

#include <Pegasus/Common/String.h>

#include "options.h"

namespace show {

// Asks the CIM server and writes what the options want to standard output. Throws what the client
// throws, and std::exception for a file that cannot be read and for output that cannot be written.
ExitStatus run(const Options& options);

// Writes a message to standard error.
void complain(const Pegasus::String& message);

}  // namespace show
