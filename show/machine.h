// What morvik would read of this machine.
#pragma once

#include <Pegasus/Client/CIMClient.h>

#include <optional>
#include <vector>

namespace show {

// What the instances of one class tell, in the server's order, as the texts that morvik compares.
struct Told {
  // Nothing for an instance that lacks the property or has it in another type, which makes morvik
  // give up at that point.
  std::vector<std::optional<Pegasus::String>> values;
  // Why the server refused to tell; there are no values then.
  std::optional<Pegasus::String> refusal;

  // Whether morvik, going through the values, meets this one before it gives up.
  bool has(const Pegasus::String& value) const;
  // Whether morvik gives up somewhere.
  bool isBroken() const;
};

struct Machine {
  // The models of all systems. Only the first counts.
  Told models;
  // Nothing where morvik fails to get it, and then fetches nothing.
  std::optional<Pegasus::String> machineType;
  // In megahertz.
  Told clocks;
  // In mebibytes.
  Told memorySizes;
  // Of LANG: of this process, not of the server.
  Pegasus::String languageCode;
};

// Throws what the client throws, but for the server's refusals.
Machine readMachine(Pegasus::CIMClient& client);

}  // namespace show
