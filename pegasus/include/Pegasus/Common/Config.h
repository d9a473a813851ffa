// Scalar types of the CIM data model (DMTF DSP0004, intrinsic data types) and the not-found marker.
#pragma once

#include <cstdint>

namespace Pegasus {

using Boolean = bool;
using Uint8 = std::uint8_t;
using Sint8 = std::int8_t;
using Uint16 = std::uint16_t;
using Sint16 = std::int16_t;
using Uint32 = std::uint32_t;
using Sint32 = std::int32_t;
using Uint64 = std::uint64_t;
using Sint64 = std::int64_t;
using Real32 = float;
using Real64 = double;

// One UTF-16 code unit, not one character: characters past U+FFFF take two of them.
using Char16 = char16_t;

}  // namespace Pegasus

// The result of every search that finds nothing, and the length that means "to the end". All ones:
// adding n to it wraps to n - 1, which callers may rely on. A macro in every generation of the
// interface, so Uint32 must be visible where it is used.
#define PEG_NOT_FOUND Uint32(-1)  // NOLINT(cppcoreguidelines-macro-usage)
