#include "requests.h"

#include <algorithm>

namespace bench {

namespace {

constexpr std::string_view blankNumber = "00000000";

constexpr std::string_view unitName =
    R"(<INSTANCENAME CLASSNAME="KVAXDT_FRU"><KEYBINDING NAME="FRUNumber">)"
    R"(<KEYVALUE VALUETYPE="string">A)";
constexpr std::string_view restOfUnitName =
    R"(</KEYVALUE></KEYBINDING><KEYBINDING NAME="IdentifyingNumber">)"
    R"(<KEYVALUE VALUETYPE="string">KVAHalvoranFru1</KEYVALUE></KEYBINDING>)"
    R"(<KEYBINDING NAME="Vendor"><KEYVALUE VALUETYPE="string">KVA</KEYVALUE></KEYBINDING>)"
    R"(</INSTANCENAME>)";

std::string parameter(std::string_view name, std::string_view value) {
  return std::string("<IPARAMVALUE NAME=\"").append(name).append("\">").append(value) +
         "</IPARAMVALUE>";
}

std::string booleanParameter(std::string_view name, bool value) {
  return parameter(name, value ? "<VALUE>TRUE</VALUE>" : "<VALUE>FALSE</VALUE>");
}

std::string message(std::string_view method, const std::string& parameters) {
  const std::string methodName(method);
  const std::string body =
      R"(<?xml version="1.0" encoding="utf-8" ?>)"
      "\n"
      R"(<CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="1001" PROTOCOLVERSION="1.0">)"
      R"(<SIMPLEREQ><IMETHODCALL NAME=")" +
      methodName +
      R"("><LOCALNAMESPACEPATH><NAMESPACE NAME="root"/><NAMESPACE NAME="kvasd"/>)"
      R"(</LOCALNAMESPACEPATH>)" +
      parameters + "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
  return "POST /cimom HTTP/1.1\r\n"
         "Host: 127.0.0.1:5988\r\n"
         "Content-Type: application/xml; charset=\"utf-8\"\r\n"
         "Content-Length: " +
         std::to_string(body.size()) +
         "\r\n"
         "CIMOperation: MethodCall\r\n"
         "CIMProtocolVersion: 1.0\r\n"
         "CIMMethod: " +
         methodName +
         "\r\n"
         "CIMObject: root%2Fkvasd\r\n\r\n" +
         body;
}

std::string property(std::string_view name, std::string_view value) {
  return std::string("<PROPERTY NAME=\"").append(name).append("\" TYPE=\"string\"><VALUE>") +
         std::string(value) + "</VALUE></PROPERTY>";
}

}  // namespace

NumberedRequest::NumberedRequest(std::string_view method, std::string_view before,
                                 std::string_view after)
    : bytes_(message(method, std::string(before).append(blankNumber).append(after))),
      place_(bytes_.find(before) + before.size()) {}

std::string_view NumberedRequest::withNumber(std::uint32_t number) {
  for (std::size_t digit = blankNumber.size(); digit > 0; --digit) {
    bytes_[place_ + digit - 1] = static_cast<char>('0' + number % 10);
    number /= 10;
  }
  return bytes_;
}

NumberedRequest createUnit() {
  return {"CreateInstance",
          R"(<IPARAMVALUE NAME="NewInstance"><INSTANCE CLASSNAME="KVAXDT_FRU">)"
          R"(<PROPERTY NAME="FRUNumber" TYPE="string"><VALUE>A)",
          "</VALUE></PROPERTY>" + property("IdentifyingNumber", "KVAHalvoranFru1") +
              property("Vendor", "KVA") + property("Name", "PROCESSOR") +
              property("Description", "Processor 2.4 GHz, 512 KiB cache") +
              property("RevisionLevel", "1.0") + "</INSTANCE></IPARAMVALUE>"};
}

NumberedRequest readUnitProperty() {
  return {"GetProperty", std::string("<IPARAMVALUE NAME=\"InstanceName\">").append(unitName),
          std::string(restOfUnitName) + "</IPARAMVALUE>" +
              parameter("PropertyName", "<VALUE>Description</VALUE>")};
}

NumberedRequest deleteUnit() {
  return {"DeleteInstance", std::string("<IPARAMVALUE NAME=\"InstanceName\">").append(unitName),
          std::string(restOfUnitName) + "</IPARAMVALUE>"};
}

std::string enumerateInstances(std::string_view className) {
  const std::string name = std::string("<CLASSNAME NAME=\"").append(className) + "\"/>";
  return message("EnumerateInstances", parameter("ClassName", name) +
                                           booleanParameter("DeepInheritance", true) +
                                           booleanParameter("LocalOnly", false) +
                                           booleanParameter("IncludeQualifiers", false) +
                                           booleanParameter("IncludeClassOrigin", false));
}

}  // namespace bench
