#pragma once

#include <Pegasus/Client/CIMClient.h>

// Fetches the FRU data file of this machine's type by anonymous FTP and leaves it as "fru.txt" in
// the current directory. True when there is such a file, false when there is none ("fru.txt" is
// then unchanged) or the machine type is not known (then nothing has been touched or run).
//
// `server` and `directory` are zero-terminated texts that the shell splits and expands before they
// reach the `ftp` client. What the client prints is appended to "fru.log"; its failures show in
// nothing but the missing file. It has no time limit.
//
// Throws when the machine type has characters that do not fit in 8 bits.
bool downloadFruFile(Pegasus::CIMClient& client, const char* server, const char* directory);
