// Answers to CIM operations (DSP0201 IMETHODRESPONSE): the server writes them, the client reads
// them.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/Exception.h>
#include "xml/document.h"
#include "xml/request.h"

#include <memory>
#include <string>
#include <string_view>

namespace Pegasus::xml {

// `returnValue` is the content of IRETURNVALUE in CIM-XML (written with encoder.h). The element is
// left out if that is empty: for an operation without result, or an enumeration that found nothing.
std::string encodeResponse(std::string_view messageId, std::string_view method,
                           std::string returnValue);
// The same with an ERROR element. A character of the description that XML cannot carry is replaced
// by '?': reporting an error must not fail.
std::string encodeErrorResponse(std::string_view messageId, std::string_view method,
                                CIMStatusCode code, const String& description,
                                CallKind kind = CallKind::intrinsic);

// One parsed answer.
class Response {
 public:
  // Throws XmlException or XmlValidationError for a body that is not a CIM-XML response;
  // CIMClientResponseException when message ID or method differ from those expected or the response
  // element is missing; CIMException when the server refused. `method` is compared without regard
  // to letter case, the message ID exactly.
  Response(std::string body, std::string_view messageId, std::string_view method);

  // The content of IRETURNVALUE. Where that is missing, the first two return nothing, and
  // instanceName() an empty path, since a server that does not return the name has created the
  // instance all the same; instance() throws CIMClientResponseException, and value() is a null
  // string.
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
