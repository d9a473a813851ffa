#include "operations/instance_operations.h"

#include "xml/encoder.h"

#include <algorithm>

#include "model/instance_values.h"
#include "operations/parameters.h"
#include "operations/schema_operations.h"

namespace cimd {

namespace {

using Pegasus::CIMInstance;
using Pegasus::CIMValue;
using Pegasus::String;
using Pegasus::Uint32;
using Pegasus::xml::Request;

// The parts of an instance that a request wants.
class Selection {
 public:
  explicit Selection(const Request& request)
      : isDeep_(request.boolean("DeepInheritance").value_or(true)),
        hasQualifiers_(request.boolean("IncludeQualifiers").value_or(false)),
        hasOrigin_(request.boolean("IncludeClassOrigin").value_or(false)),
        properties_(request) {
    // Has no effect, but must be a boolean.
    static_cast<void>(request.boolean("LocalOnly"));
  }

  // `top` is the class that was asked for and `cls` that of the instance, a subclass perhaps:
  // without deep inheritance it is returned with the properties of `top` only. Those come first in
  // `cls`.
  void append(std::string& out, const StoredInstance& stored, const Class& cls,
              const Class& top) const {
    if (isDeep_ && !hasQualifiers_ && !hasOrigin_ && properties_.isOpen()) {
      out += stored.instanceXml;
      return;
    }
    out += "<INSTANCE";
    Pegasus::xml::appendAttribute(out, "CLASSNAME", stored.instance.getClassName());
    out += '>';
    if (hasQualifiers_) {
      appendQualifiers(out, cls.qualifiers(), false);
    }
    const std::size_t end = (isDeep_ ? cls : top).propertyCount();
    for (std::size_t i = 0; i < end; ++i) {
      const auto& property = stored.instance.getProperty(static_cast<Uint32>(i));
      if (properties_.passes(property.getName())) {
        append(out, property, cls.property(i), cls);
      }
    }
    out += "</INSTANCE>";
  }

 private:
  void append(std::string& out, const Pegasus::CIMProperty& property, const Property& declared,
              const Class& cls) const {
    std::string qualifiers;
    if (hasQualifiers_) {
      appendQualifiers(qualifiers, qualifiersIn(cls, declared.qualifiers, declared.declaringClass),
                       false);
    }
    const String& origin = hasOrigin_ ? declared.originClass->name() : String::EMPTY;
    Pegasus::xml::appendQualifiedProperty(
        out,
        {property.getName(), property.getValue(), property.getArraySize(),
         property.getReferenceClassName(), origin, property.getPropagated()},
        qualifiers, embeddedObject(declared, property.getValue()));
  }

  bool isDeep_;
  bool hasQualifiers_;
  bool hasOrigin_;
  PropertyFilter properties_;
};

// All published instances fit by default. With qualifiers, which a class has once and its instances
// then each, an answer could be many times as large.
constexpr std::size_t maxAnswer = std::size_t{128} << 20U;

// Upper bound for the answer when no qualifiers or class origin are requested, with room for the
// message around it. Without it a long answer would be copied each time that it grows.
std::size_t expectedSize(const std::vector<const StoredInstance*>& instances) {
  constexpr std::size_t around = 512;
  constexpr std::size_t aroundEach = 64;
  std::size_t size = around;
  for (const StoredInstance* stored : instances) {
    size += stored->nameXml.size() + stored->instanceXml.size() + aroundEach;
  }
  return size;
}

// The new value of the property; on the wire it has no type.
CIMValue newValue(const Request& request, const Property& property) {
  try {
    return request.value("NewValue", property.type, property.isArray);
  } catch (const Pegasus::XmlValidationError& error) {
    throwCimError(Pegasus::CIM_ERR_TYPE_MISMATCH,
                  "property " + property.name + ": " + error.getMessage());
  }
}

}  // namespace

std::string enumerateInstances(NameSpace& nameSpace, const Request& request) {
  const String className = required(request.className("ClassName"), "ClassName");
  const Selection selection(request);
  const Class& cls = nameSpace.classNamed(className);
  const auto instances = nameSpace.instances(cls);
  std::string out;
  out.reserve(expectedSize(instances));
  for (const StoredInstance* stored : instances) {
    out.append("<VALUE.NAMEDINSTANCE>").append(stored->nameXml);
    selection.append(out, *stored, nameSpace.classNamed(stored->instance.getClassName()), cls);
    out += "</VALUE.NAMEDINSTANCE>";
    if (out.size() > maxAnswer) {
      throwCimError(Pegasus::CIM_ERR_SERVER_LIMITS_EXCEEDED, "the answer is too large");
    }
  }
  return out;
}

std::string enumerateInstanceNames(NameSpace& nameSpace, const Request& request) {
  const String className = required(request.className("ClassName"), "ClassName");
  std::string out;
  for (const StoredInstance* stored : nameSpace.instances(nameSpace.classNamed(className))) {
    out += stored->nameXml;
  }
  return out;
}

std::string getInstance(NameSpace& nameSpace, const Request& request) {
  const auto path = required(request.instanceName("InstanceName"), "InstanceName");
  const Selection selection(request);
  const Class& cls = nameSpace.classNamed(path.getClassName());
  std::string out;
  selection.append(out, nameSpace.instance(path), cls, cls);
  return out;
}

std::string getProperty(NameSpace& nameSpace, const Request& request) {
  const auto path = required(request.instanceName("InstanceName"), "InstanceName");
  const String name = required(request.name("PropertyName"), "PropertyName");
  const CIMInstance& instance = nameSpace.instance(path).instance;
  const Uint32 position = instance.findProperty(name);
  if (position == Pegasus::PEG_NOT_FOUND) {
    throwCimError(Pegasus::CIM_ERR_NO_SUCH_PROPERTY, name);
  }
  std::string out;
  Pegasus::xml::appendValue(out, instance.getProperty(position).getValue());
  return out;
}

std::string createInstance(NameSpace& nameSpace, const Request& request) {
  const auto given = required(request.instance("NewInstance"), "NewInstance");
  std::string out;
  Pegasus::xml::appendInstanceName(out, nameSpace.createInstance(given, Origin::published));
  return out;
}

std::string modifyInstance(NameSpace& nameSpace, const Request& request) {
  const auto given = required(request.namedInstance("ModifiedInstance"), "ModifiedInstance");
  static_cast<void>(request.boolean("IncludeQualifiers"));
  nameSpace.modifyInstance(given, request.propertyList("PropertyList"));
  return {};
}

std::string setProperty(NameSpace& nameSpace, const Request& request) {
  const auto path = required(request.instanceName("InstanceName"), "InstanceName");
  const String name = required(request.name("PropertyName"), "PropertyName");
  const CIMInstance& current = nameSpace.instance(path).instance;
  const Class& cls = nameSpace.classNamed(current.getClassName());
  const auto position = cls.findProperty(name);
  if (!position) {
    throwCimError(Pegasus::CIM_ERR_NO_SUCH_PROPERTY, name);
  }
  CIMInstance changed(cls.name());
  changed.setPath(current.getPath());
  changed.addProperty(Pegasus::CIMProperty(name, newValue(request, cls.property(*position))));
  nameSpace.modifyInstance(changed, Pegasus::CIMPropertyList());
  return {};
}

std::string deleteInstance(NameSpace& nameSpace, const Request& request) {
  nameSpace.deleteInstance(required(request.instanceName("InstanceName"), "InstanceName"));
  return {};
}

}  // namespace cimd
