// A CIMClient that talks to no server: linked in place of the library's own, so that the program's
// steps can be tried against any answer and every call can be seen.
#pragma once

#include <Pegasus/Client/CIMClient.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

struct FakeServer {
  // The answer of enumerateInstances for a class; a class that is missing here is
  // CIM_ERR_INVALID_CLASS.
  std::map<std::string, std::vector<Pegasus::CIMInstance>> classes;
  // The published instances: each a KVAXDT_FRU, named by its position in `published` ever.
  std::map<int, Pegasus::CIMInstance> published;
  int nextName = 0;
  // Every operation with all its arguments, in order.
  std::vector<std::string> calls;
  // Called with the text of each call before it is answered; may throw.
  std::function<void(const std::string&)> beforeAnswer;

  void publish(const std::string& identifyingNumber);
  // "IdentifyingNumber" of all published instances, in order of creation.
  std::vector<std::string> identifyingNumbers() const;
};

// The one server; a fixture starts with `fakeServer = {}`.
extern FakeServer fakeServer;

Pegasus::CIMInstance instanceWith(const char* className,
                                  const std::vector<Pegasus::CIMProperty>& properties);
