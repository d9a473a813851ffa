// Writes text into XML, and knows which characters XML 1.0 has.
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
// character references (so that neither attribute normalisation nor line-end handling changes
// them). Other characters are written as references only where this says so: servers refuse those
// past ASCII. Throws InvalidValueException, after part of the text, when it holds a character that
// XML 1.0 forbids (control characters, U+FFFE, U+FFFF, a surrogate without its partner).

// The value of an attribute; the second writes '?' in place of each forbidden character, for texts
// that must get through.
void appendAttributeText(std::string& out, const String& text);
void appendAttributeTextOrReplaced(std::string& out, const String& text);
// The text of an element. CIM servers and clients trim blanks from its ends, so the first and the
// last blank and each blank after another are written as &#32;, which all of them keep.
void appendElementText(std::string& out, const String& text);
// The same for the text of a key. Control characters but U+0000 are written as references: a server
// that has them in the name of an instance sends them so, and finds the instance only by them.
void appendKeyText(std::string& out, const String& text);

// The beginning of a UTF-8 text that came from outside, for a message.
std::string excerpt(std::string_view text);

}  // namespace Pegasus::xml
