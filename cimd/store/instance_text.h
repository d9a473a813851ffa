// Instances as they stand in the file: text that people can read.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/String.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace cimd {

// The CIM-XML element INSTANCE (DMTF DSP0201). Throws Pegasus::Exception for an instance that would
// not read back: with a character that XML cannot carry, with an array of references, with more
// properties than the decoder takes.
std::string encodeInstance(const Pegasus::CIMInstance& instance);

// The reverse; the path has the class name only. Throws Pegasus::Exception when the text is no
// instance.
Pegasus::CIMInstance decodeInstance(std::string_view text);

// UTF-8, where every text has a form of its own. Throws Pegasus::InvalidValueException for a
// surrogate without partner.
std::string encodeText(std::u16string_view text);

// Of the texts in this order. Any one byte changed gives another checksum.
std::int64_t checksum(std::initializer_list<std::string_view> texts);

}  // namespace cimd
