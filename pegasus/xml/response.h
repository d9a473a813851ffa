// The answer to a CIM operation as a message (DSP0201 IMETHODRESPONSE): the server writes it, the
// client reads it.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/Exception.h>
#include "xml/call_kind.h"
#include "xml/xml_document.h"

#include <memory>
#include <string>
#include <string_view>

namespace Pegasus::xml {

// `returnValue` is the content of IRETURNVALUE in CIM-XML (written with object_encoder.h); empty
// for an operation without result or an enumeration that found nothing: the element is then left
// out.
std::string encodeResponse(std::string_view messageId, std::string_view method,
                           std::string returnValue);
// The same with an ERROR element. A character of the description that XML cannot carry is replaced
// by '?': reporting an error must not fail.
std::string encodeErrorResponse(std::string_view messageId, std::string_view method,
                                CIMStatusCode code, const String& description,
                                CallKind kind = CallKind::INTRINSIC);

// One parsed answer, checked against the question.
class Response {
 public:
  // Throws XmlException, XmlValidationError for what is no CIM-XML response;
  // CIMClientResponseException when message ID or method differ from those expected or the response
  // element is missing; CIMException when the server refused. `method` is compared without regard
  // to letter case, the message ID exactly.
  Response(std::string body, std::string_view messageId, std::string_view method);

  // What IRETURNVALUE holds. The first two are empty when it is missing, and so is instanceName():
  // a server that does not tell the name has created the instance all the same. instance() throws
  // CIMClientResponseException then; value() is a null string.
  Array<CIMInstance> namedInstances() const;
  Array<CIMObjectPath> instanceNames() const;
  CIMInstance instance() const;
  CIMObjectPath instanceName() const;
  CIMValue value() const;

 private:
  std::unique_ptr<XmlDocument> document_;
  Element returnValue_;
  Element optionalResult() const;
  Element result() const;
};

}  // namespace Pegasus::xml
