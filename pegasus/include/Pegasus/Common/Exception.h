// Everything that the client library throws, under one root, which is a std::exception: one catch
// is enough for all that can go wrong. std::bad_alloc apart, no other type leaves the library.
#pragma once

#include <Pegasus/Common/CIMStatusCode.h>
#include <Pegasus/Common/String.h>

#include <exception>
#include <string>

namespace Pegasus {

// The root. The message says what went wrong, for a log or a developer; callers tell failures apart
// by type, never by this text.
class Exception : public std::exception {
 public:
  explicit Exception(String message);
  Exception(const Exception&) = default;
  Exception& operator=(const Exception&) = default;
  Exception(Exception&&) = default;
  Exception& operator=(Exception&&) = default;
  ~Exception() override = default;
  const String& getMessage() const { return message_; }
  // The message as UTF-8.
  const char* what() const noexcept override { return text_.c_str(); }

 private:
  String message_;
  std::string text_;
};

// --- Misuse of a value: a retry never helps.

// A position at or past the end of a String, an Array or the properties of an instance.
class IndexOutOfBoundsException : public Exception {
 public:
  IndexOutOfBoundsException();
};

// A value was asked for as a type that it does not have.
class TypeMismatchException : public Exception {
 public:
  TypeMismatchException();
};

// A character that does not fit in 8 bits.
class TruncatedCharacter : public Exception {
 public:
  TruncatedCharacter();
};

// A null pointer where a text was expected.
class NullPointer : public Exception {
 public:
  NullPointer();
};

// Text that cannot be what it was given as: a date and time, a name, a character XML cannot carry.
class InvalidValueException : public Exception {
 public:
  using Exception::Exception;
};

// --- The connection.

// No TCP connection to the server could be made. A later try may succeed.
class CannotConnectException : public Exception {
 public:
  using Exception::Exception;
};

// An operation on a client that is not connected.
class NotConnectedException : public Exception {
 public:
  NotConnectedException();
};

// connect() on a client that is connected already.
class AlreadyConnectedException : public Exception {
 public:
  AlreadyConnectedException();
};

// The operation was not finished within the client's time-out. The connection has been dropped; the
// server may or may not have carried out the request.
class ConnectionTimeoutException : public Exception {
 public:
  ConnectionTimeoutException();
};

// --- The answer.

// Bytes that are not an HTTP response, or a connection that ended before or within one.
class CIMClientMalformedHTTPException : public Exception {
 public:
  using Exception::Exception;
};

// An HTTP status other than 200 (DSP0200, HTTP error responses).
class CIMClientHTTPErrorException : public Exception {
 public:
  CIMClientHTTPErrorException(Uint32 httpStatus, const String& reason, String cimError,
                              String errorDetail);
  Uint32 getHttpStatus() const { return httpStatus_; }
  // The CIMError header and the server's own detail header, decoded; empty where there was none.
  const String& getCIMError() const { return cimError_; }
  const String& getErrorDetail() const { return errorDetail_; }

 private:
  Uint32 httpStatus_;
  String cimError_;
  String errorDetail_;
};

// A body that is not well-formed XML in UTF-8, or that is deeper than any CIM-XML message.
class XmlException : public Exception {
 public:
  using Exception::Exception;
};

// Well-formed XML, but not the CIM-XML (DSP0201) that was expected.
class XmlValidationError : public XmlException {
 public:
  using XmlException::XmlException;
};

// CIM-XML, but not the answer to what was asked: another message ID, another operation, no result.
class CIMClientResponseException : public Exception {
 public:
  using Exception::Exception;
};

// The server's own refusal, with its CIM status code (DSP0200, status codes).
class CIMException : public Exception {
 public:
  explicit CIMException(CIMStatusCode code, const String& description = String());
  CIMStatusCode getCode() const { return code_; }
  // The words that came with the code, as they came; empty if there were none.
  const String& getDescription() const { return description_; }

 private:
  CIMStatusCode code_;
  String description_;
};

}  // namespace Pegasus
