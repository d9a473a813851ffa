// The forms of numbers in MOF (DMTF DSP0004).
#pragma once

#include <Pegasus/Common/Config.h>

#include <string_view>

namespace cimd::mof {

enum class NumberCheck { GOOD, MALFORMED, TOO_LARGE };

// Reads an integer with or without sign: 101b (binary), 017 (octal), 15 (decimal), 0xF
// (hexadecimal). TOO_LARGE when its absolute value does not fit in 64 bits. The results are set
// only if GOOD.
NumberCheck readInteger(std::string_view text, bool& isNegative, Pegasus::Uint64& magnitude);

// Reads a real, which always has a point with a digit behind it: .5, -1.25, 6.02e23. TOO_LARGE when
// it is beyond the range of Real64, at either end. The result is set only if GOOD.
NumberCheck readReal(std::string_view text, Pegasus::Real64& value);

}  // namespace cimd::mof
