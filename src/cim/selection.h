// Whether an entry of the FRU data file belongs to this machine. Each function judges a whole line
// of the file by the qualifier in it: a token such as SPEED= with a value up to the next double
// quote. The value must be exactly the machine's text: no blanks trimmed, no leading zeros, no
// units.
//
// The functions return whether the entry fits, not the qualifier.
#pragma once

#include <Pegasus/Client/CIMClient.h>

// SPEED=: true when a processor runs at that many megahertz. False without the token. Sends one
// enumeration per call. Never throws: whatever fails gives false.
bool getProcessorSpeedQualifier(Pegasus::CIMClient& client, const Pegasus::String& line);

// SIZE=: true when a single memory module has that many mebibytes, remainder dropped. Without the
// token the text from position 4 on is judged. Sends one enumeration per call. Never throws:
// whatever fails gives false.
bool getMemorySizeQualifier(Pegasus::CIMClient& client, const Pegasus::String& line);

// LANGUAGE=: true when it is the language code of the environment variable LANG, as LANG spells it
// (en, de, fr, it, ja, ko; the empty text for any other). Without the token the text from position
// 8 on is judged.
bool getLanguageQualifier(const Pegasus::String& line);

// The same for one value that is known: the clock of a processor, the size of a module, the code of
// a language, in the texts that machine.h makes of them.
bool fitsClock(const Pegasus::String& line, const Pegasus::String& clock);
bool fitsSize(const Pegasus::String& line, const Pegasus::String& size);
bool fitsLanguage(const Pegasus::String& line, const Pegasus::String& code);

// The condition of a line.
struct QualifierText {
  // Whether the line has the token.
  bool isGiven;
  // The text after the token, up to the next double quote or the end of the line; without the
  // token, that from the position named above.
  Pegasus::String value;
  // Where the value begins.
  Pegasus::Uint32 start;
};

QualifierText cutSpeed(const Pegasus::String& line);
QualifierText cutSize(const Pegasus::String& line);
QualifierText cutLanguage(const Pegasus::String& line);
