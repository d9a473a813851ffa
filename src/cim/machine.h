// Asks the CIM server about this machine: for instances with all their properties, and
// the texts that are made of them. Nothing is cached: each question sends one enumeration.
#pragma once

#include <Pegasus/Client/CIMClient.h>

#include <string_view>

// Puts the machine type, at most four characters, into `machineType`: the model
// "Server 123 -[1234ABX]-" has the type "1234".
// Returns 1 when the question ran to its end, with `machineType` unchanged if the server had
// nothing to report; 0 when anything failed, with `machineType` not usable; no other number. Never
// throws, prints nothing.
int getMachineType(Pegasus::CIMClient& client, Pegasus::String& machineType);

// The systems, processors and memory modules, in the server's order. All throw what the client
// throws.
Pegasus::Array<Pegasus::CIMInstance> readSystems(Pegasus::CIMClient& client);
Pegasus::Array<Pegasus::CIMInstance> readProcessors(Pegasus::CIMClient& client);
Pegasus::Array<Pegasus::CIMInstance> readMemoryModules(Pegasus::CIMClient& client);

// The model, as it is; the empty text where the server has no value. Throws when there is no such
// property.
Pegasus::String modelText(const Pegasus::CIMInstance& system);

// The clock speed in megahertz: decimal digits, or the empty text where the server has no value.
// Throws when there is no such property, or not as a uint32.
Pegasus::String clockText(const Pegasus::CIMInstance& processor);

// The size in whole mebibytes: decimal digits; 0 where the server has no value. Throws when there
// is no such property, or not as a uint64.
Pegasus::String memorySizeText(const Pegasus::CIMInstance& module);

// The language of the environment variable LANG, as LANG spells it: en, de, fr, it, ja, ko; the
// empty text for any other.
Pegasus::String languageCode();
// The same, if that is the value of LANG.
Pegasus::String languageCodeOf(std::string_view language);

// Whether a machine can have this text: the functions above give it for some clock speed, for some
// module of less than 2 PiB, or for some LANG.
bool canBeClock(const Pegasus::String& text);
bool canBeMemorySize(const Pegasus::String& text);
bool canBeLanguage(const Pegasus::String& text);
