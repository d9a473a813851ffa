// The types of CIM values (DMTF DSP0004, intrinsic data types).
#pragma once

namespace Pegasus {

enum CIMType {
  CIMTYPE_BOOLEAN,
  CIMTYPE_UINT8,
  CIMTYPE_SINT8,
  CIMTYPE_UINT16,
  CIMTYPE_SINT16,
  CIMTYPE_UINT32,
  CIMTYPE_SINT32,
  CIMTYPE_UINT64,
  CIMTYPE_SINT64,
  CIMTYPE_REAL32,
  CIMTYPE_REAL64,
  CIMTYPE_CHAR16,
  CIMTYPE_STRING,
  CIMTYPE_DATETIME,
  CIMTYPE_REFERENCE
};

// The type's name as in MOF and CIM-XML ("uint32"). A pointer to static text.
const char* cimTypeToString(CIMType type);

}  // namespace Pegasus
