#pragma once

#include <Pegasus/Client/CIMClient.h>

// Fetches the FRU data file of this machine's type by anonymous FTP and leaves it as "fru.txt" in
// the current directory. True when there was a file to leave, false when there was none ("fru.txt"
// is then as it was) or the machine type could not be had (nothing was touched or run then).
//
// `server` and `directory` are zero-terminated texts that the shell splits and expands before they
// reach the `ftp` client. What the client prints is appended to "fru.log"; its failures show in
// nothing but the missing file. There is no time limit on it.
//
// Throws when the machine type has characters that do not fit in 8 bits.
Pegasus::Boolean downloadFruFile(Pegasus::CIMClient& client, const char* server,
                                 const char* directory);
