// Text from a server or a file, made fit for people. Such text may hold anything:
// sequences that a terminal obeys, marks that turn the direction of writing, characters two columns
// wide or none.
#pragma once

#include <Pegasus/Common/String.h>

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace show {

// A text, or none: a server or file need not have one.
using Text = std::optional<Pegasus::String>;

// Where the output goes. As constructed: a file or a pipe, which gets every character as it is.
struct Terminal {
  bool isTerminal = false;
  bool hasColours = false;
  // It would not understand UTF-8.
  bool hasOnlyAscii = false;
  // 0 if there is no limit.
  std::size_t columns = 0;
};

// The kind of the descriptor, and the settings of the environment for it: COLUMNS for the width,
// NO_COLOR and TERM for colours, the locale for the characters. setlocale() must have been called.
Terminal terminalOf(int descriptor);

// The text as UTF-8 with U+FFFD for each character that must not reach a terminal: control
// characters, line separators, marks that turn the direction of writing, and whatever the system
// does not know as printable. On a terminal for ASCII only, '?' for these and for each character
// past ASCII.
std::string sanitized(const Pegasus::String& text, const Terminal& terminal);

// The text for a message or a file: sanitized, and cut after 400 characters, which is enough for
// every message of a well-meaning server.
std::string harmless(std::string_view text);

// The message of an exception of the CIM client. A server may begin its words with the name of the
// error, which the client has put before them; it is left out once.
Pegasus::String withNameOnce(std::string_view message);

// In small letters, in whatever locale; for comparisons.
Pegasus::String lowered(const Pegasus::String& text);

// The columns that a sanitized text takes: 2 for each wide character of East Asia, none for
// combining marks.
std::size_t columnsOf(const std::string& text);

// As much of a sanitized text as fits, with an ellipsis at the end if something is missing; with
// `columns` 0, all of it.
std::string cutTo(std::size_t columns, const std::string& text, const Terminal& terminal);

// The sanitized text in lines of at most that many columns, broken at blanks where possible; with
// `columns` 0, in one.
std::vector<std::string> wrapTo(std::size_t columns, const std::string& text);

// The sanitized text, filled with blanks up to that width.
std::string padTo(std::size_t columns, std::string text);

// "1 entry" or "2 entries".
std::string counted(std::size_t count, const char* one, const char* many);

// "CPU 1, CPU 2 and 3 others": at most so many things.
Pegasus::String listWords(std::vector<Pegasus::String> words, std::size_t most);

// "2026-11-22T02:00:00Z" (RFC 3339).
std::string timeText(std::chrono::system_clock::time_point time);
// The time in a text such as "2026-11-22T02:00:00Z"; absent for any other.
std::optional<std::chrono::system_clock::time_point> timeIn(const std::string& text);

enum class Style { plain, bold, faint, green, yellow };

// The text with the sequences for that style around it, if the terminal has colours.
std::string styled(Style style, const std::string& text, const Terminal& terminal);

}  // namespace show
