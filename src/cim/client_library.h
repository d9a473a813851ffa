// The three calls in which generations of the client library differ: how a time-out is given, what
// connect() takes, and how a String becomes a narrow text. A build against another generation
// changes this pair of files and nothing else.
#pragma once

#include <Pegasus/Client/CIMClient.h>

#include <memory>

// The time-out for each CIM operation, 20000 milliseconds.
Pegasus::CIMClient makeClient();

// Connects to the CIM server of this machine, 127.0.0.1:5988, without credentials. Throws when
// there is none.
void connectToLocalServer(Pegasus::CIMClient& client);

// A zero-terminated copy of the text with one byte per character. Throws when a character does not
// fit in 8 bits.
std::unique_ptr<char[]> toNarrowText(const Pegasus::String& text);
