// The three calls in which generations of the Pegasus interface differ. The one used here gives the
// time-out to the constructor, the address as one text to connect(), and makes a narrow text with
// allocateCString(). Later ones have setTimeout(), take host and port apart, and have getCString().
// A build against one of those changes this pair of files and nothing else.
#pragma once

#include <Pegasus/Client/CIMClient.h>

#include <memory>

// The time-out for each CIM operation, 20000 milliseconds.
Pegasus::CIMClient makeClient();

// Connects to the CIM server at that address, host and port, without credentials. Throws when there
// is none.
void connectToServer(Pegasus::CIMClient& client, const Pegasus::String& address);

// Connects to the CIM server of this machine, 127.0.0.1:5988, without credentials. Throws when
// there is none.
void connectToLocalServer(Pegasus::CIMClient& client);

// A zero-terminated copy of the text with one byte per character. Throws when a character does not
// fit in 8 bits.
std::unique_ptr<char[]> toNarrowText(const Pegasus::String& text);
