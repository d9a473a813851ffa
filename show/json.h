// What programs get: JSON documents, as docs/inventory.schema.json has them. Always ASCII, one
// object or one item of a list on each line.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <ostream>
#include <string>
#include <variant>
#include <vector>

#include "entries.h"
#include "explainer.h"
#include "machine.h"

namespace show {

// The members stay in the order in which they are written.
using Json = nlohmann::ordered_json;

// What every document begins with.
struct Frame {
  // 1 is the format before 1.0: without the rest, and numbers are texts.
  int format = 2;
  std::chrono::system_clock::time_point time = {};
  // RFC 3339, of morvik-run; absent where it is not known.
  std::optional<std::string> lastGoodRun = {};
};

// Null for what is absent.
Json toJson(const std::optional<Pegasus::String>& text);
Json toJson(const std::optional<std::uint64_t>& number);
// In ASCII, so that no terminal obeys or misreads any of it.
std::string dump(const Json& json);
Json beginning(const Frame& frame);
Json toJson(const Entry& entry);
Json toJson(const Machine& machine, int format);

// The members of a part in format 2, and where their values are. A module has sizeMiB besides.
struct PartMember {
  const char* name;
  std::variant<std::optional<Pegasus::String> Part::*, std::optional<std::uint64_t> Part::*> value;
};
const std::vector<PartMember>& partMembers(bool isModule);

// A document that begins with these members and goes on with a list, each item of which is on a
// line of its own.
class JsonList {
 public:
  JsonList(std::ostream& out, const Json& members, const char* name);
  void add(const Json& item);
  // `more` are the members after the list.
  void end(const Json& more);

 private:
  std::ostream& out_;
  bool isEmpty_ = true;
};

// Without `machine` in format 1.
void writeJson(std::ostream& out, const Frame& frame, const Machine& machine,
               const std::vector<Entry>& entries);
void writeMachineJson(std::ostream& out, const Frame& frame, const Machine& machine);

// How many lines had each result.
struct Summary {
  std::uint64_t lines = 0;
  std::uint64_t published = 0;
  std::uint64_t leftOut = 0;
  std::uint64_t ignored = 0;

  void count(Result result);
};

// As written, such as "left out".
const char* wordsOf(Result result);

// The explanation of the next line, or nothing after the last one.
using NextExplanation = std::function<std::optional<Explanation>()>;

// Writes each explanation before it asks for the next: a file may be of any length.
Summary writeExplanationsJson(std::ostream& out, const Frame& frame, const Machine& machine,
                              const NextExplanation& next);

}  // namespace show
