#include "model/schema.h"

#include "model/errors.h"

namespace cimd {

using Pegasus::String;

const Class& Schema::define(const ClassDeclaration& declaration) {
  if (find(declaration.name) != nullptr) {
    throwCimError(Pegasus::CIM_ERR_ALREADY_EXISTS, declaration.name);
  }
  Class* superclass = nullptr;
  if (declaration.superclass.size() != 0) {
    const auto found = classes_.find(fold(declaration.superclass));
    if (found == classes_.end()) {
      throwCimError(Pegasus::CIM_ERR_INVALID_SUPERCLASS, declaration.superclass);
    }
    superclass = found->second.get();
  }
  auto defined = std::make_unique<Class>(declaration, superclass);
  const Class& added = *classes_.emplace(fold(declaration.name), std::move(defined)).first->second;
  if (superclass == nullptr) {
    topClasses_.push_back(&added);
  }
  return added;
}

const Class* Schema::find(const String& name) const {
  const auto found = classes_.find(fold(name));
  return found == classes_.end() ? nullptr : found->second.get();
}

void Schema::declareQualifier(QualifierDeclaration declaration) {
  const auto [place, isNew] =
      qualifierPositions_.try_emplace(fold(declaration.name), qualifiers_.size());
  if (isNew) {
    qualifiers_.push_back(std::move(declaration));
  } else {
    qualifiers_[place->second] = std::move(declaration);
  }
}

const QualifierDeclaration* Schema::findQualifier(const String& name) const {
  const auto found = qualifierPositions_.find(fold(name));
  return found == qualifierPositions_.end() ? nullptr : &qualifiers_[found->second];
}

std::vector<const Class*> Schema::withSubclasses(std::vector<const Class*> classes) {
  for (std::size_t next = 0; next < classes.size(); ++next) {
    const auto& below = classes[next]->subclasses();
    classes.insert(classes.end(), below.begin(), below.end());
  }
  return classes;
}

}  // namespace cimd
