// The machine's side of the comparisons in selection.h: the texts that the values of a line are
// compared with.
#pragma once

#include <Pegasus/Client/CIMClient.h>

// The processors and the memory modules, in the server's order. Each call sends one enumeration.
// Both throw what the client throws.
Pegasus::Array<Pegasus::CIMInstance> readProcessors(Pegasus::CIMClient& client);
Pegasus::Array<Pegasus::CIMInstance> readMemoryModules(Pegasus::CIMClient& client);

// The clock speed of a processor in megahertz: decimal digits, or the empty text where the server
// has no value. Throws when the processor does not have the property, or not as a uint32.
Pegasus::String clockText(const Pegasus::CIMInstance& processor);

// The size of a memory module in whole mebibytes: decimal digits; 0 where the server has no value.
// Throws when the module does not have the property, or not as a uint64.
Pegasus::String memorySizeText(const Pegasus::CIMInstance& module);

// The language of the environment variable LANG, as LANG spells it: en, de, fr, it, ja, ko; the
// empty text for any other.
Pegasus::String languageCode();
