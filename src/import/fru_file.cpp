#include "import/fru_file.h"

#include <limits>

using Pegasus::PEG_NOT_FOUND;
using Pegasus::String;

namespace {

constexpr std::streamsize maxLineLength = 255;

bool stoppedAtFullBuffer(const std::istream& file) {
  return file.fail() && !file.bad() && !file.eof() && file.gcount() == maxLineLength;
}

void skipRestOfLine(std::istream& file) {
  file.clear();
  file.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
}

}  // namespace

bool readLine(std::istream& file, String& line) {
  char buffer[maxLineLength + 1];
  file.getline(buffer, sizeof buffer);
  while (stoppedAtFullBuffer(file)) {
    skipRestOfLine(file);
    file.getline(buffer, sizeof buffer);
  }
  if (!file.good()) {
    return false;
  }
  line.assign(buffer);
  return true;
}

bool isComment(const String& line) {
  return line.find('#') != PEG_NOT_FOUND;
}
