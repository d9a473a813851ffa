// Shell commands and the files that they leave.
#pragma once

#include <string>

// Runs one command line through the shell and waits for it to end. How it ended is not looked at: a
// step is judged by the file that it should have left.
void runShellCommand(const std::string& commandLine);

// Whether the file can be opened for reading. Nothing is read from it.
bool canBeRead(const std::string& fileName);
