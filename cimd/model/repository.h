// All namespaces of the server.
#pragma once

#include <Pegasus/Common/String.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "model/name_space.h"

namespace cimd {

// Where classes and instances go when nothing names another namespace.
extern const char* const defaultNameSpace;

// Names of namespaces are taken without regard to letter case and to slashes at their ends.
class Repository {
 public:
  // With the default namespace, empty.
  Repository();

  Repository(Repository&&) noexcept = default;
  Repository& operator=(Repository&&) noexcept = default;

  // Null when there is none.
  NameSpace* find(const Pegasus::String& name) const;
  // As they are spelled, in alphabetical order.
  std::vector<Pegasus::String> names() const;
  // Throws CIMException (INVALID_NAMESPACE) when there is none.
  NameSpace& nameSpace(const Pegasus::String& name);
  // Makes the namespace where it is missing. It lives as long as the repository.
  NameSpace& addNameSpace(const Pegasus::String& name);

  // See NameSpace::setJournal(), for all namespaces that are there.
  void setJournal(Journal* journal);
  // Takes over what clients published in the other repository. Returns a line for each instance
  // that has no place here any more.
  std::vector<std::string> adoptPublished(const Repository& other);

  struct Counts {
    std::size_t nameSpaces = 0;
    std::size_t classes = 0;
    // Instances.
    std::size_t declared = 0;
    std::size_t published = 0;
  };
  Counts counts() const;

 private:
  std::map<FoldedName, std::unique_ptr<NameSpace>> nameSpaces_;
};

}  // namespace cimd
