#include "cimd/model/Repository.h"

#include "cimd/model/CimErrors.h"

namespace cimd {

using Pegasus::String;

const char* const defaultNameSpace = "root/kvasd";

Repository::Repository() {
  addNameSpace(defaultNameSpace);
}

NameSpace& Repository::nameSpace(const String& name) {
  const auto found = nameSpaces_.find(fold(trimNameSpace(name)));
  if (found == nameSpaces_.end()) {
    throwCimError(Pegasus::CIM_ERR_INVALID_NAMESPACE, name);
  }
  return *found->second;
}

NameSpace& Repository::addNameSpace(const String& name) {
  const String trimmed = trimNameSpace(name);
  auto& place = nameSpaces_[fold(trimmed)];
  if (!place) {
    place = std::make_unique<NameSpace>(trimmed);
  }
  return *place;
}

}  // namespace cimd
