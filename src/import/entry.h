// The fields of an entry line: "FRU number","CATEGORY","QUALIFIER=value","description". They are
// cut out by searching for the first commas and double quotes; there is no escaping. A malformed
// line gives whatever the cuts give, clamped to the line: never an error.
#pragma once

#include <Pegasus/Common/String.h>

// What the category is recognised by: the text behind the first comma and the quote that follows
// it, up to the next double quote.
Pegasus::String cutCategoryToken(const Pegasus::String& line);

struct EntryFields {
  Pegasus::String fruNumber;
  // The second field once more, but cut by the commas around it.
  Pegasus::String name;
  Pegasus::String description;
};

EntryFields cutEntryFields(const Pegasus::String& line);
