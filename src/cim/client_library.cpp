#include "cim/client_library.h"

using Pegasus::CIMClient;
using Pegasus::String;
using Pegasus::Uint32;

CIMClient makeClient() {
  const Uint32 timeOutMilliseconds = 20000;
  return CIMClient(timeOutMilliseconds);
}

void connectToServer(CIMClient& client, const String& address) {
  client.connect(address, String::EMPTY, String::EMPTY);
}

void connectToLocalServer(CIMClient& client) {
  connectToServer(client, "127.0.0.1:5988");
}

std::unique_ptr<char[]> toNarrowText(const String& text) {
  return std::unique_ptr<char[]>(text.allocateCString(0, false));
}
