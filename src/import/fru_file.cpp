#include "import/fru_file.h"

#include <array>
#include <limits>

#include "cim/client.h"

using Pegasus::String;
using Pegasus::Uint32;

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

LineRead readAnyBytes(std::istream& file, std::string& line) {
  char buffer[maxLineLength + 1];
  file.getline(buffer, sizeof buffer);
  const auto taken = static_cast<std::size_t>(file.gcount());
  if (file.good()) {
    line.assign(buffer, taken - 1);  // the newline is taken, but not kept
    return LineRead::complete;
  }
  line.assign(buffer, taken);
  if (stoppedAtFullBuffer(file)) {
    skipRestOfLine(file);
    return LineRead::tooLong;
  }
  const bool endedWithin = file.eof() && !file.bad() && file.gcount() > 0;
  return endedWithin ? LineRead::unfinished : LineRead::end;
}

LineRead readAnyLine(std::istream& file, String& line) {
  std::string bytes;
  const LineRead read = readAnyBytes(file, bytes);
  line = toText(std::string_view(bytes).substr(0, bytes.find('\0')));
  return read;
}

bool readLine(std::istream& file, String& line) {
  LineRead read = LineRead::tooLong;
  while (read == LineRead::tooLong) {
    read = readAnyLine(file, line);
  }
  return read == LineRead::complete;
}

bool isComment(const String& line) {
  return findFrom(line, 0, '#') != PEG_NOT_FOUND;
}

std::optional<Category> findCategory(const String& keyword) {
  for (const CategoryRow& row : categoryTable) {
    if (keyword == row.keyword) {
      return row.category;
    }
  }
  return std::nullopt;
}

// Positions that are not found are all ones; what is added to them wraps, and cuts that then begin
// or end outside the line are clamped to it.

String cutCategoryToken(const String& line) {
  const Uint32 start = findFrom(line, 0, ',') + 2;
  return cut(line, start, findFrom(line, start, '"') - start);
}

EntryMarks findEntryMarks(const String& line) {
  EntryMarks marks = {};
  marks.firstQuote = findFrom(line, 0, '"');
  marks.firstComma = findFrom(line, 0, ',');
  marks.secondComma = findFrom(line, marks.firstComma + 2, ',');
  marks.qualifierEnd = findFrom(line, marks.secondComma + 2, '"');
  marks.descriptionEnd = findFrom(line, marks.qualifierEnd + 3, '"');
  return marks;
}

EntryFields cutEntryFields(const String& line) {
  const EntryMarks marks = findEntryMarks(line);
  return {
      cut(line, marks.firstQuote + 1, marks.firstComma - marks.firstQuote - 2),
      cut(line, marks.firstComma + 2, marks.secondComma - marks.firstComma - 3),
      cut(line, marks.qualifierEnd + 3, marks.descriptionEnd - marks.qualifierEnd - 3),
  };
}
