// An empty directory to run in.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

// The current directory as long as this lives; removed with everything in it afterwards.
class WorkDirectory {
 public:
  WorkDirectory() : before_(std::filesystem::current_path()) {
    std::string pattern = (std::filesystem::temp_directory_path() / "morvik_test.XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
      throw std::runtime_error("no directory can be made: " + pattern);
    }
    path_ = pattern;
    std::filesystem::current_path(path_);
  }
  ~WorkDirectory() {
    std::error_code ignored;
    std::filesystem::current_path(before_, ignored);
    std::filesystem::remove_all(path_, ignored);
  }
  WorkDirectory(const WorkDirectory&) = delete;
  WorkDirectory& operator=(const WorkDirectory&) = delete;
  WorkDirectory(WorkDirectory&&) = delete;
  WorkDirectory& operator=(WorkDirectory&&) = delete;

 private:
  std::filesystem::path before_;
  std::filesystem::path path_;
};
