#include "operations/operations.h"

#include "xml/encoder.h"

#include <algorithm>

#include "model/instance_values.h"

namespace cimd {

namespace {

using Pegasus::CIMInstance;
using Pegasus::CIMValue;
using Pegasus::String;
using Pegasus::Uint32;
using Pegasus::xml::Request;

// The parts of instances that a request wants.
class Selection {
 public:
  explicit Selection(const Request& request)
      : isDeep_(request.boolean("DeepInheritance").value_or(true)),
        content_{false, request.boolean("IncludeQualifiers").value_or(false),
                 request.boolean("IncludeClassOrigin").value_or(false), PropertyFilter(request)} {
    // Has no effect, but must be a boolean.
    static_cast<void>(request.boolean("LocalOnly"));
  }

  // `top` is the class that was asked for and `cls` that of the instance, a subclass perhaps:
  // without deep inheritance it is returned with the properties of `top` only. Those come first in
  // `cls`.
  void append(std::string& out, const StoredInstance& stored, const Class& cls,
              const Class& top) const {
    const bool isPlain = !content_.hasQualifiers && !content_.hasClassOrigin;
    if (isDeep_ && isPlain && content_.properties.isOpen()) {
      out += stored.instanceXml;
      return;
    }
    out += "<INSTANCE";
    Pegasus::xml::appendAttribute(out, "CLASSNAME", stored.instance.getClassName());
    out += '>';
    appendQualifiers(out, cls.qualifiers(), content_);
    const std::size_t end = (isDeep_ ? cls : top).propertyCount();
    for (std::size_t i = 0; i < end; ++i) {
      const CIMValue& value = stored.instance.getProperty(static_cast<Uint32>(i)).getValue();
      if (content_.properties.passes(cls.property(i).name)) {
        appendProperty(out, cls, cls.property(i), value, content_);
      }
    }
    out += "</INSTANCE>";
  }

 private:
  bool isDeep_;
  Content content_;
};

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

Listing enumerateInstances(NameSpace& nameSpace, const Request& request) {
  const String className = required(request.className("ClassName"), "ClassName");
  const Selection selection(request);
  const Class& cls = nameSpace.classNamed(className);
  auto instances = nameSpace.instances(cls);
  constexpr std::size_t aroundEach = 64;
  Listing listing;
  listing.count = instances.size();
  for (const auto& stored : instances) {
    listing.expectedSize += stored->size() + aroundEach;
  }
  listing.append = [&nameSpace, &cls, selection, instances = std::move(instances)](
                       std::string& out, std::size_t number) {
    const StoredInstance& stored = *instances[number];
    out.append("<VALUE.NAMEDINSTANCE>").append(stored.nameXml);
    selection.append(out, stored, nameSpace.classNamed(stored.instance.getClassName()), cls);
    out += "</VALUE.NAMEDINSTANCE>";
  };
  return listing;
}

Listing enumerateInstanceNames(NameSpace& nameSpace, const Request& request) {
  const String className = required(request.className("ClassName"), "ClassName");
  auto instances = nameSpace.instances(nameSpace.classNamed(className));
  Listing listing;
  listing.count = instances.size();
  for (const auto& stored : instances) {
    listing.expectedSize += stored->nameXml.size();
  }
  listing.append = [instances = std::move(instances)](std::string& out, std::size_t number) {
    out += instances[number]->nameXml;
  };
  return listing;
}

Listing getInstance(NameSpace& nameSpace, const Request& request) {
  const auto path = required(request.instanceName("InstanceName"), "InstanceName");
  const Selection selection(request);
  const Class& cls = nameSpace.classNamed(path.getClassName());
  Listing listing;
  listing.count = 1;
  const auto stored = nameSpace.instance(path);
  listing.expectedSize = stored->size();
  listing.append = [selection, &cls, stored](std::string& out, std::size_t /*number*/) {
    selection.append(out, *stored, cls, cls);
  };
  return listing;
}

std::string getProperty(NameSpace& nameSpace, const Request& request) {
  const auto path = required(request.instanceName("InstanceName"), "InstanceName");
  const String name = required(request.name("PropertyName"), "PropertyName");
  const auto stored = nameSpace.instance(path);
  const CIMInstance& instance = stored->instance;
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
  const auto stored = nameSpace.instance(path);
  const CIMInstance& current = stored->instance;
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
