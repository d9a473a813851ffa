// Later generations throw in four places where the first does what its callers need: at a position
// or length past the end of a text, at 8-bit text that is not UTF-8, and at an empty name.
#include <algorithm>
#include <stdexcept>

#include "cim/client.h"

// The stream header precedes the constant so that the standard streams are set up before it is
// built and outlive it.
#include <iostream>

using Pegasus::Char16;
using Pegasus::CIMClient;
using Pegasus::String;
using Pegasus::Uint16;
using Pegasus::Uint32;

const String cimNamespace("root/kvasd");

std::unique_ptr<CIMClient> makeClient() {
  const Uint32 timeOutMilliseconds = 20000;
  auto client = std::make_unique<CIMClient>();
  client->setTimeout(timeOutMilliseconds);
  return client;
}

void connectToLocalServer(CIMClient& client) {
  const Uint32 port = 5988;
  client.connect("127.0.0.1", port, String::EMPTY, String::EMPTY);
}

String toText(std::string_view bytes) {
  try {
    return {bytes.data(), static_cast<Uint32>(bytes.size())};
  } catch (const Pegasus::Exception&) {
    String text;
    for (const char byte : bytes) {
      text.append(Char16(static_cast<unsigned char>(byte)));
    }
    return text;
  }
}

std::string toNarrowText(const String& text) {
  std::string narrow;
  for (Uint32 i = 0; i < text.size(); i++) {
    const Uint16 character = text[i];
    if (character > 0xFF) {
      throw std::range_error("a character does not fit in 8 bits");
    }
    narrow += static_cast<char>(static_cast<unsigned char>(character));
  }
  return narrow;
}

Uint32 findFrom(const String& text, Uint32 position, char character) {
  return position < text.size() ? text.find(position, Char16(static_cast<unsigned char>(character)))
                                : PEG_NOT_FOUND;
}

String cut(const String& text, Uint32 start, Uint32 length) {
  if (start >= text.size()) {
    return String();
  }
  return text.subString(start, std::min(length, text.size() - start));
}
