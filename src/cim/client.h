// The CIM client, as far as generations of the Pegasus interface differ in it. Everything else that
// src/ uses is the same in all of them.
//
// client.cpp is for the generation in which names are a plain String: the time-out is an argument
// of the constructor, the address is one text, and cuts and searches are clamped to the text.
// client_2_14.cpp is for the later ones, up to 2.14 at least; the build chooses.
#pragma once

#include <Pegasus/Client/CIMClient.h>

#include <memory>
#include <string>
#include <string_view>

// "root/kvasd": every CIM operation of the program names it, and nothing can change it. Built
// before main() runs and destroyed after it returns.
extern const Pegasus::String cimNamespace;

// A client that is not connected yet, with a time-out of 20000 milliseconds for each operation.
std::unique_ptr<Pegasus::CIMClient> makeClient();

// Connects to the CIM server of this machine, 127.0.0.1:5988, without credentials. Throws when
// there is none.
void connectToLocalServer(Pegasus::CIMClient& client);

// The text of these bytes, which must not include a zero byte: UTF-8 where they are valid as a
// whole, otherwise one character for each byte.
Pegasus::String toText(std::string_view bytes);

// The text with one byte for each character. Throws when a character does not fit in 8 bits.
std::string toNarrowText(const Pegasus::String& text);

// The position of the first `character` at or after `position`; PEG_NOT_FOUND if there is none or
// `position` is outside the text.
Pegasus::Uint32 findFrom(const Pegasus::String& text, Pegasus::Uint32 position, char character);

// At most `length` characters from `start` on; fewer, or none, where the text ends before.
Pegasus::String cut(const Pegasus::String& text, Pegasus::Uint32 start, Pegasus::Uint32 length);
