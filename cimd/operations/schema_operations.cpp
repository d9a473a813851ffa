#include "operations/schema_operations.h"

#include "xml/object_encoder.h"

#include "operations/parameters.h"
#include "operations/schema_encoder.h"

namespace cimd {

namespace {

using Pegasus::String;
using Pegasus::xml::Request;

// The parameters that GetClass and EnumerateClasses share, with the standard's defaults.
ClassContent classContent(const Request& request, const PropertyFilter& filter) {
  return {request.boolean("LocalOnly").value_or(true),
          request.boolean("IncludeQualifiers").value_or(true),
          request.boolean("IncludeClassOrigin").value_or(false), filter};
}

// What is below the class that the request names, or the classes without superclass and what is
// below them where it names none.
std::vector<const Class*> enumerated(const NameSpace& nameSpace, const Request& request) {
  const auto name = request.className("ClassName");
  const bool isDeep = request.boolean("DeepInheritance").value_or(false);
  const auto& top =
      name ? nameSpace.classNamed(*name).subclasses() : nameSpace.schema().topClasses();
  std::vector<const Class*> classes(top.begin(), top.end());
  for (std::size_t next = 0; isDeep && next < classes.size(); ++next) {
    const auto& below = classes[next]->subclasses();
    classes.insert(classes.end(), below.begin(), below.end());
  }
  return classes;
}

}  // namespace

std::string getClass(NameSpace& nameSpace, const Request& request) {
  const String name = required(request.className("ClassName"), "ClassName");
  const PropertyFilter filter(request);
  const ClassContent content = classContent(request, filter);
  const Class* cls = nameSpace.schema().find(name);
  if (cls == nullptr) {
    throwCimError(Pegasus::CIM_ERR_NOT_FOUND, name);
  }
  std::string out;
  appendClass(out, *cls, content);
  return out;
}

std::string enumerateClasses(NameSpace& nameSpace, const Request& request) {
  const PropertyFilter everything(request);
  const ClassContent content = classContent(request, everything);
  std::string out;
  for (const Class* cls : enumerated(nameSpace, request)) {
    appendClass(out, *cls, content);
    checkAnswerSize(out);
  }
  return out;
}

std::string enumerateClassNames(NameSpace& nameSpace, const Request& request) {
  std::string out;
  for (const Class* cls : enumerated(nameSpace, request)) {
    Pegasus::xml::appendClassName(out, cls->name());
  }
  return out;
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

std::string enumerateQualifiers(NameSpace& nameSpace, const Request& /*request*/) {
  std::string out;
  for (const QualifierDeclaration& declaration : nameSpace.schema().qualifiers()) {
    appendQualifierDeclaration(out, declaration);
  }
  return out;
}

}  // namespace cimd
