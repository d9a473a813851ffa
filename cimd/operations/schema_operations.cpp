#include "operations/operations.h"

#include <Pegasus/Common/CIMProperty.h>
#include "xml/encoder.h"

#include <array>
#include <utility>

#include "model/instance_values.h"

namespace cimd {

namespace {

using Pegasus::String;
using Pegasus::xml::appendAttribute;
using Pegasus::xml::Request;

void appendFlag(std::string& out, const char* name, bool value) {
  out.append(" ").append(name).append(value ? "=\"true\"" : "=\"false\"");
}

void appendType(std::string& out, Pegasus::CIMType type) {
  out.append(" TYPE=\"").append(Pegasus::cimTypeToString(type)).append("\"");
}

void appendArraySize(std::string& out, Pegasus::Uint32 size) {
  if (size != 0) {
    out.append(" ARRAYSIZE=\"").append(std::to_string(size)).append("\"");
  }
}

// Only flavors that differ from the defaults of the standard.
void appendFlavors(std::string& out, const Flavors& flavors) {
  if (!flavors.isOverridable) {
    appendFlag(out, "OVERRIDABLE", false);
  }
  if (!flavors.isForSubclasses) {
    appendFlag(out, "TOSUBCLASS", false);
  }
  if (flavors.isTranslatable) {
    appendFlag(out, "TRANSLATABLE", true);
  }
}

// The qualifiers of a property or method of `declaringClass` as `cls` has them. In a subclass they
// are inherited, and those that are for the declaring class only are missing.
Qualifiers qualifiersIn(const Class& cls, const Qualifiers& qualifiers,
                        const Class* declaringClass) {
  Qualifiers own = qualifiers;
  if (declaringClass != &cls) {
    std::erase_if(own, [](const AppliedQualifier& applied) {
      return !applied.qualifier->flavors.isForSubclasses;
    });
    for (AppliedQualifier& applied : own) {
      applied.isPropagated = true;
    }
  }
  return own;
}

// A CLASS element.
class ClassWriter {
 public:
  ClassWriter(std::string& out, const Class& cls, const Content& content)
      : out_(out), cls_(cls), content_(content) {}

  void write() {
    out_ += "<CLASS";
    appendAttribute(out_, "NAME", cls_.name());
    if (cls_.superclass() != nullptr) {
      appendAttribute(out_, "SUPERCLASS", cls_.superclass()->name());
    }
    out_ += '>';
    appendQualifiers(out_, cls_.qualifiers(), content_);
    for (std::size_t i = 0; i < cls_.propertyCount(); ++i) {
      const Property& property = cls_.property(i);
      if (isWanted(property.declaringClass) && content_.properties.passes(property.name)) {
        appendProperty(out_, cls_, property, property.defaultValue, content_);
      }
    }
    for (const auto& method : cls_.methods()) {
      if (isWanted(method->declaringClass)) {
        writeMethod(*method);
      }
    }
    out_ += "</CLASS>";
  }

 private:
  bool isWanted(const Class* declaringClass) const {
    return !content_.isLocalOnly || declaringClass == &cls_;
  }

  void writeMethod(const Method& method) {
    out_ += "<METHOD";
    appendAttribute(out_, "NAME", method.name);
    appendType(out_, method.returnType);
    if (content_.hasClassOrigin) {
      appendAttribute(out_, "CLASSORIGIN", method.originClass->name());
    }
    if (method.declaringClass != &cls_) {
      appendFlag(out_, "PROPAGATED", true);
    }
    out_ += '>';
    appendQualifiers(out_, qualifiersIn(cls_, method.qualifiers, method.declaringClass), content_);
    for (const MethodParameter& parameter : method.parameters) {
      writeParameter(parameter, method.declaringClass);
    }
    out_ += "</METHOD>";
  }

  void writeParameter(const MethodParameter& parameter, const Class* declaringClass) {
    const bool isReference = parameter.type == Pegasus::CIMTYPE_REFERENCE;
    const char* const element =
        isReference ? (parameter.isArray ? "PARAMETER.REFARRAY" : "PARAMETER.REFERENCE")
                    : (parameter.isArray ? "PARAMETER.ARRAY" : "PARAMETER");
    out_.append("<").append(element);
    appendAttribute(out_, "NAME", parameter.name);
    if (isReference) {
      appendAttribute(out_, "REFERENCECLASS", parameter.referenceClass);
    } else {
      appendType(out_, parameter.type);
    }
    appendArraySize(out_, parameter.arraySize);
    out_ += '>';
    appendQualifiers(out_, qualifiersIn(cls_, parameter.qualifiers, declaringClass), content_);
    out_.append("</").append(element).append(">");
  }

  std::string& out_;
  const Class& cls_;
  const Content& content_;
};

void appendScope(std::string& out, unsigned scopes) {
  static constexpr std::array<std::pair<unsigned, const char*>, 7> names{{
      {scopeClass, "CLASS"},
      {scopeAssociation, "ASSOCIATION"},
      {scopeReference, "REFERENCE"},
      {scopeProperty, "PROPERTY"},
      {scopeMethod, "METHOD"},
      {scopeParameter, "PARAMETER"},
      {scopeIndication, "INDICATION"},
  }};
  out += "<SCOPE";
  for (const auto& [bit, name] : names) {
    if ((scopes & bit) != 0) {
      appendFlag(out, name, true);
    }
  }
  out += "/>";
}

// With the defaults of the standard.
Content classContent(const Request& request) {
  return {request.boolean("LocalOnly").value_or(true),
          request.boolean("IncludeQualifiers").value_or(true),
          request.boolean("IncludeClassOrigin").value_or(false), PropertyFilter(request)};
}

// The classes below the one that the request names, or all classes if it names none: the first
// level of them, or every level.
std::vector<const Class*> enumerated(const NameSpace& nameSpace, const Request& request) {
  const auto name = request.className("ClassName");
  const bool isDeep = request.boolean("DeepInheritance").value_or(false);
  const auto& top =
      name ? nameSpace.classNamed(*name).subclasses() : nameSpace.schema().topClasses();
  return isDeep ? Schema::withSubclasses(top) : top;
}

}  // namespace

void appendQualifiers(std::string& out, const Qualifiers& qualifiers, const Content& content) {
  if (!content.hasQualifiers) {
    return;
  }
  for (const auto& [qualifier, isPropagated] : qualifiers) {
    if (content.isLocalOnly && isPropagated) {
      continue;
    }
    out += "<QUALIFIER";
    appendAttribute(out, "NAME", qualifier->name);
    appendType(out, qualifier->value.getType());
    if (isPropagated) {
      appendFlag(out, "PROPAGATED", true);
    }
    appendFlavors(out, qualifier->flavors);
    out += '>';
    Pegasus::xml::appendValue(out, qualifier->value);
    out += "</QUALIFIER>";
  }
}

void appendProperty(std::string& out, const Class& cls, const Property& property,
                    const Pegasus::CIMValue& value, const Content& content) {
  const Pegasus::CIMProperty described(
      property.name, value, property.arraySize, property.referenceClass,
      content.hasClassOrigin ? property.originClass->name() : String::EMPTY,
      cls.isPropagated(property));
  std::string qualifiers;
  if (content.hasQualifiers) {
    appendQualifiers(qualifiers, qualifiersIn(cls, property.qualifiers, property.declaringClass),
                     content);
  }
  Pegasus::xml::appendQualifiedProperty(out, described, qualifiers,
                                        embeddedObject(property, value));
}

void appendQualifierDeclaration(std::string& out, const QualifierDeclaration& declaration) {
  out += "<QUALIFIER.DECLARATION";
  appendAttribute(out, "NAME", declaration.name);
  appendType(out, declaration.defaultValue.getType());
  appendFlag(out, "ISARRAY", declaration.defaultValue.isArray());
  appendArraySize(out, declaration.arraySize);
  appendFlavors(out, declaration.flavors);
  out += '>';
  appendScope(out, declaration.scopes);
  Pegasus::xml::appendValue(out, declaration.defaultValue);
  out += "</QUALIFIER.DECLARATION>";
}

std::string getClass(NameSpace& nameSpace, const Request& request) {
  const String name = required(request.className("ClassName"), "ClassName");
  const Content content = classContent(request);
  const Class* cls = nameSpace.schema().find(name);
  if (cls == nullptr) {
    throwCimError(Pegasus::CIM_ERR_NOT_FOUND, name);
  }
  std::string out;
  ClassWriter(out, *cls, content).write();
  return out;
}

Listing enumerateClasses(NameSpace& nameSpace, const Request& request) {
  const Content content = classContent(request);
  auto classes = enumerated(nameSpace, request);
  Listing listing;
  listing.count = classes.size();
  listing.append = [content, classes = std::move(classes)](std::string& out, std::size_t number) {
    ClassWriter(out, *classes[number], content).write();
  };
  return listing;
}

Listing enumerateClassNames(NameSpace& nameSpace, const Request& request) {
  auto classes = enumerated(nameSpace, request);
  Listing listing;
  listing.count = classes.size();
  listing.append = [classes = std::move(classes)](std::string& out, std::size_t number) {
    Pegasus::xml::appendClassName(out, classes[number]->name());
  };
  return listing;
}

std::string getQualifier(NameSpace& nameSpace, const Request& request) {
  const String name = required(request.name("QualifierName"), "QualifierName");
  const QualifierDeclaration* declaration = nameSpace.schema().findQualifier(name);
  if (declaration == nullptr) {
    throwCimError(Pegasus::CIM_ERR_NOT_FOUND, name);
  }
  std::string out;
  appendQualifierDeclaration(out, *declaration);
  return out;
}

Listing enumerateQualifiers(NameSpace& nameSpace, const Request& /*request*/) {
  const auto& qualifiers = nameSpace.schema().qualifiers();
  Listing listing;
  listing.count = qualifiers.size();
  listing.append = [&qualifiers](std::string& out, std::size_t number) {
    appendQualifierDeclaration(out, qualifiers[number]);
  };
  return listing;
}

}  // namespace cimd
