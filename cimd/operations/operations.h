// The operations of DMTF DSP0200, and what they share.
#pragma once

#include "xml/request.h"

#include <memory>
#include <optional>
#include <set>
#include <string>

#include "model/errors.h"
#include "model/names.h"
#include "model/repository.h"
#include "operations/answer.h"

namespace cimd {

// Each operation takes the namespace that the request names and the request, and returns the
// content of IRETURNVALUE in CIM-XML, or as a listing what may be long. Each throws CIMException
// with the standard's code for the failure, and XmlValidationError for a parameter of the wrong
// kind.

// --- on instances

// LocalOnly is accepted and has no effect: the standard deprecates it for instances, and servers
// that follow it leave out what clients need. Qualifiers of instances are those of their class.
Listing enumerateInstances(NameSpace& nameSpace, const Pegasus::xml::Request& request);
Listing enumerateInstanceNames(NameSpace& nameSpace, const Pegasus::xml::Request& request);
Listing getInstance(NameSpace& nameSpace, const Pegasus::xml::Request& request);
std::string getProperty(NameSpace& nameSpace, const Pegasus::xml::Request& request);
std::string createInstance(NameSpace& nameSpace, const Pegasus::xml::Request& request);
std::string modifyInstance(NameSpace& nameSpace, const Pegasus::xml::Request& request);
std::string setProperty(NameSpace& nameSpace, const Pegasus::xml::Request& request);
std::string deleteInstance(NameSpace& nameSpace, const Pegasus::xml::Request& request);

// --- on classes and qualifier declarations: they only read, since the schema comes from files

std::string getClass(NameSpace& nameSpace, const Pegasus::xml::Request& request);
Listing enumerateClasses(NameSpace& nameSpace, const Pegasus::xml::Request& request);
Listing enumerateClassNames(NameSpace& nameSpace, const Pegasus::xml::Request& request);
std::string getQualifier(NameSpace& nameSpace, const Pegasus::xml::Request& request);
Listing enumerateQualifiers(NameSpace& nameSpace, const Pegasus::xml::Request& request);

// --- namespaces

// Clients find out which namespaces there are by instances that nobody declares. CIM_Namespace and
// CIM_ObjectManager are in the namespaces interop and root/PG_InterOp, where clients look for them.
// __Namespace, which early versions of DSP0200 had, is in every namespace and at every level above
// one ("root"), and has the names of the next level.
//
// A namespace with these instances as of now, if a request about `className` in `nameSpace` is for
// them; otherwise null. `className` is empty for a request about no class. Declared classes and
// namespaces come first: in a declared namespace only the three classes are computed, and only
// those that it does not declare.
std::unique_ptr<NameSpace> computedNameSpace(const Repository& repository,
                                             const Pegasus::String& nameSpace,
                                             const Pegasus::String& className);

// --- parameters

// Throws CIMException (INVALID_PARAMETER) when the parameter is missing.
template <typename T>
T required(std::optional<T> value, const char* parameter) {
  if (!value) {
    throwCimError(Pegasus::CIM_ERR_INVALID_PARAMETER,
                  Pegasus::String("parameter ") + parameter + " is missing");
  }
  return *std::move(value);
}

// The properties that a request wants: all of them, or those in its PropertyList. Names in the list
// that the class does not have are ignored, as DSP0200 says.
class PropertyFilter {
 public:
  explicit PropertyFilter(const Pegasus::xml::Request& request) {
    const Pegasus::CIMPropertyList list = request.propertyList("PropertyList");
    if (!list.isNull()) {
      wanted_.emplace();
      for (Pegasus::Uint32 i = 0; i < list.size(); ++i) {
        wanted_->insert(fold(list[i]));
      }
    }
  }

  bool isOpen() const { return !wanted_; }
  bool passes(const Pegasus::String& name) const {
    return !wanted_ || wanted_->contains(fold(name));
  }

 private:
  std::optional<std::set<FoldedName>> wanted_;
};

// The parts of classes and instances that a request wants.
struct Content {
  // Only what a class declares or overrides itself.
  bool isLocalOnly;
  bool hasQualifiers;
  bool hasClassOrigin;
  PropertyFilter properties;
};

// --- CIM-XML

// Appends a QUALIFIER.DECLARATION.
void appendQualifierDeclaration(std::string& out, const QualifierDeclaration& declaration);
// Appends a QUALIFIER for each, without the inherited ones if only local ones are wanted; nothing
// if none are wanted.
void appendQualifiers(std::string& out, const Qualifiers& qualifiers, const Content& content);
// Appends a property of the class with this value: its default, or that of an instance.
void appendProperty(std::string& out, const Class& cls, const Property& property,
                    const Pegasus::CIMValue& value, const Content& content);

}  // namespace cimd
