#pragma once

// Reads the command line into the two run locations and answers whether it is accepted. Without any
// argument both get their default. With arguments, a location whose option is missing stays as it
// is, and one whose option has no value becomes the empty text: defaults are for the bare command
// only. A first argument without a dash is rejected before anything is set.
//
// `argumentCount` belongs to the fixed signature, which takes what main() gets, but is not looked
// at: the end of the list is its terminating null entry. What is set points into the argument list
// or to constant texts.
bool parseCommandLine(int argumentCount, char** arguments, const char*& server,
                      const char*& directory);
