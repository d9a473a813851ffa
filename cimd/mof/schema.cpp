#include "mof/schema.h"

#include <map>
#include <optional>
#include <set>
#include <unordered_map>
#include <utility>

#include "model/names.h"
#include "mof/qualifiers.h"
#include "mof/values.h"

namespace cimd::mof {

namespace {

using Pegasus::CIMValue;
using Pegasus::String;

unsigned scopeFrom(const String& qualifier) {
  if (String::equalNoCase(qualifier, "Association")) {
    return scopeAssociation;
  }
  return String::equalNoCase(qualifier, "Indication") ? scopeIndication : 0U;
}

unsigned scopeOf(const DataType& type, unsigned scope) {
  return scope | (type.type == Pegasus::CIMTYPE_REFERENCE ? scopeReference : 0U);
}

// Gives the parts of one class their types and qualifiers. `schema` has its superclass; `place`
// says which declarations of qualifiers are in force.
class ClassBuilder {
 public:
  ClassBuilder(const Schema& schema, const DeclaredQualifiers& declared, std::size_t place)
      : schema_(schema), declared_(declared), place_(place) {}

  ClassDeclaration build(const ClassSyntax& cls) const {
    ClassDeclaration declaration;
    declaration.name = cls.name;
    declaration.superclass = cls.superclass;
    declaration.qualifiers = resolve(cls.qualifiers, classScope(cls));
    declaration.isAbstract = isSet(declaration.qualifiers, "Abstract");
    for (const PropertySyntax& property : cls.properties) {
      declaration.properties.push_back(build(property));
    }
    for (const MethodSyntax& method : cls.methods) {
      declaration.methods.push_back(build(method));
    }
    return declaration;
  }

 private:
  Qualifiers resolve(const QualifierList& given, unsigned scope) const {
    return declared_.resolve(given, scope, place_);
  }

  // Associations and indications are classes, so qualifiers for classes are allowed there too. A
  // subclass of one is one, and need not repeat the qualifier that says so.
  unsigned classScope(const ClassSyntax& cls) const {
    unsigned scope = scopeClass;
    for (const QualifierSyntax& qualifier : cls.qualifiers) {
      scope |= scopeFrom(qualifier.name);
    }
    const Class* superclass = schema_.find(cls.superclass);
    if (superclass != nullptr) {
      for (const AppliedQualifier& applied : superclass->qualifiers()) {
        scope |= scopeFrom(applied.qualifier->name);
      }
    }
    return scope;
  }

  PropertyDeclaration build(const PropertySyntax& property) const {
    const DataType& type = property.type;
    if (type.isArray && type.type == Pegasus::CIMTYPE_REFERENCE) {
      throw MofError(property.position, "a property cannot be an array of references");
    }
    PropertyDeclaration declaration;
    static_cast<DataType&>(declaration) = type;
    declaration.name = property.name;
    declaration.qualifiers = resolve(property.qualifiers, scopeOf(type, scopeProperty));
    declaration.isKey = isSet(declaration.qualifiers, "Key");
    declaration.defaultValue = property.defaultValue ? constantValue(*property.defaultValue, type)
                                                     : CIMValue(type.type, type.isArray);
    return declaration;
  }

  MethodDeclaration build(const MethodSyntax& method) const {
    MethodDeclaration declaration;
    declaration.name = method.name;
    declaration.returnType = method.returnType.type;
    declaration.qualifiers = resolve(method.qualifiers, scopeMethod);
    for (const ParameterSyntax& parameter : method.parameters) {
      for (const MethodParameter& other : declaration.parameters) {
        if (String::equalNoCase(other.name, parameter.name)) {
          throw MofError(parameter.position, "duplicate parameter " + parameter.name.toUtf8());
        }
      }
      declaration.parameters.push_back(build(parameter));
    }
    return declaration;
  }

  MethodParameter build(const ParameterSyntax& parameter) const {
    return {parameter.type, parameter.name,
            resolve(parameter.qualifiers, scopeOf(parameter.type, scopeParameter))};
  }

  const Schema& schema_;
  const DeclaredQualifiers& declared_;
  std::size_t place_;
};

// Loads the classes of all namespaces in three passes, because names may be used before they are
// declared: the first notes where each class is, so that the second can define a superclass before
// its subclasses, whatever their order; references are looked up in the third, when all classes are
// defined, since two classes may refer to each other.
class ClassLoader {
 public:
  ClassLoader(const std::vector<PlacedClass>& classes, Repository& repository)
      : classes_(classes), repository_(repository) {}

  // All of them, before load().
  void declareQualifiers(const std::vector<PlacedQualifier>& qualifiers) {
    for (std::size_t place = 0; place < qualifiers.size(); ++place) {
      const String& nameSpace = qualifiers[place].nameSpace;
      const auto declaration = qualifierDeclaration(qualifiers[place].declaration);
      qualifiers_[fold(nameSpace)].add(place, declaration);
      // Clients see the last declaration of each name.
      repository_.addNameSpace(nameSpace).schema().declareQualifier(declaration);
    }
  }

  void load() {
    for (const PlacedClass& cls : classes_) {
      note(cls);
    }
    for (const PlacedClass& cls : classes_) {
      defineWithSuperclasses(cls);
    }
    for (const PlacedClass& cls : classes_) {
      checkReferences(cls);
    }
  }

  std::vector<std::string> warnings;

 private:
  // Namespace and name.
  using Key = std::pair<FoldedName, FoldedName>;

  static Key key(const PlacedClass& cls, const String& name) {
    return {fold(cls.nameSpace), fold(name)};
  }

  Schema& schemaOf(const PlacedClass& cls) {
    return repository_.addNameSpace(cls.nameSpace).schema();
  }

  void note(const PlacedClass& cls) {
    const auto [place, isNew] = byName_.try_emplace(key(cls, cls.declaration.name), &cls);
    if (!isNew) {
      const Position& first = place->second->declaration.position;
      throw MofError(cls.declaration.position, "class " + cls.declaration.name.toUtf8() +
                                                   " is already declared at " + *first.file + ":" +
                                                   std::to_string(first.line));
    }
  }

  // Walks up to a class that is defined, or that has no superclass in the files, then defines
  // downwards from there. A loop and not a recursion, because a file could make it as deep as it
  // has classes. More steps than classes mean that the walk goes in a circle. Each class is defined
  // once, so all walks together take no more steps than there are classes, and one for each.
  void defineWithSuperclasses(const PlacedClass& cls) {
    std::vector<const PlacedClass*> chain;
    const PlacedClass* current = &cls;
    while (current != nullptr && schemaOf(*current).find(current->declaration.name) == nullptr) {
      if (chain.size() > classes_.size()) {
        throw MofError(cls.declaration.position,
                       "class " + cls.declaration.name.toUtf8() + " is its own superclass");
      }
      chain.push_back(current);
      const auto superclass = byName_.find(key(*current, current->declaration.superclass));
      current = superclass == byName_.end() ? nullptr : superclass->second;
    }
    for (; !chain.empty(); chain.pop_back()) {
      define(*chain.back());
    }
  }

  // The model counts features as the declaration has them, which is as the file has them.
  void define(const PlacedClass& placed) {
    const ClassSyntax& cls = placed.declaration;
    Schema& schema = schemaOf(placed);
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

  void checkReferences(const PlacedClass& placed) {
    const ClassSyntax& cls = placed.declaration;
    for (const PropertySyntax& property : cls.properties) {
      if (property.type.type == Pegasus::CIMTYPE_REFERENCE) {
        checkTarget(property, placed);
        checkNarrowing(property, placed);
      }
    }
    for (const MethodSyntax& method : cls.methods) {
      for (const ParameterSyntax& parameter : method.parameters) {
        if (parameter.type.type == Pegasus::CIMTYPE_REFERENCE) {
          checkTarget(parameter, placed);
        }
      }
    }
  }

  // One part of a large schema refers to classes of other parts, which a site may not need: this is
  // worth a warning for each class, not an error.
  template <typename Element>
  void checkTarget(const Element& element, const PlacedClass& placed) {
    const String& target = element.type.referenceClass;
    if (schemaOf(placed).find(target) == nullptr &&
        undeclared_.insert(key(placed, target)).second) {
      warnings.push_back(messageAt(element.position, "warning",
                                   element.name.toUtf8() + " refers to class " + target.toUtf8() +
                                       ", which is not declared"));
    }
  }

  // A reference that overrides another one may point to a subclass of its class only: what follows
  // the inherited reference must not find an instance of another class. Undeclared classes
  // cannot be checked.
  void checkNarrowing(const PropertySyntax& property, const PlacedClass& placed) {
    const Schema& schema = schemaOf(placed);
    const Class* superclass = schema.find(placed.declaration.superclass);
    const auto inherited = superclass ? superclass->findProperty(property.name) : std::nullopt;
    if (!inherited) {
      return;
    }
    const Class* target = schema.find(property.type.referenceClass);
    const Class* wider = schema.find(superclass->property(*inherited).referenceClass);
    if (target != nullptr && wider != nullptr && target != wider && !target->isBelow(*wider)) {
      throw MofError(property.position,
                     property.name.toUtf8() + " refers to class " + target->name().toUtf8() +
                         ", which is not a subclass of " + wider->name().toUtf8());
    }
  }

  const std::vector<PlacedClass>& classes_;
  Repository& repository_;
  // By namespace.
  std::unordered_map<FoldedName, DeclaredQualifiers> qualifiers_;
  std::map<Key, const PlacedClass*> byName_;
  // The classes that there is a warning about.
  std::set<Key> undeclared_;
};

}  // namespace

std::vector<std::string> loadSchema(const std::vector<PlacedQualifier>& qualifiers,
                                    const std::vector<PlacedClass>& classes,
                                    Repository& repository) {
  ClassLoader loader(classes, repository);
  loader.declareQualifiers(qualifiers);
  loader.load();
  return std::move(loader.warnings);
}

}  // namespace cimd::mof
