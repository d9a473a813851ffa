// All namespaces of the server.
#pragma once

#include <Pegasus/Common/String.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "model/name_space.h"

namespace cimd {

// For classes and instances for which no namespace is named.
extern const char* const defaultNameSpace;

// Namespaces are found without regard to letter case and to slashes at the ends of their names.
class Repository {
 public:
  // With the default namespace, empty.
  Repository();

  Repository(Repository&&) noexcept = default;
  Repository& operator=(Repository&&) noexcept = default;

  // Null when there is none. Whoever keeps it can read it also when the repository is replaced.
  std::shared_ptr<NameSpace> find(const Pegasus::String& name) const;
  // As they are spelled, in alphabetical order.
  std::vector<Pegasus::String> names() const;
  // The same, but throw CIMException (INVALID_NAMESPACE) when there is none.
  std::shared_ptr<NameSpace> shared(const Pegasus::String& name) const;
  NameSpace& nameSpace(const Pegasus::String& name) { return *shared(name); }
  // Makes the namespace if there is none of this name. It lives as long as the repository.
  NameSpace& addNameSpace(const Pegasus::String& name);

  // The limit on what clients publish in all namespaces.
  Quota& quota() { return *quota_; }

  // NameSpace::setJournal() for all namespaces that there are now.
  void setJournal(Journal* journal);
  // Copies what clients published in the other repository. Returns a line for each instance that
  // does not fit the classes here.
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
  // The namespaces point to it, also when the repository is moved.
  std::unique_ptr<Quota> quota_ = std::make_unique<Quota>();
  std::map<FoldedName, std::shared_ptr<NameSpace>> nameSpaces_;
};

}  // namespace cimd
