// Reads the lines of a FRU data file.
#pragma once

#include <Pegasus/Common/String.h>

#include <istream>

// What the next line of the file is.
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
// text of its line. `line` gets the text of a complete line, without its newline, and what there is
// of any other.
LineRead readAnyLine(std::istream& file, Pegasus::String& line);

// Puts the next complete line into `line` and answers true; false at the end. Lines that are too
// long are skipped as a whole. A last line without newline and a read that fails end the file.
bool readLine(std::istream& file, Pegasus::String& line);

// Whether the whole line is to be ignored: it has a "#" anywhere.
bool isComment(const Pegasus::String& line);
