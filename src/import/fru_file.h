// Reads the lines of a FRU data file.
#pragma once

#include <Pegasus/Common/String.h>

#include <istream>

// Puts the next line into `line`, without its newline, and answers true; false at the end. Lines
// are byte strings of at most 255; a zero byte ends the text of its line. A longer line is outside
// the format and is skipped as a whole. A last line without newline is not a line. A read that
// fails for any other reason ends the file.
bool readLine(std::istream& file, Pegasus::String& line);

// Whether the whole line is to be ignored: it has a "#" anywhere.
bool isComment(const Pegasus::String& line);
