#include "retrieval/work_files.h"

#include <cstdlib>
#include <fstream>

void runShellCommand(const std::string& commandLine) {
  [[maybe_unused]] const int ignoredStatus = std::system(commandLine.c_str());
}

bool canBeRead(const std::string& fileName) {
  const std::ifstream file(fileName);
  return file.good();
}
