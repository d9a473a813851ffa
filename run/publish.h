// Judges which entries of a data file would be published on this machine, and whether that is good
// enough, with the functions of morvik itself before anything is changed; and has morvik publish
// the file, without anything to fetch.
#pragma once

#include <Pegasus/Client/CIMClient.h>

#include <compare>
#include <cstddef>
#include <string>
#include <vector>

#include "entries.h"
#include "machine.h"
#include "outcome.h"

namespace run {

// An entry, published or predicted. UTF-8; a value that the server does not have is empty.
struct Item {
  std::string category;
  std::string fruNumber;
  std::string description;
  std::string identifyingNumber;
  std::string vendor;
  std::string revisionLevel;

  // NOLINTNEXTLINE(modernize-use-nullptr): it takes the operator for a comparison with 0
  auto operator<=>(const Item&) const = default;
};

// Sorted.
using Items = std::vector<Item>;

// The entries that morvik has published.
Items ownItems(const std::vector<show::Entry>& entries);

// The items of `a` that `b` does not have. An item may be there more than once.
Items missingFrom(const Items& b, const Items& a);

// Throws Failure(refused) if the text cannot be a whole FRU data file: empty, HTML, binary, or cut
// short.
void checkForm(const std::string& text);

struct Prediction {
  Items items;
  // For the first line that would not be published, and is meant to be; empty if there is none.
  std::string reason;
};

// Predicts what a run of morvik would publish, asking the server as it does. Throws
// Failure(cimServer) if the server fails, and after the deadline.
Prediction predict(const std::string& text, Pegasus::CIMClient& client,
                   const show::Machine& machine, const Deadline& deadline);

// Throws Failure(refused) if nothing would be published, or less than that share of `before`
// entries.
void checkShare(const Prediction& prediction, std::size_t before, double minShare);

// --- publishing ---

// The IdentifyingNumber of an entry of a rehearsal. morvik never takes it for its own.
inline constexpr const char* rehearsalNumber = "morvik-run rehearsal";

// Throws Failure(cimServer) if morvik could not replace the entries, because the server does not
// take one of them or is too slow for that to end before the deadline. For this, each entry is
// created under another number and deleted again, unless the server is full: morvik deletes
// `before` entries first, which make room for as many. Nothing published has been changed then, but
// a server that fails to delete may be left with the one entry.
void rehearse(Pegasus::CIMClient& client, const Items& items, std::size_t before,
              const Deadline& deadline);

// Deletes entries that a rehearsal may have left. Throws what the client throws.
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
