// Which lines of a FRU data file would be published on this machine, and why not the others.
#pragma once

#include <Pegasus/Client/CIMClient.h>

#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "data_file.h"
#include "import/fru_file.h"
#include "import/publication.h"
#include "machine.h"

namespace show {

enum class Result {
  published,
  // An entry that is not for this machine, or that the server would refuse.
  leftOut,
  // Not an entry.
  ignored,
};

// What becomes of one line.
struct Explanation {
  // From 1.
  std::uint64_t line = 0;
  Result result = Result::ignored;
  Reason reason;
  // As the line has it; absent if it names none.
  std::optional<Pegasus::String> category;
  // Of entries, published or left out.
  std::optional<EntryFields> fields;
  // Of entries that morvik would try to publish.
  std::optional<Pegasus::String> identifyingNumber;
  // Of published PROCESSOR and MEMORY entries: the places of the parts that it is for.
  std::vector<Pegasus::String> places;
};

// Goes through the lines as an import does, with the import's own functions, but creates nothing: a
// creation is taken to succeed if the instance can be sent and no earlier one has the same FRU
// number and IdentifyingNumber, the keys of the class.
class Explainer {
 public:
  // Both must outlive this. The client is asked again for each line of a processor or memory
  // module.
  Explainer(Pegasus::CIMClient& client, const Machine& machine)
      : client_(&client), machine_(machine) {}
  // Without a server: what `machine` has is all that is compared.
  explicit Explainer(const Machine& machine) : machine_(machine) {}
  // The lines must come in order, each with how it was read, which is not `end`. Throws
  // std::runtime_error if the server fails, or now answers otherwise than `machine` has it.
  Explanation explain(LineRead read, const Pegasus::String& line);

 private:
  void explainEntry(Category category, const Pegasus::String& line, Explanation& explanation);
  bool isWanted(Category category, const Pegasus::String& line) const;
  Reason whyNotSelected(Category category, const Pegasus::String& line) const;
  // Nothing if the creation succeeds.
  std::optional<Reason> whyNotCreated(const Pegasus::CIMInstance& instance,
                                      const Explanation& explanation) const;
  void notePublishedLine(Category category, const Explanation& explanation);

  Pegasus::CIMClient* client_ = nullptr;
  const Machine& machine_;
  Publication publication_;
  std::uint64_t lines_ = 0;
  std::uint64_t planarLine_ = 0;
  std::uint64_t cdromLine_ = 0;
  // The lines of the published entries, by FRU number and IdentifyingNumber.
  std::map<std::pair<Pegasus::String, Pegasus::String>, std::uint64_t> published_;
};

}  // namespace show
