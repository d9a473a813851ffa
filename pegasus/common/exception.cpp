#include <Pegasus/Common/Exception.h>

#include <string>
#include <utility>

namespace Pegasus {

// No default case, so that the compiler reports a code that is forgotten here.
const char* cimStatusCodeToString(CIMStatusCode code) {
#define NAME_OF(code) \
  case code:          \
    return #code
  switch (code) {
    NAME_OF(CIM_ERR_SUCCESS);
    NAME_OF(CIM_ERR_FAILED);
    NAME_OF(CIM_ERR_ACCESS_DENIED);
    NAME_OF(CIM_ERR_INVALID_NAMESPACE);
    NAME_OF(CIM_ERR_INVALID_PARAMETER);
    NAME_OF(CIM_ERR_INVALID_CLASS);
    NAME_OF(CIM_ERR_NOT_FOUND);
    NAME_OF(CIM_ERR_NOT_SUPPORTED);
    NAME_OF(CIM_ERR_CLASS_HAS_CHILDREN);
    NAME_OF(CIM_ERR_CLASS_HAS_INSTANCES);
    NAME_OF(CIM_ERR_INVALID_SUPERCLASS);
    NAME_OF(CIM_ERR_ALREADY_EXISTS);
    NAME_OF(CIM_ERR_NO_SUCH_PROPERTY);
    NAME_OF(CIM_ERR_TYPE_MISMATCH);
    NAME_OF(CIM_ERR_QUERY_LANGUAGE_NOT_SUPPORTED);
    NAME_OF(CIM_ERR_INVALID_QUERY);
    NAME_OF(CIM_ERR_METHOD_NOT_AVAILABLE);
    NAME_OF(CIM_ERR_METHOD_NOT_FOUND);
    NAME_OF(CIM_ERR_NAMESPACE_NOT_EMPTY);
    NAME_OF(CIM_ERR_INVALID_ENUMERATION_CONTEXT);
    NAME_OF(CIM_ERR_INVALID_OPERATION_TIMEOUT);
    NAME_OF(CIM_ERR_PULL_HAS_BEEN_ABANDONED);
    NAME_OF(CIM_ERR_PULL_CANNOT_BE_ABANDONED);
    NAME_OF(CIM_ERR_FILTERED_ENUMERATION_NOT_SUPPORTED);
    NAME_OF(CIM_ERR_CONTINUATION_ON_ERROR_NOT_SUPPORTED);
    NAME_OF(CIM_ERR_SERVER_LIMITS_EXCEEDED);
    NAME_OF(CIM_ERR_SERVER_IS_SHUTTING_DOWN);
  }
#undef NAME_OF
  return "CIM_ERR_UNKNOWN";
}

namespace {

String describeHttpError(Uint32 httpStatus, const String& reason, const String& cimError,
                         const String& errorDetail) {
  String text = String("HTTP status ") + String(std::to_string(httpStatus).c_str());
  for (const String* part : {&reason, &cimError, &errorDetail}) {
    if (part->size() > 0) {
      text += String(part == &reason ? " " : ": ") + *part;
    }
  }
  return text;
}

String describeCimError(CIMStatusCode code, const String& description) {
  const String name = cimStatusCodeToString(code);
  return description.size() == 0 ? name : name + ": " + description;
}

}  // namespace

Exception::Exception(String message) : message_(std::move(message)), text_(message_.toUtf8()) {}

IndexOutOfBoundsException::IndexOutOfBoundsException() : Exception("index out of bounds") {}

TypeMismatchException::TypeMismatchException() : Exception("the value has another type") {}

TruncatedCharacter::TruncatedCharacter() : Exception("a character does not fit in 8 bits") {}

NullPointer::NullPointer() : Exception("null pointer in place of a text") {}

NotConnectedException::NotConnectedException() : Exception("not connected") {}

AlreadyConnectedException::AlreadyConnectedException() : Exception("already connected") {}

ConnectionTimeoutException::ConnectionTimeoutException()
    : Exception("the operation was not finished in time") {}

CIMClientHTTPErrorException::CIMClientHTTPErrorException(Uint32 httpStatus, const String& reason,
                                                         String cimError, String errorDetail)
    : Exception(describeHttpError(httpStatus, reason, cimError, errorDetail)),
      httpStatus_(httpStatus),
      cimError_(std::move(cimError)),
      errorDetail_(std::move(errorDetail)) {}

CIMException::CIMException(CIMStatusCode code, const String& description)
    : Exception(describeCimError(code, description)), code_(code), description_(description) {}

}  // namespace Pegasus
