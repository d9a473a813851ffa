#pragma once

#include <Pegasus/Client/CIMClient.h>

// Asks the CIM server for this machine's model and puts the machine type, at most four characters,
// into `machineType`: the model "Server 123 -[1234ABX]-" has the type "1234".
// Returns 1 when the question ran to its end, with `machineType` unchanged if the server had
// nothing to say; 0 when anything failed, with `machineType` of no use; no other number. Never
// throws, prints nothing.
int getMachineType(Pegasus::CIMClient& client, Pegasus::String& machineType);
