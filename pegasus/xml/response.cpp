#include "xml/response.h"

#include "text/ascii.h"
#include "xml/decoder.h"
#include "xml/text.h"
#include "xml/values.h"

namespace Pegasus::xml {

namespace {

std::string_view elementOf(CallKind kind) {
  return kind == CallKind::extrinsic ? "METHODRESPONSE" : "IMETHODRESPONSE";
}

// Everything before the result. The ID and the method come from a parsed request and so hold
// nothing that XML forbids; if they did, the answer would still be well-formed.
std::string beginResponse(std::string_view messageId, std::string_view method,
                          std::string_view element) {
  std::string out =
      "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n"
      "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"";
  appendAttributeTextOrReplaced(out, String(messageId));
  out.append("\" PROTOCOLVERSION=\"1.0\"><SIMPLERSP><").append(element).append(" NAME=\"");
  appendAttributeTextOrReplaced(out, String(method));
  out += "\">";
  return out;
}

void endResponse(std::string& out, std::string_view element) {
  out.append("</").append(element).append("></SIMPLERSP></MESSAGE></CIM>");
}

// The only child element, which must have this name.
Element answerPart(Element parent, std::string_view name) {
  const Element part = optionalChild(parent);
  if (!part) {
    throw CIMClientResponseException(String("the answer has no ") + String(name));
  }
  requireElement(part, name);
  return part;
}

void checkExpected(const char* what, std::string_view expected, std::string_view actual,
                   bool isEqual) {
  if (!isEqual) {
    throw CIMClientResponseException("the answer has " + std::string(what) + " '" +
                                     excerpt(actual) + "' instead of '" + excerpt(expected) + "'");
  }
}

[[noreturn]] void throwError(Element error) {
  requireElement(error, "ERROR");
  Uint32 code = 0;
  parseScalar(CIMTYPE_UINT32, requireAttribute(error, "CODE")).get(code);
  if (code == 0) {
    throw XmlValidationError("ERROR with the code of success");
  }
  const std::string_view description = error.attribute("DESCRIPTION").value_or("");
  throw CIMException(static_cast<CIMStatusCode>(code), String(description));
}

// The IRETURNVALUE, or none. Throws for an ERROR. The operations of this library have no output
// parameters; if a server sends them, they are ignored.
Element findReturnValue(Element response) {
  Element returnValue;
  for (Element child = response.firstChild(); child; child = child.next()) {
    if (child.name() == "ERROR") {
      throwError(child);
    }
    if (child.name() == "PARAMVALUE") {
      continue;
    }
    requireElement(child, "IRETURNVALUE");
    if (returnValue) {
      throw XmlValidationError("duplicate IRETURNVALUE");
    }
    returnValue = child;
  }
  return returnValue;
}

}  // namespace

std::string encodeResponse(std::string_view messageId, std::string_view method,
                           std::string returnValue) {
  const std::string_view element = elementOf(CallKind::intrinsic);
  std::string begin = beginResponse(messageId, method, element);
  if (returnValue.empty()) {
    endResponse(begin, element);
    return begin;
  }
  begin += "<IRETURNVALUE>";
  // The value may be large: it is moved within its own memory rather than copied.
  returnValue.reserve(returnValue.size() + begin.size() + 128);
  returnValue.insert(0, begin);
  returnValue += "</IRETURNVALUE>";
  endResponse(returnValue, element);
  return returnValue;
}

std::string encodeErrorResponse(std::string_view messageId, std::string_view method,
                                CIMStatusCode code, const String& description, CallKind kind) {
  const std::string_view element = elementOf(kind);
  std::string out = beginResponse(messageId, method, element);
  out.append("<ERROR CODE=\"").append(std::to_string(code)).append("\" DESCRIPTION=\"");
  appendAttributeTextOrReplaced(out, description);
  out += "\"/>";
  endResponse(out, element);
  return out;
}

Response::Response(std::string body, std::string_view messageId, std::string_view method)
    : document_(std::make_unique<XmlDocument>(std::move(body), ControlReferences::allowed)) {
  const Element root = document_->root();
  requireElement(root, "CIM");
  const Element message = answerPart(root, "MESSAGE");
  const std::string_view id = message.attribute("ID").value_or("");
  checkExpected("message ID", messageId, id, id == messageId);
  const Element response = answerPart(answerPart(message, "SIMPLERSP"), "IMETHODRESPONSE");
  const std::string_view name = response.attribute("NAME").value_or("");
  checkExpected("method", method, name, text::equalNoCase(name, method));
  returnValue_ = findReturnValue(response);
}

Array<CIMInstance> Response::namedInstances() const {
  Array<CIMInstance> instances;
  for (Element child = returnValue_.firstChild(); child; child = child.next()) {
    instances.append(decodeNamedInstance(child));
  }
  return instances;
}

Array<CIMObjectPath> Response::instanceNames() const {
  Array<CIMObjectPath> names;
  for (Element child = returnValue_.firstChild(); child; child = child.next()) {
    names.append(decodeObjectPath(child));
  }
  return names;
}

Element Response::optionalResult() const {
  return returnValue_ ? optionalChild(returnValue_) : Element();
}

Element Response::result() const {
  const Element element = optionalResult();
  if (!element) {
    throw CIMClientResponseException("the answer has no result");
  }
  return element;
}

CIMInstance Response::instance() const {
  return decodeInstance(result());
}

CIMObjectPath Response::instanceName() const {
  const Element element = optionalResult();
  return element ? decodeObjectPath(element) : CIMObjectPath();
}

CIMValue Response::value() const {
  return decodeUntypedValue(optionalResult());
}

}  // namespace Pegasus::xml
