#include "cim/client.h"

// The stream header precedes the constant so that the standard streams are set up before it is
// built and outlive it.
#include <iostream>

using Pegasus::CIMClient;
using Pegasus::String;
using Pegasus::Uint32;

const String cimNamespace("root/kvasd");

std::unique_ptr<CIMClient> makeClient() {
  const Uint32 timeOutMilliseconds = 20000;
  return std::make_unique<CIMClient>(timeOutMilliseconds);
}

void connectToLocalServer(CIMClient& client) {
  client.connect("127.0.0.1:5988", String::EMPTY, String::EMPTY);
}

String toText(std::string_view bytes) {
  return {bytes.data(), static_cast<Uint32>(bytes.size())};
}

std::string toNarrowText(const String& text) {
  const std::unique_ptr<char[]> narrow(text.allocateCString(0, false));
  return narrow.get();
}

Uint32 findFrom(const String& text, Uint32 position, char character) {
  return text.find(position, static_cast<Pegasus::Char16>(character));
}

String cut(const String& text, Uint32 start, Uint32 length) {
  return text.subString(start, length);
}
