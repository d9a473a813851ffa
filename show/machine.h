// What morvik would read of this machine.
#pragma once

#include <Pegasus/Client/CIMClient.h>

#include <optional>
#include <vector>

namespace show {

// One text for each instance of a class, in the server's order, as morvik compares them.
struct Answers {
  // A value is absent if its instance lacks the property or has it in another type, which makes
  // morvik stop there.
  std::vector<std::optional<Pegasus::String>> values;
  // Why the server refused to answer; there are no values then.
  std::optional<Pegasus::String> refusal;

  // Whether morvik, going through the values, meets this one before it stops.
  bool has(const Pegasus::String& value) const;
  // Whether morvik stops somewhere.
  bool isBroken() const;
};

struct Machine {
  // The models of all systems. Only the first counts.
  Answers models;
  // Absent if morvik fails to get it, and then fetches nothing.
  std::optional<Pegasus::String> machineType;
  // In megahertz.
  Answers clocks;
  // In mebibytes.
  Answers memorySizes;
  // Of LANG: of this process, not of the server.
  Pegasus::String languageCode;
};

// Throws what the client throws, except for the server's refusals.
Machine readMachine(Pegasus::CIMClient& client);

}  // namespace show
