#include <Pegasus/Common/Exception.h>

#include <string>
#include <utility>

namespace Pegasus {

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
