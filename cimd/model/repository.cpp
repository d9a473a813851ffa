#include "model/repository.h"

#include "model/errors.h"
#include "model/instance_key.h"

namespace cimd {

using Pegasus::String;

const char* const defaultNameSpace = "root/kvasd";

Repository::Repository() {
  addNameSpace(defaultNameSpace);
}

std::shared_ptr<NameSpace> Repository::find(const String& name) const {
  const auto found = nameSpaces_.find(fold(trimNameSpace(name)));
  return found == nameSpaces_.end() ? nullptr : found->second;
}

std::vector<String> Repository::names() const {
  std::vector<String> names;
  names.reserve(nameSpaces_.size());
  for (const auto& [folded, nameSpace] : nameSpaces_) {
    names.push_back(nameSpace->name());
  }
  return names;
}

std::shared_ptr<NameSpace> Repository::shared(const String& name) const {
  auto found = find(name);
  if (!found) {
    throwCimError(Pegasus::CIM_ERR_INVALID_NAMESPACE, name);
  }
  return found;
}

NameSpace& Repository::addNameSpace(const String& name) {
  const String trimmed = trimNameSpace(name);
  auto& place = nameSpaces_[fold(trimmed)];
  if (!place) {
    place = std::make_shared<NameSpace>(trimmed, quota_.get());
  }
  return *place;
}

void Repository::setJournal(Journal* journal) {
  for (const auto& [name, nameSpace] : nameSpaces_) {
    nameSpace->setJournal(journal);
  }
}

std::vector<std::string> Repository::adoptPublished(const Repository& other) {
  std::vector<std::string> lost;
  for (const auto& [name, from] : other.nameSpaces_) {
    for (const auto& stored : from->published()) {
      try {
        nameSpace(from->name()).createInstance(stored->instance, Origin::restored);
      } catch (const Pegasus::CIMException& error) {
        lost.push_back(describePath(stored->instance.getPath()).toUtf8() +
                       " is lost: " + error.getDescription().toUtf8());
      }
    }
  }
  return lost;
}

Repository::Counts Repository::counts() const {
  Counts counts;
  counts.nameSpaces = nameSpaces_.size();
  for (const auto& [name, nameSpace] : nameSpaces_) {
    counts.classes += nameSpace->schema().size();
    const std::size_t published = nameSpace->published().size();
    counts.published += published;
    counts.declared += nameSpace->instanceCount() - published;
  }
  return counts;
}

}  // namespace cimd
