#include <Pegasus/Common/CIMType.h>

namespace Pegasus {

// No default case, so that the compiler reports a type that is forgotten here.
const char* cimTypeToString(CIMType type) {
  switch (type) {
    case CIMTYPE_BOOLEAN:
      return "boolean";
    case CIMTYPE_UINT8:
      return "uint8";
    case CIMTYPE_SINT8:
      return "sint8";
    case CIMTYPE_UINT16:
      return "uint16";
    case CIMTYPE_SINT16:
      return "sint16";
    case CIMTYPE_UINT32:
      return "uint32";
    case CIMTYPE_SINT32:
      return "sint32";
    case CIMTYPE_UINT64:
      return "uint64";
    case CIMTYPE_SINT64:
      return "sint64";
    case CIMTYPE_REAL32:
      return "real32";
    case CIMTYPE_REAL64:
      return "real64";
    case CIMTYPE_CHAR16:
      return "char16";
    case CIMTYPE_STRING:
      return "string";
    case CIMTYPE_DATETIME:
      return "datetime";
    case CIMTYPE_REFERENCE:
      return "reference";
  }
  return "unknown";
}

}  // namespace Pegasus
