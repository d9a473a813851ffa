#include "import/entry.h"

using Pegasus::String;
using Pegasus::Uint32;

// Positions that are not found are all ones; what is added to them wraps, and cuts that then begin
// or end outside the line are clamped by subString.

String cutCategoryToken(const String& line) {
  const Uint32 start = line.find(',') + 2;
  return line.subString(start, line.find(start, '"') - start);
}

EntryFields cutEntryFields(const String& line) {
  const Uint32 firstQuote = line.find('"');
  const Uint32 firstComma = line.find(',');
  const Uint32 secondComma = line.find(firstComma + 2, ',');
  const Uint32 qualifierEnd = line.find(secondComma + 2, '"');
  const Uint32 descriptionEnd = line.find(qualifierEnd + 3, '"');
  return {
      line.subString(firstQuote + 1, firstComma - firstQuote - 2),
      line.subString(firstComma + 2, secondComma - firstComma - 3),
      line.subString(qualifierEnd + 3, descriptionEnd - qualifierEnd - 3),
  };
}
