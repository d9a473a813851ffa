#include "requests.h"

namespace cimd::test {

namespace {

// The text between the first `begin` and the last `end`.
std::string between(const std::string& text, const std::string& begin, const std::string& end) {
  const std::size_t from = text.find(begin);
  const std::size_t to = text.rfind(end);
  return from == std::string::npos || to == std::string::npos
             ? ""
             : text.substr(from + begin.size(), to - from - begin.size());
}

}  // namespace

std::string answerTo(Dispatcher& dispatcher, const Pegasus::xml::Request& request, Caller& caller) {
  Answer answer = dispatcher.answer(request, caller).value();
  while (answer.more && answer.more(answer.text)) {
  }
  return answer.text;
}

std::string className(const std::string& name) {
  return "<CLASSNAME NAME=\"" + name + "\"/>";
}

std::string value(const std::string& text) {
  return "<VALUE>" + text + "</VALUE>";
}

std::string values(const std::vector<std::string>& texts) {
  std::string xml = "<VALUE.ARRAY>";
  for (const std::string& text : texts) {
    xml += value(text);
  }
  return xml + "</VALUE.ARRAY>";
}

std::string instanceName(const std::string& className, const std::string& key,
                         const std::string& text) {
  return "<INSTANCENAME CLASSNAME=\"" + className + "\"><KEYBINDING NAME=\"" + key +
         "\"><KEYVALUE VALUETYPE=\"string\">" + text + "</KEYVALUE></KEYBINDING></INSTANCENAME>";
}

std::string Server::send(const std::string& method, const Parameters& parameters,
                         const std::string& nameSpace) {
  std::string body =
      "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\">"
      "<SIMPLEREQ><IMETHODCALL NAME=\"" +
      method + "\"><LOCALNAMESPACEPATH>";
  for (std::size_t start = 0; start <= nameSpace.size();) {
    const std::size_t end = std::min(nameSpace.find('/', start), nameSpace.size());
    body += "<NAMESPACE NAME=\"" + nameSpace.substr(start, end - start) + "\"/>";
    start = end + 1;
  }
  body += "</LOCALNAMESPACEPATH>";
  for (const auto& [name, xml] : parameters) {
    body += "<IPARAMVALUE NAME=\"" + name + "\">" + xml + "</IPARAMVALUE>";
  }
  Caller caller([&] { return user; });
  Dispatcher dispatcher(repository, access_, log_);
  return answerTo(dispatcher,
                  Pegasus::xml::Request(body + "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>"),
                  caller);
}

std::string Server::ask(const std::string& method, const Parameters& parameters,
                        const std::string& nameSpace) {
  const std::string answer = send(method, parameters, nameSpace);
  const std::string code = attributes(answer, "ERROR", "CODE");
  return code.empty()
             ? between(answer, "<IRETURNVALUE>", "</IRETURNVALUE>")
             : code.substr(0, code.size() - 1) + ": " + attributes(answer, "ERROR", "DESCRIPTION");
}

int Server::errorOf(const std::string& method, const Parameters& parameters,
                    const std::string& nameSpace) {
  const std::string code = attributes(send(method, parameters, nameSpace), "ERROR", "CODE");
  return code.empty() ? 0 : std::stoi(code);
}

std::string attributes(const std::string& xml, const std::string& element,
                       const std::string& attribute) {
  std::string found;
  const std::string begin = "<" + element + " ";
  for (std::size_t at = xml.find(begin); at != std::string::npos; at = xml.find(begin, at + 1)) {
    const std::string tag = xml.substr(at, xml.find('>', at) - at);
    const std::string mark = " " + attribute + "=\"";
    const std::size_t start = tag.find(mark);
    if (start != std::string::npos) {
      const std::size_t from = start + mark.size();
      found += tag.substr(from, tag.find('"', from) - from) + " ";
    }
  }
  return found;
}

std::string elementNamed(const std::string& xml, const std::string& element,
                         const std::string& name) {
  const std::size_t start = xml.find("<" + element + " NAME=\"" + name + "\"");
  if (start == std::string::npos) {
    return "";
  }
  const std::size_t tagEnd = xml.find('>', start);
  const std::string end = "</" + element + ">";
  return xml[tagEnd - 1] == '/' ? xml.substr(start, tagEnd + 1 - start)
                                : xml.substr(start, xml.find(end, start) + end.size() - start);
}

}  // namespace cimd::test
