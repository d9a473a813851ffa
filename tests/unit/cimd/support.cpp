#include "support.h"

#include <gtest/gtest.h>
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
    std::string message = error.what();
    const std::string prefix = directory.path().string() + "/";
    for (std::size_t at = message.find(prefix); at != std::string::npos;
         at = message.find(prefix)) {
      message.erase(at, prefix.size());
    }
    return message;
  }
  return "";
}

Pegasus::CIMObjectPath path(const char* className,
                            std::initializer_list<std::pair<const char*, const char*>> keys) {
  Pegasus::Array<Pegasus::CIMKeyBinding> bindings;
  for (const auto& [name, value] : keys) {
    bindings.append({name, value, Pegasus::CIMKeyBinding::STRING});
  }
  return {Pegasus::String::EMPTY, Pegasus::String::EMPTY, className, bindings};
}

Pegasus::CIMInstance instance(
    const char* className, std::initializer_list<std::pair<const char*, const char*>> properties) {
  Pegasus::CIMInstance made(className);
  for (const auto& [name, value] : properties) {
    made.addProperty({name, value != nullptr ? Pegasus::CIMValue(value) : Pegasus::CIMValue()});
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

}  // namespace cimd::test
