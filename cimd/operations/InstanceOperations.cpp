#include "cimd/operations/InstanceOperations.h"

#include <pegasus/xml/ObjectEncoder.h>

#include <optional>
#include <unordered_set>

#include "cimd/model/CimErrors.h"

namespace cimd {

namespace {

using Pegasus::CIMInstance;
using Pegasus::CIMPropertyList;
using Pegasus::String;
using Pegasus::Uint32;
using Pegasus::xml::Request;

template <typename T>
T required(std::optional<T> value, const char* parameter) {
  if (!value) {
    throwCimError(Pegasus::CIM_ERR_INVALID_PARAMETER,
                  String("parameter ") + parameter + " is missing");
  }
  return *std::move(value);
}

// What of an instance is to be returned.
class Selection {
 public:
  explicit Selection(const Request& request)
      : isDeep_(request.boolean("DeepInheritance").value_or(true)),
        withOrigin_(request.boolean("IncludeClassOrigin").value_or(false)) {
    // Both are checked like the others, though nothing depends on them.
    static_cast<void>(request.boolean("LocalOnly"));
    static_cast<void>(request.boolean("IncludeQualifiers"));
    const CIMPropertyList list = request.propertyList("PropertyList");
    if (!list.isNull()) {
      wanted_.emplace();
      for (Uint32 i = 0; i < list.size(); ++i) {
        wanted_->insert(fold(list[i]));
      }
    }
  }

  bool isWhole() const { return isDeep_ && !withOrigin_ && !wanted_; }

  // `top` is the class that was asked for and `cls` that of the instance, a subclass perhaps:
  // without deep inheritance it is returned with the properties of `top` only. Those come first in
  // `cls`.
  CIMInstance apply(const CIMInstance& instance, const CimClass& cls, const CimClass& top) const {
    CIMInstance selected(instance.getClassName());
    selected.setPath(instance.getPath());
    const std::size_t end = (isDeep_ ? cls : top).propertyCount();
    for (std::size_t i = 0; i < end; ++i) {
      const Pegasus::CIMProperty& property = instance.getProperty(static_cast<Uint32>(i));
      if (!wanted_ || wanted_->contains(fold(property.getName()))) {
        selected.addProperty(withOrigin_ ? originated(property, cls.property(i)) : property);
      }
    }
    return selected;
  }

 private:
  static Pegasus::CIMProperty originated(const Pegasus::CIMProperty& property,
                                         const CimProperty& declared) {
    return {property.getName(),           property.getValue(),
            property.getArraySize(),      property.getReferenceClassName(),
            declared.originClass->name(), property.getPropagated()};
  }

  bool isDeep_;
  bool withOrigin_;
  // Absent when every property is wanted.
  std::optional<std::unordered_set<FoldedName>> wanted_;
};

}  // namespace

std::string enumerateInstances(NameSpace& nameSpace, const Request& request) {
  const String className = required(request.className("ClassName"), "ClassName");
  const Selection selection(request);
  const CimClass& cls = nameSpace.classNamed(className);
  std::string out;
  for (const CIMInstance* instance : nameSpace.instances(cls)) {
    if (selection.isWhole()) {
      Pegasus::xml::appendNamedInstance(out, *instance);
    } else {
      const CimClass& own = nameSpace.classNamed(instance->getClassName());
      Pegasus::xml::appendNamedInstance(out, selection.apply(*instance, own, cls));
    }
  }
  return out;
}

std::string enumerateInstanceNames(NameSpace& nameSpace, const Request& request) {
  const String className = required(request.className("ClassName"), "ClassName");
  std::string out;
  for (const CIMInstance* instance : nameSpace.instances(nameSpace.classNamed(className))) {
    Pegasus::xml::appendInstanceName(out, instance->getPath());
  }
  return out;
}

std::string getInstance(NameSpace& nameSpace, const Request& request) {
  const auto path = required(request.instanceName("InstanceName"), "InstanceName");
  const Selection selection(request);
  const CimClass& cls = nameSpace.classNamed(path.getClassName());
  const CIMInstance& instance = nameSpace.instance(path);
  std::string out;
  Pegasus::xml::appendInstance(
      out, selection.isWhole() ? instance : selection.apply(instance, cls, cls));
  return out;
}

std::string getProperty(NameSpace& nameSpace, const Request& request) {
  const auto path = required(request.instanceName("InstanceName"), "InstanceName");
  const String name = required(request.text("PropertyName"), "PropertyName");
  const CIMInstance& instance = nameSpace.instance(path);
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
  Pegasus::xml::appendInstanceName(out, nameSpace.createInstance(given));
  return out;
}

std::string deleteInstance(NameSpace& nameSpace, const Request& request) {
  nameSpace.deleteInstance(required(request.instanceName("InstanceName"), "InstanceName"));
  return {};
}

}  // namespace cimd
