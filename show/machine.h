// Reads what morvik would read of this machine, and what else the server knows of its parts.
#pragma once

#include <Pegasus/Client/CIMClient.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "text.h"

namespace show {

// A processor or memory module. A value that the server does not have is absent; the server may be
// another maker's, whose classes have other properties.
struct Part {
  bool isModule = false;
  // The text with which morvik compares an entry: the clock in megahertz, or the size in mebibytes.
  // Empty for a null value; absent if the instance lacks the property or has it in another type,
  // which makes morvik stop there.
  Text compared = {};
  // The DeviceID of a processor, the Tag of a module.
  Text place = {};
  // The print at the place; more than one may have the same.
  Text locator = {};
  Text bank = {};
  // A processor's name, or the type of a module, such as DDR4.
  Text type = {};
  Text manufacturer = {};
  Text partNumber = {};
  Text serialNumber = {};
  // In megahertz, or bytes.
  std::optional<std::uint64_t> amount = {};
  // In megahertz: that of a processor, or the configured one of a module.
  std::optional<std::uint64_t> maxSpeed = {};
  std::optional<std::uint64_t> cores = {};
  // The name of the instance, by which the details are found.
  Pegasus::String path = {};
};

// All parts of a class, in the server's order.
struct Parts {
  std::vector<Part> list;
  // Why the server refused to answer; there are no parts then.
  Text refusal;

  // Whether morvik, going through the parts, meets one whose text fits before it stops.
  bool anyFits(const std::function<bool(const Pegasus::String&)>& fits) const;
  bool has(const Pegasus::String& compared) const;
  // Whether morvik stops somewhere.
  bool isBroken() const;
};

struct Machine {
  Text hostName;
  Text manufacturer;
  Text serialNumber;
  // That of the first system, which is the only one that counts.
  Text model;
  // Whether there is a system, and why the server refused to show any.
  bool hasSystem = false;
  Text systemRefusal;
  // Absent if morvik fails to get it, and then fetches nothing.
  Text machineType;
  Parts processors;
  Parts memoryModules;
  // From LANG of this process, not of the server. The code is empty if there is none for it.
  Pegasus::String languageCode;
  Text language;

  // The processors, then the modules.
  std::vector<const Part*> parts() const;
};

// The parts whose place is that; if there are none, those whose slot is labelled so; then those of
// which one of these has the same letters and digits; then those whose bank, serial number or part
// number it is; then those whose place ends with these words, or has another word before, as
// "DIMM A1" has for A1.
std::vector<const Part*> partsNamed(const Machine& machine, const Pegasus::String& name);

// As far as morvik reads it, and the serial number: parts have nothing but the compared text.
// Throws what the client throws, except for the server's refusals.
Machine readMachine(Pegasus::CIMClient& client);

// Adds the rest. morvik asks for local properties only, so what a class inherits takes another
// request. Throws as above.
void addDetails(Pegasus::CIMClient& client, Machine& machine);

}  // namespace show
