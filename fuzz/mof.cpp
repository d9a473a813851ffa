// Loads MOF text into a repository. The input is one file, or with a separator a first file and one
// that it can include by the name "other.mof"; no other file exists.
#include <sys/mman.h>
#include <unistd.h>
#include "model/repository.h"
#include "mof/loader.h"
#include "operations/operations.h"
#include "xml/document.h"
#include "xml/request.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <map>
#include <string>

#include "support/check.h"
#include "support/round_trip.h"

namespace {

using cimd::mof::MofError;
using fuzz::require;
using Pegasus::xml::Request;
using Pegasus::xml::RequestWriter;

constexpr std::string_view separator = "\n//////\n";
constexpr const char* firstName = "/mof/first.mof";
constexpr const char* otherName = "/mof/other.mof";

std::string_view firstFile;
std::string_view otherFile;

}  // namespace

// The linker replaces open() by this. The descriptor is a memfd with a copy of the text.
// NOLINTBEGIN(bugprone-reserved-identifier): the name is the linker's
extern "C" int __wrap_open(const char* path, int /*flags*/, ...) {
  const std::string_view name = path;
  const std::string_view* text = name == firstName   ? &firstFile
                                 : name == otherName ? &otherFile
                                                     : nullptr;
  if (text == nullptr) {
    errno = ENOENT;
    return -1;
  }
  const int file = memfd_create("mof", MFD_CLOEXEC);
  require(file >= 0 &&
              write(file, text->data(), text->size()) == static_cast<ssize_t>(text->size()) &&
              lseek(file, 0, SEEK_SET) == 0,
          "the text fits in a file");
  return file;
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

// Requires "file:line:column: error: text" with a line that the file has.
void checkMessage(std::string_view message) {
  require(message.find(": error: ") != std::string_view::npos, "an error says that it is one");
  for (const auto& [name, text] : {std::pair(firstName, firstFile), {otherName, otherFile}}) {
    const std::string begin = std::string(name) + ":";
    if (message.starts_with(begin)) {
      const auto lines = std::count(text.begin(), text.end(), '\n') + 1;
      const long line = std::strtol(message.data() + begin.size(), nullptr, 10);
      require(line >= 1 && line <= lines, "an error stands in a line of its file");
    }
  }
}

const Request& request(const char* method) {
  static std::map<std::string, Request> requests;
  const auto known = requests.find(method);
  if (known != requests.end()) {
    return known->second;
  }
  RequestWriter writer("1", method, cimd::defaultNameSpace);
  if (std::string_view(method) == "EnumerateClasses") {
    writer.boolean("DeepInheritance", true).boolean("LocalOnly", false);
  }
  return requests.emplace(method, writer.finish()).first->second;
}

void requireXml(const cimd::Listing& listing) {
  std::string elements;
  for (std::size_t i = 0; i < listing.count; ++i) {
    listing.append(elements, i);
  }
  const Pegasus::xml::XmlDocument document("<ALL>" + elements + "</ALL>");
  require(static_cast<bool>(document.root()), "what is encoded is XML");
}

// Requires that everything loaded can be sent.
void checkNameSpace(cimd::NameSpace& nameSpace) {
  requireXml(cimd::enumerateClasses(nameSpace, request("EnumerateClasses")));
  requireXml(cimd::enumerateQualifiers(nameSpace, request("EnumerateQualifiers")));
  for (const cimd::Class* top : nameSpace.schema().topClasses()) {
    for (const auto& stored : nameSpace.instances(*top)) {
      fuzz::requireRoundTrip(stored->instance);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::asText(data, size);
  const std::size_t end = std::min(text.find(separator), text.size());
  firstFile = text.substr(0, end);
  otherFile = text.substr(std::min(end + separator.size(), text.size()));
  request("EnumerateClasses");
  request("EnumerateQualifiers");
  const fuzz::ResourceLimit limit({std::size_t{2} << 20U, 2048}, {200'000, 2'000}, size);
  try {
    cimd::Repository repository;
    cimd::mof::loadMof({firstName}, repository);
    checkNameSpace(repository.nameSpace(cimd::defaultNameSpace));
  } catch (const MofError& error) {
    checkMessage(error.what());
  }
  return 0;
}
