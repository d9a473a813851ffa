#pragma once

// The whole run between an accepted command line and the exit status: connect, fetch, import, clean
// up, disconnect. Throws whatever a step throws; work files that exist at that moment stay.
void run(const char* server, const char* directory);
