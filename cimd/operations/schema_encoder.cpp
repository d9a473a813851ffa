#include "operations/schema_encoder.h"

#include <Pegasus/Common/CIMProperty.h>
#include "xml/object_encoder.h"

#include <array>
#include <utility>

#include "model/instance_values.h"

namespace cimd {

namespace {

using Pegasus::String;
using Pegasus::xml::appendAttribute;

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

// Those that differ from what the standard takes without them.
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

class ClassWriter {
 public:
  ClassWriter(std::string& out, const Class& cls, const ClassContent& content)
      : out_(out), cls_(cls), content_(content) {}

  void write() {
    out_ += "<CLASS";
    appendAttribute(out_, "NAME", cls_.name());
    if (cls_.superclass() != nullptr) {
      appendAttribute(out_, "SUPERCLASS", cls_.superclass()->name());
    }
    out_ += '>';
    writeQualifiers(cls_.qualifiers());
    for (std::size_t i = 0; i < cls_.propertyCount(); ++i) {
      const Property& property = cls_.property(i);
      if (isWanted(property.declaringClass) && content_.properties.passes(property.name)) {
        writeProperty(property);
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

  void writeQualifiers(const Qualifiers& qualifiers) {
    if (content_.hasQualifiers) {
      appendQualifiers(out_, qualifiers, content_.isLocalOnly);
    }
  }

  void writeProperty(const Property& property) {
    const Pegasus::CIMProperty described(
        property.name, property.defaultValue, property.arraySize, property.referenceClass,
        content_.hasClassOrigin ? property.originClass->name() : String::EMPTY,
        cls_.isPropagated(property));
    std::string qualifiers;
    if (content_.hasQualifiers) {
      appendQualifiers(qualifiers, qualifiersIn(cls_, property.qualifiers, property.declaringClass),
                       content_.isLocalOnly);
    }
    Pegasus::xml::appendQualifiedProperty(out_, described, qualifiers,
                                          embeddedObject(property, property.defaultValue));
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
    writeQualifiers(qualifiersIn(cls_, method.qualifiers, method.declaringClass));
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
    writeQualifiers(qualifiersIn(cls_, parameter.qualifiers, declaringClass));
    out_.append("</").append(element).append(">");
  }

  std::string& out_;
  const Class& cls_;
  const ClassContent& content_;
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

}  // namespace

void appendQualifiers(std::string& out, const Qualifiers& qualifiers, bool isLocalOnly) {
  for (const auto& [qualifier, isPropagated] : qualifiers) {
    if (isLocalOnly && isPropagated) {
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

void appendClass(std::string& out, const Class& cls, const ClassContent& content) {
  ClassWriter(out, cls, content).write();
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

}  // namespace cimd
