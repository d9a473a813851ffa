// Shared by the tests of the server: repositories from MOF text, and instances and names.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include "model/repository.h"

#include <filesystem>
#include <initializer_list>
#include <string>
#include <utility>

namespace cimd::test {

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

// A path with string keys.
Pegasus::CIMObjectPath path(const char* className,
                            std::initializer_list<std::pair<const char*, const char*>> keys);
// An instance with string properties; null for nullptr.
Pegasus::CIMInstance instance(
    const char* className, std::initializer_list<std::pair<const char*, const char*>> properties);

// The CIM status code that the action ends with, CIM_ERR_SUCCESS for none.
template <typename Action>
Pegasus::CIMStatusCode statusOf(Action action) {
  try {
    action();
  } catch (const Pegasus::CIMException& error) {
    return error.getCode();
  }
  return Pegasus::CIM_ERR_SUCCESS;
}

std::string readFile(const std::filesystem::path& path);

}  // namespace cimd::test
