// Reads object paths as CIMObjectPath::toString() writes them, and integers as paths, MOF (DMTF
// DSP0004) and CIM-XML (DSP0201) have them.
#pragma once

#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/Config.h>

#include <string_view>
#include <system_error>

namespace Pegasus {

// [[//host/]namespace:]Class.key="text",other=5 . Key values are texts in double quotes, numbers,
// TRUE, FALSE, or (also in quotes) the path of another instance, which only the class can
// distinguish from a text. Numbers become decimal. Throws InvalidValueException for text of another
// form and for a duplicate key.
CIMObjectPath parseObjectPath(const String& text);

struct Integer {
  // -0 is 0.
  bool isNegative = false;
  Uint64 magnitude = 0;
};

// In CIM-XML zeros may come before a decimal number; elsewhere they make it octal.
enum class LeadingZero { octal, decimal };

// Reads an integer with or without sign: 101b (binary), 017 (octal), 15 (decimal), 0xF
// (hexadecimal). Errors as of std::from_chars: invalid_argument, or result_out_of_range when the
// absolute value does not fit in 64 bits; then `integer` is not set.
std::errc readInteger(std::string_view text, Integer& integer,
                      LeadingZero leadingZero = LeadingZero::octal);

}  // namespace Pegasus
