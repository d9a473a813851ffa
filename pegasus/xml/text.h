// Writes text into XML, and defines which characters XML 1.0 allows.
#pragma once

#include <Pegasus/Common/String.h>

#include <string>
#include <string_view>

namespace Pegasus::xml {

// True for the code points that XML 1.0 allows in a document (production Char).
constexpr bool isXmlCharacter(char32_t c) {
  return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) ||
         (c >= 0xE000 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0x10FFFF);
}

// Each appends a text as UTF-8, with & < > " escaped and tab, line feed and carriage return as
// character references, so that neither attribute normalisation nor line-end handling changes them.
// Servers refuse references to characters past ASCII, so other characters are written as references
// only where stated. Throws InvalidValueException, after appending part of the text, for a
// character that XML 1.0 forbids (control characters, U+FFFE, U+FFFF, a surrogate without its
// partner).

// The value of an attribute. The second writes '?' for each forbidden character, for texts that
// must be sent in any case.
void appendAttributeText(std::string& out, const String& text);
void appendAttributeTextOrReplaced(std::string& out, const String& text);
// The text of an element. CIM servers and clients trim blanks at its ends, so blanks at the ends
// and each blank after another are written as &#32;, which all of them keep.
void appendElementText(std::string& out, const String& text);
// The same for the text of a key. Control characters other than U+0000 are written as references: a
// server with such a character in the name of an instance sends it in this form, and finds the
// instance only by it.
void appendKeyText(std::string& out, const String& text);

// The beginning of a UTF-8 text from outside, for a message.
std::string excerpt(std::string_view text);

// Throws XmlValidationError.
[[noreturn]] void refuse(const std::string& what);

}  // namespace Pegasus::xml
