// Shared by the tests of the server: repositories from MOF text, instances, names and requests.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include "model/repository.h"
#include "operations/dispatcher.h"

#include <filesystem>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace cimd::test {

using namespace Pegasus;
using namespace testing;

// An empty directory that is removed at the end.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  // Writes a file, making its directories, and returns its path.
  std::filesystem::path write(const std::string& name, const std::string& text) const;
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// Loads the text into the repository, as a file called test.mof.
void loadText(Repository& repository, const std::string& mof);
// The message of the error that loading ends with, without directory: "test.mof:1:2: error: ...".
// Empty when there is none.
std::string loadError(const std::string& mof);
struct WrongMof {
  std::string mof;
  // After the name of the file. '*' stands for "error: CIM_ERR_INVALID_PARAMETER: ".
  std::string error;
};
// Each of the texts is refused after the text `before`.
void expectErrors(const std::string& before, const std::vector<WrongMof>& cases);
std::string withoutDirectory(std::string message, const std::filesystem::path& directory);

// A path with string keys.
CIMObjectPath path(const char* className,
                   std::initializer_list<std::pair<const char*, const char*>> keys);
// An instance with string properties; null for nullptr.
CIMInstance instance(const char* className,
                     std::initializer_list<std::pair<const char*, const char*>> properties);

// The CIM status code that the action ends with, CIM_ERR_SUCCESS for none.
template <typename Action>
CIMStatusCode statusOf(Action action) {
  try {
    action();
  } catch (const CIMException& error) {
    return error.getCode();
  }
  return CIM_ERR_SUCCESS;
}

std::string readFile(const std::filesystem::path& path);

// --- requests as the XML that clients send, and answers as the XML that they get

// A parameter's name and the XML of its value.
using Parameters = std::vector<std::pair<std::string, std::string>>;

std::string className(const std::string& name);
std::string value(const std::string& text);
std::string values(const std::vector<std::string>& texts);
// INSTANCENAME with one string key.
std::string instanceName(const std::string& className, const std::string& key,
                         const std::string& text);

// The parameter of CreateInstance: an instance with one string property.
Parameters newInstance(const std::string& className, const std::string& property,
                       const std::string& text);

// A repository with what a MOF text declares, and operations on it.
class Server {
 public:
  explicit Server(const std::string& mof) { loadText(repository, mof); }

  // The content of IRETURNVALUE, empty when it is missing; for an error "code: description".
  std::string ask(const std::string& method, const Parameters& parameters,
                  const std::string& nameSpace = "root/kvasd");
  // The code of the error that this ends with, 0 for none.
  int errorOf(const std::string& method, const Parameters& parameters,
              const std::string& nameSpace = "root/kvasd");
  // The whole answer, with all its parts, to the content of SIMPLEREQ.
  std::string answer(const std::string& call);
  // The first part of an answer.
  std::optional<Answer> begin(const std::string& method, const Parameters& parameters,
                              Length length);

  Repository repository;
  // The account that sends the requests.
  uid_t user = 0;

 private:
  std::string send(const std::string& method, const Parameters& parameters,
                   const std::string& nameSpace);
  std::optional<Answer> begin(const std::string& call, Length length);

  Log log_{LogLevel::error};
  Access access_{{.accounts = {4711}, .groups = {}}, log_};
  Dispatcher dispatcher_{repository, access_, log_};
};

// A journal on a disk that may be full.
class FakeJournal : public Journal {
 public:
  void put(const String& nameSpace, const InstanceKey& key, const String& className,
           std::string_view instanceXml) override;
  void remove(const String& nameSpace, const InstanceKey& key) override;

  // A line for each change: "put NAMESPACE CLASS" or "remove NAMESPACE".
  std::string entries;
  std::string lastXml;
  enum { works, refuses, breaks, lacksMemory } state = works;

 private:
  void fail() const;
};

// The values of the attribute in all elements of this name, in their order, each followed by a
// blank.
std::string attributes(const std::string& xml, const std::string& element,
                       const std::string& attribute);
// The first element of this name whose NAME is `name`, whole; empty when there is none.
std::string elementNamed(const std::string& xml, const std::string& element,
                         const std::string& name);

}  // namespace cimd::test
