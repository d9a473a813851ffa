// The run of the server: load, listen, serve, end.
#pragma once

#include "service/options.h"

namespace cimd {

// Blocks until SIGTERM or SIGINT. Messages go to standard error. Unexpected exceptions leave it.
ExitStatus serve(const Options& options);

}  // namespace cimd
