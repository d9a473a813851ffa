// Text from a server or a file, made fit for people. Such text may hold anything: sequences that a
// terminal obeys, marks that turn the direction of writing, characters two columns wide or none.
#pragma once

#include <Pegasus/Common/String.h>

#include <cstddef>
#include <string>

#include "terminal.h"

namespace show {

// True for characters that are not to reach a terminal: control characters, line separators, marks
// that turn the direction of writing, and what the system does not know as printable.
bool isHarmful(char32_t c);

// The text as UTF-8 with U+FFFD for each harmful character; on a terminal for ASCII only, with '?'
// for these and for each character past ASCII.
std::string harmless(const Pegasus::String& text, const Terminal& terminal);

// The columns that a harmless text takes: 2 for each wide character of East Asia, none for
// combining marks.
std::size_t columnsOf(const std::string& harmlessText);

// As much of a harmless text as fits, with an ellipsis at the end if something is missing; with
// `columns` 0, all of it.
std::string cutTo(std::size_t columns, const std::string& harmlessText, const Terminal& terminal);

// The text and blanks up to that width.
std::string padTo(std::size_t columns, std::string harmlessText);

enum class Style { plain, bold, faint, green, yellow };

// The text with the sequences for that style around it, where the terminal has colours.
std::string styled(Style style, const std::string& harmlessText, const Terminal& terminal);

}  // namespace show
