#include "mof/mof_loader.h"

#include <Pegasus/Common/Exception.h>

#include <map>
#include <unordered_map>

#include "model/instance_key.h"
#include "model/instance_values.h"
#include "mof/mof_reader.h"
#include "mof/mof_schema.h"
#include "mof/mof_values.h"

namespace cimd::mof {

namespace {

using Pegasus::CIMInstance;
using Pegasus::CIMObjectPath;
using Pegasus::String;

// Keys that are references to instances whose keys are references, and so on.
constexpr unsigned maxAliasDepth = 16;

class InstanceLoader {
 public:
  InstanceLoader(const std::vector<PlacedInstance>& instances, Repository& repository)
      : instances_(instances), repository_(repository) {}

  void load() {
    for (const PlacedInstance& instance : instances_) {
      noteAlias(instance);
    }
    for (const PlacedInstance& instance : instances_) {
      const CIMInstance given = build(instance, false);
      at(instance.declaration.position, [&] {
        repository_.addNameSpace(instance.nameSpace).createInstance(given, Origin::declared);
      });
    }
  }

 private:
  using AliasKey = std::pair<std::size_t, FoldedName>;

  void noteAlias(const PlacedInstance& instance) {
    const String& alias = instance.declaration.alias;
    if (alias.size() != 0 &&
        !byAlias_.try_emplace({instance.unit, fold(alias)}, &instance).second) {
      throw MofError(instance.declaration.position,
                     "the alias $" + alias.toUtf8() + " stands for another instance already");
    }
  }

  const cimd::Class& classOf(const PlacedInstance& instance) {
    const String& name = instance.declaration.className;
    const cimd::Class* cls = repository_.addNameSpace(instance.nameSpace).schema().find(name);
    if (cls == nullptr) {
      throw MofError(instance.declaration.position, "class " + name.toUtf8() +
                                                        " is not declared in namespace " +
                                                        instance.nameSpace.toUtf8());
    }
    return *cls;
  }

  // The instance with the values that are given, or with those of its keys only.
  CIMInstance build(const PlacedInstance& instance, bool keysOnly) {
    const cimd::Class& cls = classOf(instance);
    CIMInstance built(cls.name());
    for (const Assignment& assignment : instance.declaration.assignments) {
      const auto position = cls.findProperty(assignment.name);
      if (!position) {
        throw MofError(assignment.position, "class " + cls.name().toUtf8() + " has no property " +
                                                assignment.name.toUtf8());
      }
      const cimd::Property& property = cls.property(*position);
      if (keysOnly && !property.isKey) {
        continue;
      }
      const auto value =
          typedValue(assignment.value, property.type, property.isArray, property.arraySize,
                     [&](const Literal& alias) { return target(alias, instance); });
      if (built.findProperty(property.name) != Pegasus::PEG_NOT_FOUND) {
        throw MofError(assignment.position,
                       "property " + property.name.toUtf8() + " has a value already");
      }
      built.addProperty(Pegasus::CIMProperty(property.name, value));
    }
    return built;
  }

  // The path of the instance behind an alias. Instances may refer to each other in a circle, so
  // this asks for nothing but keys.
  CIMObjectPath target(const Literal& alias, const PlacedInstance& from) {
    const auto found = byAlias_.find({from.unit, fold(alias.text)});
    if (found == byAlias_.end()) {
      throw MofError(alias.position, "no instance has the alias $" + alias.text.toUtf8());
    }
    const PlacedInstance& instance = *found->second;
    const auto known = paths_.find(&instance);
    if (known != paths_.end()) {
      return known->second;
    }
    if (depth_ >= maxAliasDepth) {
      throw MofError(alias.position, "keys refer to each other in a circle or too deep");
    }
    ++depth_;
    const CIMInstance keys = build(instance, true);
    --depth_;
    CIMObjectPath path = at(instance.declaration.position, [&] {
      const cimd::Class& cls = classOf(instance);
      const KeyScope scope = repository_.addNameSpace(instance.nameSpace).keyScope();
      CIMObjectPath own = completeInstance(cls, keys, scope).getPath();
      instanceKey(cls, own, scope);  // refuses names that nesting made too long
      own.setNameSpace(instance.nameSpace);
      return own;
    });
    paths_.emplace(&instance, path);
    return path;
  }

  const std::vector<PlacedInstance>& instances_;
  Repository& repository_;
  std::map<AliasKey, const PlacedInstance*> byAlias_;
  std::unordered_map<const PlacedInstance*, CIMObjectPath> paths_;
  unsigned depth_ = 0;
};

}  // namespace

std::vector<std::string> loadMof(const std::vector<std::filesystem::path>& files,
                                 Repository& repository,
                                 const std::vector<std::filesystem::path>& includeDirectories) {
  const MofContents contents = readMof(files, includeDirectories, defaultNameSpace);
  auto warnings = loadSchema(contents, repository);
  InstanceLoader(contents.instances, repository).load();
  return warnings;
}

}  // namespace cimd::mof
