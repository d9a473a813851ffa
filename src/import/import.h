#pragma once

#include <Pegasus/Client/CIMClient.h>

// Replaces what an earlier run has published by the entries of "fru.txt" in the current directory
// that fit this machine. If the file cannot be opened it says so on standard output and changes
// nothing. Returns true whenever it returns, also when the file could not be opened: the result is
// part of the fixed signature and tells nothing. An entry that cannot be judged or created is
// dropped silently; a failure to delete earlier instances throws what the client throws.
Pegasus::Boolean importFruFile(Pegasus::CIMClient& client);
