// The one way in which the program reads instances and properties.
#pragma once

#include <Pegasus/Client/CIMClient.h>

// All instances of the class with all their properties, in the server's order. Asked anew at every
// call: nothing is cached. Throws what the client throws.
Pegasus::Array<Pegasus::CIMInstance> readInstances(Pegasus::CIMClient& client,
                                                   const Pegasus::String& className);

// A copy of the value at that position of the instance. Throws when there is no such position, the
// not-found marker of findProperty() included.
Pegasus::CIMValue readValue(const Pegasus::CIMInstance& instance, Pegasus::Uint32 position);
