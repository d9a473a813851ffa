// Requests for CIM operations (DMTF DSP0200 intrinsic methods, DSP0201 IMETHODCALL): the client
// writes them, the server reads them.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include "xml/document.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Pegasus::xml {

// Builds the XML of one IMETHODCALL request: the parameters are written in the order of the calls,
// and finish() returns the text. Throws InvalidValueException for a character that XML forbids.
class RequestWriter {
 public:
  // `messageId` is repeated in the answer.
  RequestWriter(std::string_view messageId, std::string_view method, const String& nameSpace);
  RequestWriter& className(std::string_view parameter, const String& className);
  RequestWriter& instanceName(std::string_view parameter, const CIMObjectPath& path);
  RequestWriter& instance(std::string_view parameter, const CIMInstance& instance);
  RequestWriter& text(std::string_view parameter, const String& value);
  RequestWriter& boolean(std::string_view parameter, Boolean value);
  // Leaves out the parameter if the list is null.
  RequestWriter& propertyList(std::string_view parameter, const CIMPropertyList& list);
  // The whole document; the writer cannot be used afterwards.
  std::string finish();

 private:
  void open(std::string_view parameter);
  RequestWriter& close();

  std::string out_;
};

// Operations of the server (IMETHODCALL) or methods of a class (METHODCALL). Each is answered in an
// element of its own (DSP0201).
enum class CallKind { intrinsic, extrinsic };

// One parsed request. Letter case does not matter in parameter names. A getter returns nothing when
// the parameter is missing or null, and throws XmlValidationError when it holds something else.
class Request {
 public:
  // Throws XmlException or XmlValidationError when the body is not a CIM-XML request for a single
  // operation. Of extrinsic calls only the name is read.
  explicit Request(std::string body);

  const std::string& messageId() const { return messageId_; }
  // The versions as the sender gave them: CIMVERSION, DTDVERSION, PROTOCOLVERSION.
  const std::string& cimVersion() const { return cimVersion_; }
  const std::string& dtdVersion() const { return dtdVersion_; }
  const std::string& protocolVersion() const { return protocolVersion_; }
  // True for MULTIREQ, a batch, which DSP0200 lets a server refuse; nothing else is then read.
  bool isBatch() const { return isBatch_; }
  CallKind kind() const { return kind_; }
  const std::string& method() const { return method_; }
  const String& nameSpace() const { return nameSpace_; }
  // Names of all parameters, as sent. Of duplicates, the getters see the first.
  std::vector<std::string> parameterNames() const;
  // The class that the call is about: that of the first parameter with a class name, an instance
  // name or an instance; empty when there is none. Nothing else of that parameter is read.
  String targetClass() const;

  std::optional<String> className(std::string_view parameter) const;
  std::optional<CIMObjectPath> instanceName(std::string_view parameter) const;
  std::optional<CIMInstance> instance(std::string_view parameter) const;
  // A name that is sent as a VALUE, such as that of a property.
  std::optional<String> name(std::string_view parameter) const;
  // A VALUE.NAMEDINSTANCE with its name as path. Both must be of the same class.
  std::optional<CIMInstance> namedInstance(std::string_view parameter) const;
  // A value of this type; null when missing.
  CIMValue value(std::string_view parameter, CIMType type, bool isArray) const;
  std::optional<Boolean> boolean(std::string_view parameter) const;
  // At most maxProperties names; more are refused.
  CIMPropertyList propertyList(std::string_view parameter) const;

 private:
  void readMessage(Element message);
  void readIntrinsicCall();
  // The content of the parameter, or none.
  Element parameterValue(std::string_view name) const;
  // The same; throws if it is another element than this.
  Element parameterValue(std::string_view name, std::string_view element) const;

  std::unique_ptr<XmlDocument> document_;
  std::vector<Element> parameters_;
  Element call_;
  std::string messageId_, cimVersion_, dtdVersion_, protocolVersion_, method_;
  String nameSpace_;
  bool isBatch_ = false;
  CallKind kind_ = CallKind::intrinsic;
};

}  // namespace Pegasus::xml
