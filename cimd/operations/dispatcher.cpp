#include "operations/dispatcher.h"

#include "text/ascii.h"
#include "xml/response.h"

#include <algorithm>
#include <array>
#include <new>
#include <set>

#include "model/errors.h"
#include "model/names.h"
#include "operations/operations.h"

namespace cimd {

namespace {

using Pegasus::String;
using Pegasus::text::equalNoCase;
using Pegasus::xml::Request;

enum class Effect { reads, changes };
using Result = std::variant<std::string, Listing>;

struct Operation {
  std::string_view name;
  Effect effect;
  Result (*run)(NameSpace& nameSpace, const Request& request);
  // The rest is empty; no parameter of a request has an empty name.
  std::array<std::string_view, 6> parameters = {};
};

template <auto operation>
Result as(NameSpace& nameSpace, const Request& request) {
  return operation(nameSpace, request);
}

constexpr std::array<Operation, 13> operations{{
    {"EnumerateInstances",
     Effect::reads,
     as<enumerateInstances>,
     {"ClassName", "LocalOnly", "DeepInheritance", "IncludeQualifiers", "IncludeClassOrigin",
      "PropertyList"}},
    {"EnumerateInstanceNames", Effect::reads, as<enumerateInstanceNames>, {"ClassName"}},
    {"GetInstance",
     Effect::reads,
     as<getInstance>,
     {"InstanceName", "LocalOnly", "IncludeQualifiers", "IncludeClassOrigin", "PropertyList"}},
    {"GetProperty", Effect::reads, as<getProperty>, {"InstanceName", "PropertyName"}},
    {"SetProperty", Effect::changes, as<setProperty>, {"InstanceName", "PropertyName", "NewValue"}},
    {"CreateInstance", Effect::changes, as<createInstance>, {"NewInstance"}},
    {"ModifyInstance",
     Effect::changes,
     as<modifyInstance>,
     {"ModifiedInstance", "IncludeQualifiers", "PropertyList"}},
    {"DeleteInstance", Effect::changes, as<deleteInstance>, {"InstanceName"}},
    {"GetClass",
     Effect::reads,
     as<getClass>,
     {"ClassName", "LocalOnly", "IncludeQualifiers", "IncludeClassOrigin", "PropertyList"}},
    {"EnumerateClasses",
     Effect::reads,
     as<enumerateClasses>,
     {"ClassName", "LocalOnly", "DeepInheritance", "IncludeQualifiers", "IncludeClassOrigin"}},
    {"EnumerateClassNames",
     Effect::reads,
     as<enumerateClassNames>,
     {"ClassName", "DeepInheritance"}},
    {"GetQualifier", Effect::reads, as<getQualifier>, {"QualifierName"}},
    {"EnumerateQualifiers", Effect::reads, as<enumerateQualifiers>},
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

// One part of an answer takes some milliseconds: a small instance takes some microseconds, and a
// large one in proportion to its size.
constexpr std::size_t partElements = 64;
constexpr std::size_t partBytes = std::size_t{256} << 10U;
// All published instances fit by default. With qualifiers, which each instance then repeats, an
// answer could be many times as large.
constexpr std::size_t maxAnswer = std::size_t{128} << 20U;

bool isLong(const Listing& listing) {
  return listing.count > partElements || listing.expectedSize > partBytes;
}

// A text that grows is copied each time that it has no room; room that is not used takes no memory.
void makeRoom(std::string& text, const Listing& listing) {
  constexpr std::size_t aroundAll = 512;
  text.reserve(2 * listing.expectedSize + aroundAll);
}

}  // namespace

Result Dispatcher::run(const Request& request, Caller& caller) {
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
  const std::shared_ptr<NameSpace> computed =
      computedNameSpace(repository_, request.nameSpace(), target);
  if (computed && operation->effect == Effect::changes) {
    throwCimError(Pegasus::CIM_ERR_NOT_SUPPORTED, "class " + target + " is read-only");
  }
  const auto nameSpace = computed ? computed : repository_.shared(request.nameSpace());
  checkParameters(request, *operation);
  Result result = operation->run(*nameSpace, request);
  if (auto* listing = std::get_if<Listing>(&result)) {
    listing->nameSpace = nameSpace;
  }
  return result;
}

// CIM_ERR_FAILED is the server's own trouble, such as a full disk, so the administrator sees it.
// All other errors are the client's.
std::string Dispatcher::refuse(const Call& call, Pegasus::CIMStatusCode code,
                               const String& description) const {
  const LogLevel level = code == Pegasus::CIM_ERR_FAILED ? LogLevel::error : LogLevel::debug;
  if (log_.isOn(level)) {
    log_.write(level, call.method + " in " + call.nameSpace.toUtf8() + ": " + description.toUtf8());
  }
  return Pegasus::xml::encodeErrorResponse(call.messageId, call.method, code, description,
                                           call.kind);
}

std::string Dispatcher::textOrError(const Call& call,
                                    const std::function<std::string()>& write) const {
  const auto fail = [&](const String& text) {
    return refuse(call, Pegasus::CIM_ERR_FAILED, describeCimError(Pegasus::CIM_ERR_FAILED, text));
  };
  try {
    return write();
  } catch (const Pegasus::CIMException& error) {
    return refuse(call, error.getCode(), error.getDescription());
  } catch (const Pegasus::XmlValidationError& error) {
    // A parameter is not what CIM-XML has there.
    return refuse(call, Pegasus::CIM_ERR_INVALID_PARAMETER,
                  describeCimError(Pegasus::CIM_ERR_INVALID_PARAMETER, error.getMessage()));
  } catch (const Pegasus::Exception& error) {
    return fail(error.getMessage());
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    return fail(error.what());
  }
}

std::optional<Answer> Dispatcher::answer(const Request& request, Caller& caller, Length length) {
  const Call call{request.messageId(), request.method(), request.nameSpace(), request.kind()};
  Listing listing;
  Answer answer;
  answer.text = textOrError(call, [&] {
    Result result = run(request, caller);
    if (log_.isOn(LogLevel::debug)) {
      log_.debug(call.method + " in " + call.nameSpace.toUtf8());
    }
    if (std::holds_alternative<Listing>(result)) {
      listing = std::get<Listing>(std::move(result));
      return std::string();
    }
    return Pegasus::xml::encodeResponse(call.messageId, call.method,
                                        std::get<std::string>(std::move(result)));
  });
  if (!listing.append) {
    return answer;
  }
  if (length == Length::brief && isLong(listing)) {
    return std::nullopt;
  }
  makeRoom(answer.text, listing);
  answer.more = [this, call, listing = std::move(listing), next = std::size_t{0}](
                    std::string& text) mutable { return appendPart(call, listing, next, text); };
  if (!answer.more(answer.text)) {
    answer.more = nullptr;
  }
  return answer;
}

bool Dispatcher::appendPart(const Call& call, const Listing& listing, std::size_t& next,
                            std::string& text) const {
  bool isUnfinished = false;
  text = textOrError(call, [&] {
    const std::size_t last = std::min(listing.count, next + partElements);
    for (const std::size_t full = text.size() + partBytes; next < last && text.size() < full;) {
      listing.append(text, next++);
    }
    if (text.size() > maxAnswer) {
      throwCimError(Pegasus::CIM_ERR_SERVER_LIMITS_EXCEEDED, "the answer is too large");
    }
    isUnfinished = next < listing.count;
    return isUnfinished
               ? std::move(text)
               : Pegasus::xml::encodeResponse(call.messageId, call.method, std::move(text));
  });
  return isUnfinished;
}

}  // namespace cimd
