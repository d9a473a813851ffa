#include "xml/request.h"

#include "text/ascii.h"
#include "xml/decoder.h"
#include "xml/encoder.h"
#include "xml/text.h"
#include "xml/values.h"

namespace Pegasus::xml {

namespace {

// DSP0200 operations have nine parameters at most.
constexpr std::size_t maxParameters = 64;

// The only child besides correlators, which mean something to the sender's own log only.
Element callIn(Element request) {
  Element call = request.firstChild();
  while (call && call.name() == "CORRELATOR") {
    call = call.next();
  }
  if (!call || call.next()) {
    refuse("SIMPLEREQ without a single call");
  }
  return call;
}

}  // namespace

RequestWriter::RequestWriter(std::string_view messageId, std::string_view method,
                             const String& nameSpace) {
  constexpr std::size_t usualSize = 2048;
  out_.reserve(usualSize);
  out_ +=
      "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n"
      "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE";
  appendAttribute(out_, "ID", String(messageId));
  out_ += " PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL";
  appendAttribute(out_, "NAME", String(method));
  out_ += '>';
  appendLocalNameSpacePath(out_, nameSpace);
}

void RequestWriter::open(std::string_view parameter) {
  out_ += "<IPARAMVALUE";
  appendAttribute(out_, "NAME", String(parameter));
  out_ += '>';
}

RequestWriter& RequestWriter::close() {
  out_ += "</IPARAMVALUE>";
  return *this;
}

RequestWriter& RequestWriter::className(std::string_view parameter, const String& className) {
  open(parameter);
  appendClassName(out_, className);
  return close();
}

RequestWriter& RequestWriter::instanceName(std::string_view parameter, const CIMObjectPath& path) {
  open(parameter);
  appendInstanceName(out_, path);
  return close();
}

RequestWriter& RequestWriter::instance(std::string_view parameter, const CIMInstance& instance) {
  open(parameter);
  appendInstance(out_, instance);
  return close();
}

RequestWriter& RequestWriter::text(std::string_view parameter, const String& value) {
  open(parameter);
  appendValue(out_, CIMValue(value));
  return close();
}

RequestWriter& RequestWriter::boolean(std::string_view parameter, Boolean value) {
  open(parameter);
  appendValue(out_, CIMValue(value));
  return close();
}

RequestWriter& RequestWriter::propertyList(std::string_view parameter,
                                           const CIMPropertyList& list) {
  if (list.isNull()) {
    return *this;
  }
  Array<String> names;
  for (Uint32 i = 0; i < list.size(); ++i) {
    names.append(list[i]);
  }
  open(parameter);
  appendValue(out_, CIMValue(names));
  return close();
}

std::string RequestWriter::finish() {
  out_ += "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
  return std::move(out_);
}

Request::Request(std::string body) : document_(std::make_unique<XmlDocument>(std::move(body))) {
  const Element root = document_->root();
  requireElement(root, "CIM");
  cimVersion_ = requireAttribute(root, "CIMVERSION");
  dtdVersion_ = requireAttribute(root, "DTDVERSION");
  const Element message = optionalChild(root);
  requireElement(message, "MESSAGE");
  messageId_ = requireAttribute(message, "ID");
  protocolVersion_ = requireAttribute(message, "PROTOCOLVERSION");
  readMessage(message);
}

void Request::readMessage(Element message) {
  const Element request = optionalChild(message);
  if (request && request.name() == "MULTIREQ") {
    isBatch_ = true;
    return;
  }
  requireElement(request, "SIMPLEREQ");
  call_ = callIn(request);
  if (call_.name() == "METHODCALL") {
    kind_ = CallKind::extrinsic;
  } else {
    readIntrinsicCall();
  }
  method_ = requireName(call_, "NAME");
}

void Request::readIntrinsicCall() {
  requireElement(call_, "IMETHODCALL");
  const Element nameSpacePath = call_.firstChild();
  nameSpace_ = decodeLocalNameSpacePath(nameSpacePath);
  for (Element value = nameSpacePath.next(); value; value = value.next()) {
    requireElement(value, "IPARAMVALUE");
    requireName(value, "NAME");
    if (parameters_.size() >= maxParameters) {
      refuse("more than " + std::to_string(maxParameters) + " parameters");
    }
    optionalChild(value);
    parameters_.push_back(value);
  }
}

Element Request::parameterValue(std::string_view name) const {
  for (const Element parameter : parameters_) {
    if (text::equalNoCase(requireName(parameter, "NAME"), name)) {
      return parameter.firstChild();
    }
  }
  return Element();
}

Element Request::parameterValue(std::string_view name, std::string_view element) const {
  const Element value = parameterValue(name);
  if (value && value.name() != element) {
    refuse("parameter " + excerpt(name) + ": " + std::string(element) + " expected");
  }
  return value;
}

std::vector<std::string> Request::parameterNames() const {
  std::vector<std::string> names;
  names.reserve(parameters_.size());
  for (const Element value : parameters_) {
    names.emplace_back(requireName(value, "NAME"));
  }
  return names;
}

String Request::targetClass() const {
  for (const Element given : parameters_) {
    Element value = given.firstChild();
    if (value && value.name() == "VALUE.NAMEDINSTANCE") {
      value = value.firstChild();
    }
    const auto name =
        value ? value.attribute(value.name() == "CLASSNAME" ? "NAME" : "CLASSNAME") : std::nullopt;
    if (name) {
      return String(text::trimmed(*name));
    }
  }
  return String();
}

std::optional<String> Request::className(std::string_view parameter) const {
  const Element value = parameterValue(parameter, "CLASSNAME");
  return value ? std::optional(String(requireName(value, "NAME"))) : std::nullopt;
}

std::optional<CIMObjectPath> Request::instanceName(std::string_view parameter) const {
  const Element value = parameterValue(parameter, "INSTANCENAME");
  return value ? std::optional(decodeObjectPath(value)) : std::nullopt;
}

std::optional<CIMInstance> Request::instance(std::string_view parameter) const {
  const Element value = parameterValue(parameter, "INSTANCE");
  return value ? std::optional(decodeInstance(value)) : std::nullopt;
}

std::optional<CIMInstance> Request::namedInstance(std::string_view parameter) const {
  const Element value = parameterValue(parameter, "VALUE.NAMEDINSTANCE");
  if (!value) {
    return std::nullopt;
  }
  CIMInstance instance = decodeNamedInstance(value);
  const auto className = requireName(value.firstChild().next(), "CLASSNAME");
  if (!String::equalNoCase(instance.getClassName(), String(className))) {
    refuse("parameter " + excerpt(parameter) + ": the name is of another class than the instance");
  }
  return instance;
}

CIMValue Request::value(std::string_view parameter, CIMType type, bool isArray) const {
  return decodeTypedValue(type, isArray, parameterValue(parameter));
}

std::optional<String> Request::name(std::string_view parameter) const {
  const Element value = parameterValue(parameter, "VALUE");
  return value ? std::optional(String(text::trimmed(textOnly(value)))) : std::nullopt;
}

std::optional<Boolean> Request::boolean(std::string_view parameter) const {
  const Element value = parameterValue(parameter, "VALUE");
  if (!value) {
    return std::nullopt;
  }
  Boolean result = false;
  parseScalar(CIMTYPE_BOOLEAN, textOnly(value)).get(result);
  return result;
}

CIMPropertyList Request::propertyList(std::string_view parameter) const {
  const Element value = parameterValue(parameter, "VALUE.ARRAY");
  if (!value) {
    return CIMPropertyList();
  }
  Uint32 count = 0;
  for (Element name = value.firstChild(); name; name = name.next()) {
    if (++count > maxProperties) {
      refuse("parameter " + excerpt(parameter) + ": more than " + std::to_string(maxProperties) +
             " names");
    }
  }
  Array<String> texts;
  decodeArray(CIMTYPE_STRING, value).get(texts);
  Array<String> names;
  for (const String& text : texts) {
    names.append(String(text::trimmed(text.toUtf8())));
  }
  return CIMPropertyList(names);
}

}  // namespace Pegasus::xml
