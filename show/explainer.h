// Explains a FRU data file: without a machine, whether it can be one at all, and which of its lines
// are entries; for a machine, which of these would be published there, and why the others would
// not.
#pragma once

#include <Pegasus/Client/CIMClient.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "entries.h"
#include "import/fru_file.h"
#include "import/publication.h"
#include "machine.h"

namespace show {

struct Reason {
  // For programs; the manual pages list them all.
  const char* code = "";
  Pegasus::String words;
};

// A larger file is not a FRU data file: the largest in use have a few hundred lines of less than
// 256 bytes.
inline constexpr std::size_t mostFileBytes = 1048576;

// Why a text cannot be a whole FRU data file.
struct FormProblem {
  const char* code;
  const char* words;
  // The position of the byte that shows it.
  std::size_t offset;
};

// Absent if the text has no problem. A last line without a newline is reported only if there is no
// other: the text before it can still be read.
std::optional<FormProblem> findFormProblem(const std::string& text);

// The kind of a line.
struct Recognition {
  // For an entry.
  std::optional<Category> category;
  // The second field, as the line has it; absent if the line does not have the form of an entry.
  Text token;
  // Why it is not an entry.
  Reason reason;
};

// `read` is how the line was read, which is not `end`.
Recognition recognise(LineRead read, const Pegasus::String& line);

// Why the instance cannot be sent to a server; absent if it can.
std::optional<Reason> whyNotSendable(const Pegasus::CIMInstance& instance);

// Whether XML 1.0 has this unit of a text; a text from a file has no unpaired surrogates.
bool isXmlUnit(char16_t unit);

// --- on a machine ---

enum class Result {
  published,
  // An entry that is not for this machine, or that the server would refuse.
  leftOut,
  // Not an entry.
  ignored,
};

// The outcome for one line.
struct Explanation {
  // From 1.
  std::uint64_t line = 0;
  Result result = Result::ignored;
  Reason reason;
  // As the line has it; absent if it names none.
  Text category;
  // The fields of the line, and those that an import would add: only the former for an entry that
  // is not for this machine.
  std::optional<Entry> entry;
  // For published PROCESSOR and MEMORY entries, the places of their parts.
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
  // Absent if the creation succeeds.
  std::optional<Reason> whyNotCreated(const Pegasus::CIMInstance& instance,
                                      const Entry& entry) const;

  Pegasus::CIMClient* client_ = nullptr;
  const Machine& machine_;
  Publication publication_;
  std::uint64_t lines_ = 0;
  // The first published line of each category.
  std::map<Category, std::uint64_t> firstLines_;
  // The lines of the published entries, by FRU number and IdentifyingNumber.
  std::map<std::pair<Pegasus::String, Pegasus::String>, std::uint64_t> published_;
};

}  // namespace show
