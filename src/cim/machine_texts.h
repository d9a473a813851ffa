// The machine's side of the comparisons in selection.h: the texts that the values of a line are
// compared with.
#pragma once

#include <Pegasus/Client/CIMClient.h>

// The processors and the memory modules, in the server's order. Each call sends one enumeration.
// Both throw what the client throws.
Pegasus::Array<Pegasus::CIMInstance> readProcessors(Pegasus::CIMClient& client);
Pegasus::Array<Pegasus::CIMInstance> readMemoryModules(Pegasus::CIMClient& client);

// Where a processor has its clock speed, and a memory module its size; PEG_NOT_FOUND where it has
// none.
Pegasus::Uint32 findClock(const Pegasus::CIMInstance& processor);
Pegasus::Uint32 findMemorySize(const Pegasus::CIMInstance& module);

// The clock speed, at this position, in megahertz: decimal digits, or the empty text where the
// server has no value. Throws when there is no such property, or not as a uint32.
Pegasus::String clockText(const Pegasus::CIMInstance& processor, Pegasus::Uint32 position);

// The size, at this position, in whole mebibytes: decimal digits; 0 where the server has no value.
// Throws when there is no such property, or not as a uint64.
Pegasus::String memorySizeText(const Pegasus::CIMInstance& module, Pegasus::Uint32 position);

// The language of the environment variable LANG, as LANG spells it: en, de, fr, it, ja, ko; the
// empty text for any other.
Pegasus::String languageCode();
