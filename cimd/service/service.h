// The run of the server: load, listen, serve, end.
#pragma once

#include "service/options.h"

namespace cimd {

// Blocks until SIGTERM or SIGINT. Messages go to standard error. Throws what it is not prepared
// for.
ExitStatus serve(const Options& options);

}  // namespace cimd
