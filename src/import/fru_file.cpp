#include "import/fru_file.h"

#include <limits>

using Pegasus::PEG_NOT_FOUND;
using Pegasus::String;

namespace {

constexpr std::streamsize maxLineLength = 255;

bool stoppedAtFullBuffer(const std::istream& file) {
  return file.fail() && !file.bad() && file.gcount() == maxLineLength;
}

void skipRestOfLine(std::istream& file) {
  file.clear();
  file.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
}

}  // namespace

LineRead readAnyLine(std::istream& file, String& line) {
  char buffer[maxLineLength + 1];
  file.getline(buffer, sizeof buffer);
  line.assign(buffer);
  if (file.good()) {
    return LineRead::complete;
  }
  if (stoppedAtFullBuffer(file)) {
    skipRestOfLine(file);
    return LineRead::tooLong;
  }
  const bool endedWithin = file.eof() && !file.bad() && file.gcount() > 0;
  return endedWithin ? LineRead::unfinished : LineRead::end;
}

bool readLine(std::istream& file, String& line) {
  LineRead read = LineRead::tooLong;
  while (read == LineRead::tooLong) {
    read = readAnyLine(file, line);
  }
  return read == LineRead::complete;
}

bool isComment(const String& line) {
  return line.find('#') != PEG_NOT_FOUND;
}
