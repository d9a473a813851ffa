// What would be published of a data file on this machine, and whether that is good enough. Judged
// with the functions of morvik itself, before anything is changed.
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
  // Of the first line that would not be published, and is meant to be; empty if there is none.
  std::string reason;
};

// What a run of morvik would publish, asking the server as it does. Throws Failure(cimServer) if
// the server fails, and after the deadline.
Prediction predict(const std::string& text, Pegasus::CIMClient& client,
                   const show::Machine& machine, const Deadline& deadline);

// Throws Failure(refused) if nothing would be published, or less than that share of `before`
// entries.
void checkShare(const Prediction& prediction, std::size_t before, double minShare);

}  // namespace run
