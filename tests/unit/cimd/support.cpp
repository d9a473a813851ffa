#include "support.h"

#include <stdlib.h>
#include "mof/loader.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace cimd::test {

namespace fs = std::filesystem;

TemporaryDirectory::TemporaryDirectory() {
  std::string name = (fs::temp_directory_path() / "morvik-cimd-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) {
    throw std::runtime_error("no temporary directory");
  }
  path_ = name;
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

fs::path TemporaryDirectory::write(const std::string& name, const std::string& text) const {
  fs::path file = path_ / name;
  fs::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary) << text;
  return file;
}

void loadText(Repository& repository, const std::string& mof) {
  const TemporaryDirectory directory;
  mof::loadMof({directory.write("test.mof", mof)}, repository);
}

std::string loadError(const std::string& mof) {
  const TemporaryDirectory directory;
  Repository repository;
  try {
    mof::loadMof({directory.write("test.mof", mof)}, repository);
  } catch (const mof::MofError& error) {
    return withoutDirectory(error.what(), directory.path());
  }
  return "";
}

void expectErrors(const std::string& before, const std::vector<WrongMof>& cases) {
  for (const WrongMof& wrong : cases) {
    std::string expected = "test.mof:" + wrong.error;
    if (const std::size_t at = expected.find('*'); at != std::string::npos) {
      expected.replace(at, 1, "error: CIM_ERR_INVALID_PARAMETER: ");
    }
    EXPECT_EQ(loadError(before + wrong.mof), expected) << wrong.mof;
  }
}

std::string withoutDirectory(std::string message, const fs::path& directory) {
  const std::string prefix = directory.string() + "/";
  for (std::size_t at = message.find(prefix); at != std::string::npos; at = message.find(prefix)) {
    message.erase(at, prefix.size());
  }
  return message;
}

CIMObjectPath path(const char* className,
                   std::initializer_list<std::pair<const char*, const char*>> keys) {
  Array<CIMKeyBinding> bindings;
  for (const auto& [name, value] : keys) {
    bindings.append({name, value, CIMKeyBinding::STRING});
  }
  return {String::EMPTY, String::EMPTY, className, bindings};
}

CIMInstance instance(const char* className,
                     std::initializer_list<std::pair<const char*, const char*>> properties) {
  CIMInstance made(className);
  for (const auto& [name, value] : properties) {
    made.addProperty({name, value != nullptr ? CIMValue(value) : CIMValue()});
  }
  return made;
}

std::string readFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw std::runtime_error("cannot read " + path.string());
  }
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

namespace {

// The text between the first `begin` and the last `end`.
std::string between(const std::string& text, const std::string& begin, const std::string& end) {
  const std::size_t from = text.find(begin);
  const std::size_t to = text.rfind(end);
  return from == std::string::npos || to == std::string::npos
             ? ""
             : text.substr(from + begin.size(), to - from - begin.size());
}

std::string callOf(const std::string& method, const Parameters& parameters,
                   const std::string& nameSpace) {
  std::string call = "<IMETHODCALL NAME=\"" + method + "\"><LOCALNAMESPACEPATH>";
  for (std::size_t start = 0; start <= nameSpace.size();) {
    const std::size_t end = std::min(nameSpace.find('/', start), nameSpace.size());
    call += "<NAMESPACE NAME=\"" + nameSpace.substr(start, end - start) + "\"/>";
    start = end + 1;
  }
  call += "</LOCALNAMESPACEPATH>";
  for (const auto& [name, xml] : parameters) {
    call += "<IPARAMVALUE NAME=\"" + name + "\">" + xml + "</IPARAMVALUE>";
  }
  return call + "</IMETHODCALL>";
}

}  // namespace

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

Parameters newInstance(const std::string& className, const std::string& property,
                       const std::string& text) {
  return {{"NewInstance", "<INSTANCE CLASSNAME=\"" + className + "\"><PROPERTY NAME=\"" + property +
                              "\" TYPE=\"string\">" + value(text) + "</PROPERTY></INSTANCE>"}};
}

std::optional<Answer> Server::begin(const std::string& call, Length length) {
  Caller caller([this] { return user; });
  return dispatcher_.answer(
      xml::Request("<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" "
                   "PROTOCOLVERSION=\"1.0\"><SIMPLEREQ>" +
                   call + "</SIMPLEREQ></MESSAGE></CIM>"),
      caller, length);
}

std::optional<Answer> Server::begin(const std::string& method, const Parameters& parameters,
                                    Length length) {
  return begin(callOf(method, parameters, "root/kvasd"), length);
}

std::string Server::answer(const std::string& call) {
  Answer answer = begin(call, Length::any).value();
  while (answer.more && answer.more(answer.text)) {
  }
  return answer.text;
}

std::string Server::send(const std::string& method, const Parameters& parameters,
                         const std::string& nameSpace) {
  return answer(callOf(method, parameters, nameSpace));
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

void FakeJournal::put(const String& nameSpace, const InstanceKey& /*key*/, const String& className,
                      std::string_view instanceXml) {
  fail();
  lastXml = instanceXml;
  entries += "put " + nameSpace.toUtf8() + " " + className.toUtf8() + "\n";
}

void FakeJournal::remove(const String& nameSpace, const InstanceKey& /*key*/) {
  fail();
  entries += "remove " + nameSpace.toUtf8() + "\n";
}

void FakeJournal::fail() const {
  if (state == refuses) {
    throw CIMException(CIM_ERR_FAILED, "the disk is full");
  }
  if (state == breaks) {
    throw std::runtime_error("the disk is broken");
  }
  if (state == lacksMemory) {
    throw std::bad_alloc();
  }
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
