#include "cim/client_library.h"

using Pegasus::CIMClient;
using Pegasus::String;
using Pegasus::Uint32;

CIMClient makeClient() {
  const Uint32 timeOutMilliseconds = 20000;
  return CIMClient(timeOutMilliseconds);
}

void connectToLocalServer(CIMClient& client) {
  client.connect("127.0.0.1:5988", String::EMPTY, String::EMPTY);
}

std::unique_ptr<char[]> toNarrowText(const String& text) {
  return std::unique_ptr<char[]>(text.allocateCString(0, false));
}
