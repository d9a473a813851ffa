#include "cim/reading.h"

#include "cim/namespace.h"

using Pegasus::Array;
using Pegasus::Boolean;
using Pegasus::CIMClient;
using Pegasus::CIMInstance;
using Pegasus::CIMPropertyList;
using Pegasus::CIMValue;
using Pegasus::String;
using Pegasus::Uint32;

Array<CIMInstance> readInstances(CIMClient& client, const String& className) {
  const Boolean deepInheritance = true;
  const Boolean localOnly = true;
  const Boolean includeQualifiers = false;
  const Boolean includeClassOrigin = false;
  return client.enumerateInstances(cimNamespace, className, deepInheritance, localOnly,
                                   includeQualifiers, includeClassOrigin, CIMPropertyList());
}

CIMValue readValue(const CIMInstance& instance, Uint32 position) {
  return instance.getProperty(position).getValue();
}
