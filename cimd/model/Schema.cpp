#include "cimd/model/Schema.h"

#include "cimd/model/CimErrors.h"

namespace cimd {

using Pegasus::String;

const CimClass& Schema::define(const ClassDeclaration& declaration) {
  if (find(declaration.name) != nullptr) {
    throwCimError(Pegasus::CIM_ERR_ALREADY_EXISTS, declaration.name);
  }
  CimClass* superclass = nullptr;
  if (declaration.superclass.size() != 0) {
    const auto found = classes_.find(fold(declaration.superclass));
    if (found == classes_.end()) {
      throwCimError(Pegasus::CIM_ERR_INVALID_SUPERCLASS, declaration.superclass);
    }
    superclass = found->second.get();
  }
  auto defined = std::make_unique<CimClass>(declaration, superclass);
  return *classes_.emplace(fold(declaration.name), std::move(defined)).first->second;
}

const CimClass* Schema::find(const String& name) const {
  const auto found = classes_.find(fold(name));
  return found == classes_.end() ? nullptr : found->second.get();
}

std::vector<const CimClass*> Schema::withSubclasses(const CimClass& top) {
  std::vector<const CimClass*> classes{&top};
  for (std::size_t next = 0; next < classes.size(); ++next) {
    const auto& below = classes[next]->subclasses();
    classes.insert(classes.end(), below.begin(), below.end());
  }
  return classes;
}

}  // namespace cimd
