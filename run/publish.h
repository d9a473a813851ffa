// Has morvik publish a data file, without anything to fetch.
#pragma once

#include <Pegasus/Client/CIMClient.h>

#include <string>
#include <vector>

#include "judge.h"
#include "outcome.h"

namespace run {

// The IdentifyingNumber of an entry of a rehearsal. morvik never takes it for its own.
inline constexpr const char* rehearsalNumber = "morvik-run rehearsal";

// Throws Failure(cimServer) if morvik could not replace the entries, because the server does not
// take one of them or is too slow for that to end before the deadline. For this, each entry is
// created under another number and deleted again, unless the server is full: morvik deletes
// `before` entries first, which make room for as many. Nothing published has been changed then, but
// a server that fails to delete may be left with the one entry.
void rehearse(Pegasus::CIMClient& client, const Items& items, std::size_t before,
              const Deadline& deadline);

// What a rehearsal may have left. Throws what the client throws.
void deleteRehearsals(Pegasus::CIMClient& client);

// morvik asks for the property IdentifyingNumber of each earlier entry, which some servers refuse.
// Whether this one does, so that its entries must be deleted first, by the numbers in their names.
// Throws Failure(cimServer) if that is impossible, or if there are other entries, at which morvik
// would fail all the same.
bool mustDeleteByName(Pegasus::CIMClient& client);

// Deletes the entries of morvik, and returns how many. Throws what the client throws.
std::size_t deleteByName(Pegasus::CIMClient& client);

// One run of morvik.
struct MorvikRun {
  // The program.
  std::string morvik;
  // Empty; morvik works there.
  std::string directory;
  std::string text;
  // Stays open in morvik: if this process is killed, the lock ends with morvik.
  int lock = -1;
};

// Runs morvik. What it prints is returned: empty, or its messages, fit for people. Whether it has
// published anything is for the caller to find out. Throws Failure(badUse) if morvik cannot be
// started or its work directory cannot be used.
std::string runMorvik(const MorvikRun& run, const Deadline& deadline);

}  // namespace run
