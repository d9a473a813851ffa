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

LineRead readAnyLine(std::istream& file, String& line) {
  char buffer[maxLineLength + 1];
  file.getline(buffer, sizeof buffer);
  line = toText(buffer);
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

EntryFields cutEntryFields(const String& line) {
  const Uint32 firstQuote = findFrom(line, 0, '"');
  const Uint32 firstComma = findFrom(line, 0, ',');
  const Uint32 secondComma = findFrom(line, firstComma + 2, ',');
  const Uint32 qualifierEnd = findFrom(line, secondComma + 2, '"');
  const Uint32 descriptionEnd = findFrom(line, qualifierEnd + 3, '"');
  return {
      cut(line, firstQuote + 1, firstComma - firstQuote - 2),
      cut(line, firstComma + 2, secondComma - firstComma - 3),
      cut(line, qualifierEnd + 3, descriptionEnd - qualifierEnd - 3),
  };
}
