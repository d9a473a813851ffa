#include "answers.h"

#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

using namespace Pegasus;  // NOLINT: a test's helpers

namespace {

std::string recording(const std::string& fileName) {
  std::ifstream file(MORVIK_TEST_DATA_DIR "/traffic/" + fileName, std::ios::binary);
  if (!file) {
    throw std::runtime_error("no such recording: " + fileName);
  }
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace

std::string recordedAnswer(const std::string& name) {
  std::string text = recording(name + ".response.http");
  const std::string id = "ID=\"1001\"";
  const std::size_t position = text.find(id);
  return position == std::string::npos ? text : text.replace(position, id.size(), "ID=\"@ID@\"");
}

std::string recordedRequest(const std::string& name) {
  return recording(name + ".request.http");
}

std::string bodyOf(const std::string& message) {
  return message.substr(message.find("\r\n\r\n") + 4);
}

std::string httpAnswer(const std::string& body, const std::string& fields,
                       const std::string& status) {
  return "HTTP/1.1 " + status + "\r\nContent-Type: application/xml; charset=\"utf-8\"\r\n" +
         fields + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string propertyBody(const std::string& value) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">"
         "<MESSAGE ID=\"@ID@\" PROTOCOLVERSION=\"1.0\"><SIMPLERSP>"
         "<IMETHODRESPONSE NAME=\"GetProperty\"><IRETURNVALUE><VALUE>" +
         value + "</VALUE></IRETURNVALUE></IMETHODRESPONSE></SIMPLERSP></MESSAGE></CIM>";
}

std::string chunked(const std::string& body, std::size_t size, const std::string& trailers) {
  std::ostringstream out;
  for (std::size_t at = 0; at < body.size(); at += size) {
    const std::string part = body.substr(at, size);
    out << std::hex << part.size() << "\r\n" << part << "\r\n";
  }
  out << "0\r\n" << trailers << "\r\n";
  return out.str();
}

CIMObjectPath fruName(const char* fruNumber) {
  Array<CIMKeyBinding> keys;
  keys.append(CIMKeyBinding("FRUNumber", fruNumber, CIMKeyBinding::STRING));
  keys.append(CIMKeyBinding("IdentifyingNumber", "KVAHalvoranFru1", CIMKeyBinding::STRING));
  keys.append(CIMKeyBinding("Vendor", "KVA", CIMKeyBinding::STRING));
  return {String(), String(), "KVAXDT_FRU", keys};
}

std::string askProperty(CIMClient& client) {
  return client.getProperty("root/kvasd", fruName(), "IdentifyingNumber").toString().toUtf8();
}

std::string valueOf(const CIMInstance& instance, const char* name) {
  return instance.getProperty(instance.findProperty(name)).getValue().toString().toUtf8();
}
