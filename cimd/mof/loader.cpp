#include "mof/loader.h"

#include <algorithm>
#include <map>
#include <unordered_map>

#include "file.h"
#include "model/instance_key.h"
#include "model/instance_values.h"
#include "model/names.h"
#include "mof/parser.h"
#include "mof/schema.h"
#include "mof/values.h"

namespace cimd::mof {

namespace {

namespace fs = std::filesystem;
using Pegasus::CIMInstance;
using Pegasus::CIMObjectPath;
using Pegasus::String;

constexpr std::size_t maxFileSize = std::size_t{64} << 20U;
constexpr std::size_t maxIncludeDepth = 32;
// The DMTF schema has one file for each of its classes.
constexpr std::size_t maxFiles = 20000;
// Keys that are references to instances whose keys are references, and so on.
constexpr unsigned maxAliasDepth = 16;

struct PlacedInstance {
  String nameSpace;
  // The position, among the files given, of the one that it came with. Aliases are known there.
  std::size_t unit;
  InstanceSyntax declaration;
};

// Everything declared, in the order of the files.
struct Contents {
  std::vector<PlacedQualifier> qualifiers;
  std::vector<PlacedClass> classes;
  std::vector<PlacedInstance> instances;
};

// "root/x", or "//localhost/root/x".
String nameSpaceOf(const PragmaSyntax& pragma) {
  const std::string text = pragma.parameter.toUtf8();
  constexpr std::size_t slashes = 2;
  const bool hasHost = text.starts_with("//");
  const std::size_t end = hasHost ? std::min(text.find('/', slashes), text.size()) : 0;
  String name = trimNameSpace(String(std::string_view(text).substr(end)));
  if (!isNameSpaceName(name) ||
      (hasHost && !isLoopbackHost(std::string_view(text).substr(slashes, end - slashes)))) {
    throw MofError(pragma.position,
                   "expected the name of a namespace on this server, found '" + text + "'");
  }
  return name;
}

struct SourceFile {
  fs::path path;
  std::string text;
};

// The first of the files that exists. One that exists but cannot be read is an error: another one
// must not take its place unnoticed.
SourceFile readFirst(const std::vector<fs::path>& candidates, const Position& from) {
  std::string message;
  for (const fs::path& path : candidates) {
    try {
      return {path, readFile(path, maxFileSize, FileKind::any)};
    } catch (const FileError& error) {
      if (!error.isMissing()) {
        throw MofError(from, error.what());
      }
      if (message.empty()) {
        message = error.what();
      }
    }
  }
  throw MofError(from, message);
}

// Reads files with all that they include.
class Reader {
 public:
  explicit Reader(const std::vector<fs::path>& includeDirectories)
      : includeDirectories_(includeDirectories) {}

  // One of the files given.
  void readUnit(const fs::path& file) {
    unitDirectory_ = file.parent_path();
    read({file}, defaultNameSpace, Position{std::make_shared<const std::string>("morvik-cimd")});
    ++unit_;
  }

  Contents contents;

 private:
  void read(const std::vector<fs::path>& candidates, String nameSpace, const Position& from) {
    const auto [path, text] = readFirst(candidates, from);
    enter(path, from);
    Parser parser(std::make_shared<const std::string>(path.string()), text);
    while (auto production = parser.next()) {
      if (const auto* pragma = std::get_if<PragmaSyntax>(&*production)) {
        applyPragma(*pragma, path, nameSpace);
      } else if (auto* qualifier = std::get_if<QualifierDeclarationSyntax>(&*production)) {
        contents.qualifiers.push_back({nameSpace, std::move(*qualifier)});
      } else if (auto* cls = std::get_if<ClassSyntax>(&*production)) {
        contents.classes.push_back({nameSpace, std::move(*cls), contents.qualifiers.size()});
      } else if (auto* instance = std::get_if<InstanceSyntax>(&*production)) {
        contents.instances.push_back({nameSpace, unit_, std::move(*instance)});
      }
    }
    open_.pop_back();
  }

  void enter(const fs::path& path, const Position& from) {
    // Without links, so that a file has one name; an account that may not search a directory of the
    // path cannot resolve them.
    std::error_code error;
    fs::path real = fs::weakly_canonical(path, error);
    if (error) {
      real = path.lexically_normal();
    }
    if (std::find(open_.begin(), open_.end(), real) != open_.end()) {
      throw MofError(from, path.string() + " includes itself");
    }
    if (open_.size() >= maxIncludeDepth || ++fileCount_ > maxFiles) {
      throw MofError(from, "too many included files");
    }
    open_.push_back(std::move(real));
  }

  // `path` is the file with the pragma, `nameSpace` the namespace for what follows it.
  void applyPragma(const PragmaSyntax& pragma, const fs::path& path, String& nameSpace) {
    if (String::equalNoCase(pragma.name, "include")) {
      read(candidates(pragma, path), nameSpace, pragma.position);
    } else if (String::equalNoCase(pragma.name, "namespace")) {
      nameSpace = nameSpaceOf(pragma);
    }
  }

  // The places to look for the included file. Schemas from Windows have backslashes between
  // directories.
  std::vector<fs::path> candidates(const PragmaSyntax& include, const fs::path& path) const {
    std::string name = include.parameter.toUtf8();
    std::replace(name.begin(), name.end(), '\\', '/');
    std::vector<fs::path> paths{path.parent_path() / name, unitDirectory_ / name};
    for (const fs::path& directory : includeDirectories_) {
      paths.push_back(directory / name);
    }
    return paths;
  }

  const std::vector<fs::path>& includeDirectories_;
  std::size_t unit_ = 0;
  // The directory of the given file that is being read.
  fs::path unitDirectory_;
  std::size_t fileCount_ = 0;
  // The files that are being read, the outermost first.
  std::vector<fs::path> open_;
};

// Creates the instances, after all classes are defined.
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
      withPosition(instance.declaration.position, [&] {
        repository_.addNameSpace(instance.nameSpace)
            .declareInstance(given, instance.declaration.position.file);
      });
    }
  }

 private:
  using AliasKey = std::pair<std::size_t, FoldedName>;

  void noteAlias(const PlacedInstance& instance) {
    const String& alias = instance.declaration.alias;
    if (alias.size() != 0 &&
        !byAlias_.try_emplace({instance.unit, fold(alias)}, &instance).second) {
      throw MofError(instance.declaration.position, "duplicate alias $" + alias.toUtf8());
    }
  }

  const Class& classOf(const PlacedInstance& instance) {
    const String& name = instance.declaration.className;
    const Class* cls = repository_.addNameSpace(instance.nameSpace).schema().find(name);
    if (cls == nullptr) {
      throw MofError(instance.declaration.position, "class " + name.toUtf8() +
                                                        " is not declared in namespace " +
                                                        instance.nameSpace.toUtf8());
    }
    return *cls;
  }

  // The instance with the values that are given, or with those of its keys only.
  CIMInstance build(const PlacedInstance& instance, bool keysOnly) {
    const Class& cls = classOf(instance);
    CIMInstance built(cls.name());
    for (const AssignmentSyntax& assignment : instance.declaration.assignments) {
      const auto position = cls.findProperty(assignment.name);
      if (!position) {
        throw MofError(assignment.position, "class " + cls.name().toUtf8() + " has no property " +
                                                assignment.name.toUtf8());
      }
      const Property& property = cls.property(*position);
      if (keysOnly && !property.isKey) {
        continue;
      }
      const auto value = typedValue(assignment.value, property,
                                    [&](const Literal& alias) { return target(alias, instance); });
      if (built.findProperty(property.name) != Pegasus::PEG_NOT_FOUND) {
        throw MofError(assignment.position,
                       "duplicate value of property " + property.name.toUtf8());
      }
      built.addProperty(Pegasus::CIMProperty(property.name, value));
    }
    return built;
  }

  // The path of the instance that the alias stands for, which may come later. Instances may refer
  // to each other in a circle, as long as their keys do not: so this looks at keys only, and keeps
  // each path, which would otherwise be built again for every level of keys above it.
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
      throw MofError(alias.position, "keys refer to each other in a circle, or too deeply");
    }
    ++depth_;
    const CIMInstance keys = build(instance, true);
    --depth_;
    CIMObjectPath path = withPosition(instance.declaration.position, [&] {
      const Class& cls = classOf(instance);
      const KeyScope scope = repository_.addNameSpace(instance.nameSpace).keyScope();
      CIMObjectPath own = completeInstance(cls, keys, scope).getPath();
      instanceKey(cls, own, scope);  // refuses a name that nested keys make too long
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

std::vector<std::string> loadMof(const std::vector<fs::path>& files, Repository& repository,
                                 const std::vector<fs::path>& includeDirectories) {
  Reader reader(includeDirectories);
  for (const fs::path& file : files) {
    reader.readUnit(file);
  }
  const Contents& contents = reader.contents;
  auto warnings = loadSchema(contents.qualifiers, contents.classes, repository);
  InstanceLoader(contents.instances, repository).load();
  return warnings;
}

}  // namespace cimd::mof
