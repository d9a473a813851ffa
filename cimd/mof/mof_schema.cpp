#include "mof/mof_schema.h"

#include <map>
#include <set>

#include "mof/mof_qualifiers.h"
#include "mof/mof_values.h"

namespace cimd::mof {

namespace {

using Pegasus::CIMObjectPath;
using Pegasus::String;

// One class, typed and with its qualifiers resolved. `place` says which declarations of qualifiers
// are in force there.
class ClassBuilder {
 public:
  ClassBuilder(const Schema& schema, const DeclaredQualifiers& declared, std::size_t place)
      : schema_(schema), declared_(declared), place_(place) {}

  ClassDeclaration build(const Class& cls) const {
    ClassDeclaration declaration;
    declaration.name = cls.name;
    declaration.superclass = cls.superclass;
    declaration.qualifiers = resolve(cls.qualifiers, classScope(cls));
    declaration.isAbstract = isSet(declaration.qualifiers, "Abstract");
    for (const Property& property : cls.properties) {
      declaration.properties.push_back(build(property));
    }
    for (const Method& method : cls.methods) {
      declaration.methods.push_back(build(method));
    }
    return declaration;
  }

 private:
  Qualifiers resolve(const std::vector<Qualifier>& given, unsigned scope) const {
    return resolveQualifiers(given, scope, declared_, place_);
  }

  // Associations and indications are classes, so what may stand at a class may stand there.
  // A subclass need not say again what it is.
  unsigned classScope(const Class& cls) const {
    unsigned scope = scopeClass;
    for (const Qualifier& qualifier : cls.qualifiers) {
      scope |= scopeFrom(qualifier.name);
    }
    const cimd::Class* superclass = schema_.find(cls.superclass);
    if (superclass != nullptr) {
      for (const AppliedQualifier& applied : superclass->qualifiers()) {
        scope |= scopeFrom(applied.qualifier->name);
      }
    }
    return scope;
  }

  static unsigned scopeFrom(const String& qualifier) {
    if (String::equalNoCase(qualifier, "Association")) {
      return scopeAssociation;
    }
    return String::equalNoCase(qualifier, "Indication") ? scopeIndication : 0U;
  }

  static unsigned scopeOf(const DataType& type, unsigned scope) {
    return scope | (type.type == Pegasus::CIMTYPE_REFERENCE ? scopeReference : 0U);
  }

  PropertyDeclaration build(const Property& property) const {
    const DataType& type = property.type;
    if (type.isArray && type.type == Pegasus::CIMTYPE_REFERENCE) {
      throw MofError(property.position, "a property cannot be an array of references");
    }
    PropertyDeclaration declaration;
    declaration.name = property.name;
    declaration.type = type.type;
    declaration.isArray = type.isArray;
    declaration.arraySize = type.arraySize;
    declaration.referenceClass = type.className;
    declaration.qualifiers = resolve(property.qualifiers, scopeOf(type, scopeProperty));
    declaration.isKey = isSet(declaration.qualifiers, "Key");
    declaration.defaultValue = property.defaultValue ? defaultValue(*property.defaultValue, type)
                                                     : Pegasus::CIMValue(type.type, type.isArray);
    return declaration;
  }

  static Pegasus::CIMValue defaultValue(const Value& value, const DataType& type) {
    return typedValue(
        value, type.type, type.isArray, type.arraySize, [](const Literal& alias) -> CIMObjectPath {
          throw MofError(alias.position,
                         "a class cannot refer to the instance $" + alias.text.toUtf8());
        });
  }

  MethodDeclaration build(const Method& method) const {
    MethodDeclaration declaration;
    declaration.name = method.name;
    declaration.returnType = method.returnType.type;
    declaration.qualifiers = resolve(method.qualifiers, scopeMethod);
    for (const Parameter& parameter : method.parameters) {
      for (const MethodParameter& other : declaration.parameters) {
        if (String::equalNoCase(other.name, parameter.name)) {
          throw MofError(parameter.position,
                         "parameter " + parameter.name.toUtf8() + " is there already");
        }
      }
      declaration.parameters.push_back(build(parameter));
    }
    return declaration;
  }

  MethodParameter build(const Parameter& parameter) const {
    const DataType& type = parameter.type;
    return {parameter.name, type.type,
            type.isArray,   type.arraySize,
            type.className, resolve(parameter.qualifiers, scopeOf(type, scopeParameter))};
  }

  const Schema& schema_;
  const DeclaredQualifiers& declared_;
  std::size_t place_;
};

// Defines each class after its superclass, wherever the two stand.
class ClassLoader {
 public:
  ClassLoader(const MofContents& contents, Repository& repository)
      : classes_(contents.classes), repository_(repository) {
    declareQualifiers(contents.qualifiers);
  }

  // Returns warnings.
  std::vector<std::string> load() {
    for (const PlacedClass& cls : classes_) {
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
    for (const PlacedClass& cls : classes_) {
      checkReferences(cls);
    }
    return std::move(warnings_);
  }

 private:
  using Key = std::pair<FoldedName, FoldedName>;

  // Clients see the last declaration of each.
  void declareQualifiers(const std::vector<PlacedQualifier>& qualifiers) {
    for (std::size_t place = 0; place < qualifiers.size(); ++place) {
      const String& nameSpace = qualifiers[place].nameSpace;
      const auto declaration = qualifierDeclaration(qualifiers[place].declaration);
      repository_.addNameSpace(nameSpace).schema().declareQualifier(declaration);
      qualifiers_[fold(nameSpace)].add(place, declaration);
    }
  }

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
    return repository_.addNameSpace(cls.nameSpace).schema().find(cls.declaration.name) != nullptr;
  }

  void define(const PlacedClass& placed) {
    Schema& schema = repository_.addNameSpace(placed.nameSpace).schema();
    const Class& cls = placed.declaration;
    const ClassBuilder builder(schema, qualifiers_[fold(placed.nameSpace)],
                               placed.qualifiersBefore);
    const ClassDeclaration declaration = builder.build(cls);
    try {
      schema.define(declaration);
    } catch (const RefusedFeature& refused) {
      const bool isProperty = refused.kind() == RefusedFeature::property;
      const Position& position = isProperty ? cls.properties[refused.position()].position
                                            : cls.methods[refused.position()].position;
      throw MofError(position, refused.getDescription().toUtf8());
    } catch (const Pegasus::CIMException& error) {
      throw MofError(cls.position, error.getDescription().toUtf8());
    }
  }

  // When all classes are there, for they may refer to each other.
  void checkReferences(const PlacedClass& placed) {
    const Schema& schema = repository_.addNameSpace(placed.nameSpace).schema();
    const Class& cls = placed.declaration;
    for (const Property& property : cls.properties) {
      checkReference(property, placed, schema);
      checkNarrowing(property, cls, schema);
    }
    for (const Method& method : cls.methods) {
      for (const Parameter& parameter : method.parameters) {
        checkReference(parameter, placed, schema);
      }
    }
  }

  // Part of a schema refers to classes of other parts, which a site may not need.
  template <typename Element>
  void checkReference(const Element& element, const PlacedClass& placed, const Schema& schema) {
    const String& target = element.type.className;
    if (element.type.type == Pegasus::CIMTYPE_REFERENCE && schema.find(target) == nullptr &&
        undeclared_.insert(key(placed, target)).second) {
      warnings_.push_back(warningAt(element.position, element.name.toUtf8() + " refers to class " +
                                                          target.toUtf8() +
                                                          ", which is not declared"));
    }
  }

  // A reference that overrides one can point to less, never to something else.
  static void checkNarrowing(const Property& property, const Class& cls, const Schema& schema) {
    const cimd::Class* superclass = schema.find(cls.superclass);
    const auto inherited = superclass ? superclass->findProperty(property.name) : std::nullopt;
    if (property.type.type != Pegasus::CIMTYPE_REFERENCE || !inherited) {
      return;
    }
    const cimd::Class* target = schema.find(property.type.className);
    const cimd::Class* wider = schema.find(superclass->property(*inherited).referenceClass);
    if (target != nullptr && wider != nullptr && target != wider && !target->isBelow(*wider)) {
      throw MofError(property.position, property.name.toUtf8() + " refers to class " +
                                            target->name().toUtf8() +
                                            ", which is not below class " + wider->name().toUtf8());
    }
  }

  const std::vector<PlacedClass>& classes_;
  Repository& repository_;
  // By namespace.
  std::unordered_map<FoldedName, DeclaredQualifiers> qualifiers_;
  std::map<Key, const PlacedClass*> byName_;
  // The classes that there is a warning about.
  std::set<Key> undeclared_;
  std::vector<std::string> warnings_;
};

}  // namespace

std::vector<std::string> loadSchema(const MofContents& contents, Repository& repository) {
  return ClassLoader(contents, repository).load();
}

}  // namespace cimd::mof
