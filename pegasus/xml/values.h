// Typed values from their texts (DMTF DSP0201). Every function throws XmlValidationError for a text
// that is not a value of the type. Nothing here depends on the locale.
#pragma once

#include <Pegasus/Common/CIMValue.h>
#include "xml/document.h"

#include <string_view>

namespace Pegasus::xml {

// The type that a TYPE attribute names ("uint32"), in any letter case.
CIMType parseType(std::string_view name);

// One value of the type from its text. Numbers, booleans and datetimes may have blanks around them.
// Integers are decimal (leading zeros do not make them octal) or, as DSP0201 allows, hexadecimal
// (0x1F) or binary (101b), each with or without sign; reals may also be INF, -INF, NaN. A number
// that does not fit the type is refused. A char16 is exactly one UTF-16 unit. Strings are taken as
// they are. For CIMTYPE_REFERENCE this always throws: references are elements, not texts.
CIMValue parseScalar(CIMType type, std::string_view text);

// VALUE.ARRAY, or VALUE.REFARRAY for references, as an array of the type. VALUE.NULL is a null
// element.
CIMValue decodeArray(CIMType type, Element element);

}  // namespace Pegasus::xml
