#include "operations/operations.h"

#include <algorithm>
#include <array>
#include <map>
#include <vector>

namespace cimd {

namespace {

using Pegasus::String;

// pywbem and cimcli try these two among others.
constexpr std::array<const char*, 2> interopNames{"interop", "root/PG_InterOp"};

constexpr const char* managerClass = "CIM_ObjectManager";
constexpr const char* nameSpaceClass = "CIM_Namespace";
constexpr const char* childClass = "__Namespace";

bool isInterop(const FoldedName& name) {
  return std::any_of(interopNames.begin(), interopNames.end(),
                     [&](const char* interop) { return fold(interop) == name; });
}

// All namespaces, declared and computed, by folded name.
std::map<FoldedName, String> allNames(const Repository& repository) {
  std::map<FoldedName, String> names;
  for (const String& name : repository.names()) {
    names.emplace(fold(name), name);
  }
  for (const char* name : interopNames) {
    names.emplace(fold(name), name);
  }
  return names;
}

// The next level below `top`, without `top` itself.
std::map<FoldedName, String> children(const Repository& repository, const FoldedName& top) {
  std::map<FoldedName, String> found;
  for (const auto& [folded, name] : allNames(repository)) {
    if (folded.starts_with(top + u'/')) {
      const auto rest = name.view().substr(top.size() + 1);
      const String child{std::u16string(rest.substr(0, rest.find(u'/')))};
      found.emplace(fold(child), child);
    }
  }
  return found;
}

// A class of string properties; the first `keys` of them are its keys.
void define(NameSpace& nameSpace, const char* className, std::size_t keys,
            const std::vector<const char*>& names) {
  const auto key = std::make_shared<const Qualifier>(
      Qualifier{"Key", Pegasus::CIMValue(true), {.isOverridable = false}});
  ClassDeclaration declaration;
  declaration.name = className;
  for (const char* name : names) {
    PropertyDeclaration property;
    property.name = name;
    property.isKey = declaration.properties.size() < keys;
    if (property.isKey) {
      property.qualifiers.push_back({key});
    }
    declaration.properties.push_back(std::move(property));
  }
  nameSpace.schema().define(declaration);
}

// An instance with the values of the class's properties, in their order.
void declare(NameSpace& nameSpace, const char* className, const std::vector<String>& values) {
  const Class& cls = nameSpace.classNamed(className);
  Pegasus::CIMInstance instance(className);
  for (std::size_t i = 0; i < values.size(); ++i) {
    instance.addProperty({cls.property(i).name, values[i]});
  }
  nameSpace.declareInstance(instance, std::make_shared<const std::string>("morvik-cimd"));
}

void declareChildren(NameSpace& nameSpace, const std::map<FoldedName, String>& names) {
  define(nameSpace, childClass, 1, {"Name"});
  for (const auto& [folded, name] : names) {
    declare(nameSpace, childClass, {name});
  }
}

void declareManagerAndNameSpaces(NameSpace& nameSpace, const Repository& repository) {
  const String systemClass = "CIM_ComputerSystem";
  const String system = String(std::string_view(ownHostName()));
  const String manager = "morvik-cimd";
  define(nameSpace, managerClass, 4,
         {"SystemCreationClassName", "SystemName", "CreationClassName", "Name", "ElementName",
          "Description"});
  declare(
      nameSpace, managerClass,
      {systemClass, system, managerClass, manager, manager, manager + " version " MORVIK_VERSION});
  define(nameSpace, nameSpaceClass, 6,
         {"SystemCreationClassName", "SystemName", "ObjectManagerCreationClassName",
          "ObjectManagerName", "CreationClassName", "Name"});
  for (const auto& [folded, name] : allNames(repository)) {
    declare(nameSpace, nameSpaceClass,
            {systemClass, system, managerClass, manager, nameSpaceClass, name});
  }
}

}  // namespace

std::unique_ptr<NameSpace> computedNameSpace(const Repository& repository, const String& nameSpace,
                                             const String& className) {
  const auto declared = repository.find(nameSpace);
  if (declared != nullptr && declared->schema().find(className) != nullptr) {
    return nullptr;
  }
  const FoldedName name = fold(trimNameSpace(nameSpace));
  if (String::equalNoCase(className, childClass)) {
    const auto below = children(repository, name);
    if (declared == nullptr && !isInterop(name) && below.empty()) {
      return nullptr;
    }
    auto computed = std::make_unique<NameSpace>(nameSpace);
    declareChildren(*computed, below);
    return computed;
  }
  const bool isServed =
      isInterop(name) && (declared == nullptr || String::equalNoCase(className, managerClass) ||
                          String::equalNoCase(className, nameSpaceClass));
  if (!isServed) {
    return nullptr;
  }
  auto computed = std::make_unique<NameSpace>(nameSpace);
  declareManagerAndNameSpaces(*computed, repository);
  return computed;
}

}  // namespace cimd
