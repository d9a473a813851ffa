// The FRU data file: its lines, and what is cut out of an entry line:
//
//     "FRU number","CATEGORY","QUALIFIER=value","description"
//
// The fields are found by searching for the first commas and double quotes; there is no escaping. A
// malformed line gives whatever the cuts give, clamped to the line: never an error.
#pragma once

#include <Pegasus/Common/String.h>

#include <array>
#include <istream>
#include <optional>
#include <string>

// The kind of the next line of the file.
enum class LineRead {
  complete,
  // Outside the format: more bytes than a line may have.
  tooLong,
  // The last one, without its newline: not a line.
  unfinished,
  // There is no more, or it cannot be read.
  end,
};

// Takes the next line from the file. Lines are byte strings of at most 255; a zero byte ends the
// text of its line. `line` gets the text of a complete line, without its newline, and what was
// read of any other.
LineRead readAnyLine(std::istream& file, Pegasus::String& line);

// The same, but gives the bytes, those from a zero byte on included.
LineRead readAnyBytes(std::istream& file, std::string& line);

// Puts the next complete line into `line` and returns true; false at the end. Lines that are too
// long are skipped as a whole. A last line without newline and a read that fails end the file.
bool readLine(std::istream& file, Pegasus::String& line);

// Whether the whole line is to be ignored: it has a "#" anywhere.
bool isComment(const Pegasus::String& line);

// The FRU categories, in the order in which a line's category is looked up.
enum class Category {
  processor,
  memory,
  keyboard,
  planar,
  cdrom,
  floppy,
  optionsp,
  fan,
  backplane,
};

struct CategoryRow {
  const char* keyword;
  Category category;
};

inline constexpr std::array<CategoryRow, 9> categoryTable{{
    {"PROCESSOR", Category::processor},
    {"MEMORY", Category::memory},
    {"KEYBOARD", Category::keyboard},
    {"PLANAR", Category::planar},
    {"CDROM", Category::cdrom},
    {"FLOPPY", Category::floppy},
    {"OPTIONSP", Category::optionsp},
    {"FAN", Category::fan},
    {"BACKPLANE", Category::backplane},
}};

// The category of that keyword, spelled exactly so; nothing for any other text.
std::optional<Category> findCategory(const Pegasus::String& keyword);

// The text that the category is recognised by: from two characters after the first comma, where the
// second field has its opening quote before, up to the next double quote.
Pegasus::String cutCategoryToken(const Pegasus::String& line);

struct EntryFields {
  Pegasus::String fruNumber;
  // The second field once more, but cut by the commas around it.
  Pegasus::String name;
  Pegasus::String description;
};

EntryFields cutEntryFields(const Pegasus::String& line);

// The positions in a line that its fields are cut by. One that is not found is PEG_NOT_FOUND, and
// the search for the next begins at a position that has wrapped.
struct EntryMarks {
  // The opening quote of the first field.
  Pegasus::Uint32 firstQuote;
  // The commas before and after the second field.
  Pegasus::Uint32 firstComma;
  Pegasus::Uint32 secondComma;
  // The closing quotes of the third and fourth fields.
  Pegasus::Uint32 qualifierEnd;
  Pegasus::Uint32 descriptionEnd;
};

EntryMarks findEntryMarks(const Pegasus::String& line);
