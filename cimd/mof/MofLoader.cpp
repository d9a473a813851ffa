#include "cimd/mof/MofLoader.h"

#include <Pegasus/Common/Exception.h>

#include <map>
#include <unordered_map>

#include "cimd/model/InstanceKey.h"
#include "cimd/model/NewInstance.h"
#include "cimd/mof/MofReader.h"
#include "cimd/mof/MofValues.h"

namespace cimd::mof {

namespace {

using Pegasus::CIMInstance;
using Pegasus::CIMObjectPath;
using Pegasus::String;

// Keys that are references to instances whose keys are references, and so on.
constexpr unsigned maxAliasDepth = 16;

// What the model refuses is an error at the declaration.
template <typename Action>
auto at(const Position& position, Action action) {
  try {
    return action();
  } catch (const Pegasus::CIMException& error) {
    throw MofError(position, error.getDescription().toUtf8());
  }
}

// A boolean qualifier without value is true; one that is not there, or NULL, is false.
bool isSet(const std::vector<Qualifier>& qualifiers, const char* name) {
  for (const Qualifier& qualifier : qualifiers) {
    if (!String::equalNoCase(qualifier.name, name)) {
      continue;
    }
    if (!qualifier.value) {
      return true;
    }
    bool isTrue = false;
    typedValue(*qualifier.value, Pegasus::CIMTYPE_BOOLEAN, false, {}).get(isTrue);
    return isTrue;
  }
  return false;
}

class ClassLoader {
 public:
  ClassLoader(std::vector<PlacedClass>& classes, Repository& repository)
      : classes_(classes), repository_(repository) {}

  void load() {
    for (PlacedClass& cls : classes_) {
      const auto [place, isNew] = byName_.try_emplace(key(cls, cls.declaration.name), &cls);
      if (!isNew) {
        const Position& first = place->second->declaration.position;
        throw MofError(cls.declaration.position, "class " + cls.declaration.name.toUtf8() +
                                                     " is declared already at " + *first.file +
                                                     ":" + std::to_string(first.line));
      }
    }
    for (const PlacedClass& cls : classes_) {
      defineWithSuperclasses(cls);
    }
  }

 private:
  using Key = std::pair<FoldedName, FoldedName>;

  static Key key(const PlacedClass& cls, const String& name) {
    return {fold(cls.nameSpace), fold(name)};
  }

  // Walks up to the first class that is defined, then defines downwards.
  void defineWithSuperclasses(const PlacedClass& cls) {
    std::vector<const PlacedClass*> chain;
    const PlacedClass* current = &cls;
    while (current != nullptr && !isDefined(*current)) {
      if (chain.size() > classes_.size()) {
        throw MofError(cls.declaration.position, "class " + cls.declaration.name.toUtf8() +
                                                     " is its own superclass in the end");
      }
      chain.push_back(current);
      const auto superclass = byName_.find(key(*current, current->declaration.superclass));
      current = superclass == byName_.end() ? nullptr : superclass->second;
    }
    for (; !chain.empty(); chain.pop_back()) {
      define(*chain.back());
    }
  }

  bool isDefined(const PlacedClass& cls) {
    return repository_.addNameSpace(cls.nameSpace).findClass(cls.declaration.name) != nullptr;
  }

  void define(const PlacedClass& placed) {
    const Class& cls = placed.declaration;
    ClassDeclaration declaration;
    declaration.name = cls.name;
    declaration.superclass = cls.superclass;
    declaration.isAbstract = isSet(cls.qualifiers, "abstract");
    for (const Property& property : cls.properties) {
      declaration.properties.push_back(propertyDeclaration(property));
    }
    at(cls.position, [&] { repository_.addNameSpace(placed.nameSpace).defineClass(declaration); });
  }

  static PropertyDeclaration propertyDeclaration(const Property& property) {
    PropertyDeclaration declaration;
    const DataType& type = property.type;
    declaration.name = property.name;
    declaration.type = type.type;
    declaration.isArray = type.isArray;
    declaration.arraySize = type.arraySize;
    declaration.referenceClass = type.className;
    declaration.isKey = isSet(property.qualifiers, "key");
    declaration.defaultValue = Pegasus::CIMValue(type.type, type.isArray);
    if (property.defaultValue) {
      declaration.defaultValue =
          typedValue(*property.defaultValue, type.type, type.isArray, [](const Literal& alias) {
            throw MofError(alias.position,
                           "a class cannot refer to the instance $" + alias.text.toUtf8());
            return CIMObjectPath();
          });
    }
    return declaration;
  }

  std::vector<PlacedClass>& classes_;
  Repository& repository_;
  std::map<Key, PlacedClass*> byName_;
};

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
      at(instance.declaration.position,
         [&] { repository_.addNameSpace(instance.nameSpace).createInstance(given); });
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

  const CimClass& classOf(const PlacedInstance& instance) {
    const String& name = instance.declaration.className;
    const CimClass* cls = repository_.addNameSpace(instance.nameSpace).findClass(name);
    if (cls == nullptr) {
      throw MofError(instance.declaration.position, "class " + name.toUtf8() +
                                                        " is not declared in namespace " +
                                                        instance.nameSpace.toUtf8());
    }
    return *cls;
  }

  // The instance with the values that are given, or with those of its keys only.
  CIMInstance build(const PlacedInstance& instance, bool keysOnly) {
    const CimClass& cls = classOf(instance);
    CIMInstance built(cls.name());
    for (const Assignment& assignment : instance.declaration.assignments) {
      const auto position = cls.findProperty(assignment.name);
      if (!position) {
        throw MofError(assignment.position, "class " + cls.name().toUtf8() + " has no property " +
                                                assignment.name.toUtf8());
      }
      const CimProperty& property = cls.property(*position);
      if (keysOnly && !property.isKey) {
        continue;
      }
      const auto value = typedValue(assignment.value, property.type, property.isArray,
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
      const CimClass& cls = classOf(instance);
      CIMObjectPath own = completeInstance(cls, keys).getPath();
      instanceKey(cls, own, instance.nameSpace);  // refuses names that nesting made too long
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

void loadMof(const std::vector<std::filesystem::path>& files, Repository& repository) {
  MofContents contents = readMof(files, defaultNameSpace);
  ClassLoader(contents.classes, repository).load();
  InstanceLoader(contents.instances, repository).load();
}

}  // namespace cimd::mof
