#include "operations/dispatcher.h"

#include "text/ascii.h"
#include "xml/response.h"

#include <algorithm>
#include <array>
#include <new>
#include <set>
#include <span>

#include "model/errors.h"
#include "model/names.h"
#include "operations/computed_name_space.h"
#include "operations/instance_operations.h"
#include "operations/schema_operations.h"

namespace cimd {

namespace {

using Pegasus::String;
using Pegasus::text::equalNoCase;
using Pegasus::xml::Request;

constexpr std::array<std::string_view, 6> enumerateParameters{
    "ClassName",         "LocalOnly",          "DeepInheritance",
    "IncludeQualifiers", "IncludeClassOrigin", "PropertyList"};
constexpr std::array<std::string_view, 1> className{"ClassName"};
constexpr std::array<std::string_view, 2> enumerateClassNamesParameters{"ClassName",
                                                                        "DeepInheritance"};
constexpr std::array<std::string_view, 5> enumerateClassesParameters{
    "ClassName", "LocalOnly", "DeepInheritance", "IncludeQualifiers", "IncludeClassOrigin"};
constexpr std::array<std::string_view, 5> getClassParameters{
    "ClassName", "LocalOnly", "IncludeQualifiers", "IncludeClassOrigin", "PropertyList"};
constexpr std::array<std::string_view, 5> getInstanceParameters{
    "InstanceName", "LocalOnly", "IncludeQualifiers", "IncludeClassOrigin", "PropertyList"};
constexpr std::array<std::string_view, 2> getPropertyParameters{"InstanceName", "PropertyName"};
constexpr std::array<std::string_view, 3> setPropertyParameters{"InstanceName", "PropertyName",
                                                                "NewValue"};
constexpr std::array<std::string_view, 1> newInstance{"NewInstance"};
constexpr std::array<std::string_view, 3> modifyInstanceParameters{
    "ModifiedInstance", "IncludeQualifiers", "PropertyList"};
constexpr std::array<std::string_view, 1> instanceName{"InstanceName"};
constexpr std::array<std::string_view, 1> qualifierName{"QualifierName"};

enum class Effect { reads, changes };

struct Operation {
  std::string_view name;
  Effect effect;
  std::span<const std::string_view> parameters;
  std::string (*run)(NameSpace& nameSpace, const Request& request);
};

constexpr std::array<Operation, 13> operations{{
    {"EnumerateInstances", Effect::reads, enumerateParameters, enumerateInstances},
    {"EnumerateInstanceNames", Effect::reads, className, enumerateInstanceNames},
    {"GetInstance", Effect::reads, getInstanceParameters, getInstance},
    {"GetProperty", Effect::reads, getPropertyParameters, getProperty},
    {"SetProperty", Effect::changes, setPropertyParameters, setProperty},
    {"CreateInstance", Effect::changes, newInstance, createInstance},
    {"ModifyInstance", Effect::changes, modifyInstanceParameters, modifyInstance},
    {"DeleteInstance", Effect::changes, instanceName, deleteInstance},
    {"GetClass", Effect::reads, getClassParameters, getClass},
    {"EnumerateClasses", Effect::reads, enumerateClassesParameters, enumerateClasses},
    {"EnumerateClassNames", Effect::reads, enumerateClassNamesParameters, enumerateClassNames},
    {"GetQualifier", Effect::reads, qualifierName, getQualifier},
    {"EnumerateQualifiers", Effect::reads, {}, enumerateQualifiers},
}};

void checkParameters(const Request& request, const Operation& operation) {
  std::set<FoldedName> seen;
  for (const std::string& given : request.parameterNames()) {
    const bool isKnown =
        std::any_of(operation.parameters.begin(), operation.parameters.end(),
                    [&](std::string_view known) { return equalNoCase(known, given); });
    if (!isKnown) {
      throwCimError(Pegasus::CIM_ERR_INVALID_PARAMETER, "unknown parameter " + given);
    }
    if (!seen.insert(fold(given)).second) {
      throwCimError(Pegasus::CIM_ERR_INVALID_PARAMETER, "duplicate parameter " + given);
    }
  }
}

}  // namespace

std::string Dispatcher::run(const Request& request, Caller& caller) {
  const auto operation = std::find_if(
      operations.begin(), operations.end(),
      [&](const Operation& known) { return equalNoCase(known.name, request.method()); });
  if (request.kind() != Pegasus::xml::CallKind::intrinsic || operation == operations.end()) {
    throwCimError(Pegasus::CIM_ERR_NOT_SUPPORTED, request.method());
  }
  if (operation->effect == Effect::changes) {
    access_.checkMayChange(caller, operation->name);
  }
  const String target = request.targetClass();
  const auto computed = computedNameSpace(repository_, request.nameSpace(), target);
  if (computed && operation->effect == Effect::changes) {
    throwCimError(Pegasus::CIM_ERR_NOT_SUPPORTED, "class " + target + " is read-only");
  }
  NameSpace& nameSpace = computed ? *computed : repository_.nameSpace(request.nameSpace());
  checkParameters(request, *operation);
  return operation->run(nameSpace, request);
}

// CIM_ERR_FAILED is the server's own trouble, such as a full disk, so the administrator sees it.
// All other errors are the client's.
std::string Dispatcher::refuse(const Request& request, Pegasus::CIMStatusCode code,
                               const String& description) const {
  const LogLevel level = code == Pegasus::CIM_ERR_FAILED ? LogLevel::error : LogLevel::debug;
  if (log_.isOn(level)) {
    log_.write(level, request.method() + " in " + request.nameSpace().toUtf8() + ": " +
                          description.toUtf8());
  }
  return Pegasus::xml::encodeErrorResponse(request.messageId(), request.method(), code, description,
                                           request.kind());
}

std::string Dispatcher::answer(const Request& request, Caller& caller) {
  const auto fail = [&](const String& text) {
    return refuse(request, Pegasus::CIM_ERR_FAILED,
                  describeCimError(Pegasus::CIM_ERR_FAILED, text));
  };
  try {
    std::string result = run(request, caller);
    if (log_.isOn(LogLevel::debug)) {
      log_.debug(request.method() + " in " + request.nameSpace().toUtf8());
    }
    return Pegasus::xml::encodeResponse(request.messageId(), request.method(), std::move(result));
  } catch (const Pegasus::CIMException& error) {
    return refuse(request, error.getCode(), error.getDescription());
  } catch (const Pegasus::XmlValidationError& error) {
    // A parameter is not what CIM-XML has there.
    return refuse(request, Pegasus::CIM_ERR_INVALID_PARAMETER,
                  describeCimError(Pegasus::CIM_ERR_INVALID_PARAMETER, error.getMessage()));
  } catch (const Pegasus::Exception& error) {
    return fail(error.getMessage());
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    return fail(error.what());
  }
}

}  // namespace cimd
