// All namespaces of the server.
#pragma once

#include <Pegasus/Common/String.h>

#include <memory>
#include <unordered_map>

#include "cimd/model/NameSpace.h"

namespace cimd {

// Where classes and instances go when nothing names another namespace.
extern const char* const defaultNameSpace;

// Names of namespaces are taken without regard to letter case and to slashes at their ends.
class Repository {
 public:
  // With the default namespace, empty.
  Repository();

  // Throws CIMException (INVALID_NAMESPACE) when there is none.
  NameSpace& nameSpace(const Pegasus::String& name);
  // Makes the namespace where it is missing. It lives as long as the repository.
  NameSpace& addNameSpace(const Pegasus::String& name);

 private:
  std::unordered_map<FoldedName, std::unique_ptr<NameSpace>> nameSpaces_;
};

}  // namespace cimd
