// Some of this program's behaviour looks like a mistake but is required. Data files in the field,
// scripts of sites and service tools rely on it: the cuts of lines and models, the numbers, the
// command texts, the messages, the exit status. Where a comment in src/ says "for compatibility",
// that is the reason, and the code must not be repaired.
#pragma once

// The whole run between an accepted command line and the exit status: connect, fetch, import, clean
// up, disconnect. Throws whatever a step throws; work files that exist at that moment stay.
void run(const char* server, const char* directory);
