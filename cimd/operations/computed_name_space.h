// How clients find out which namespaces there are: by instances that nobody declares.
//
// CIM_Namespace and CIM_ObjectManager are in the namespaces interop and root/PG_InterOp, where
// clients look for them. __Namespace, which DSP0200 had earlier, is in every namespace and in what
// is above one ("root"), and has the names of the next level below.
#pragma once

#include <Pegasus/Common/String.h>

#include <memory>

#include "model/repository.h"

namespace cimd {

// The namespace with these instances as they are now, if a request about `className` in `nameSpace`
// is for them; otherwise null. A class that the files declare is theirs, and so are all other
// classes of a namespace that they declare. `className` is empty for a request about no class.
std::unique_ptr<NameSpace> computedNameSpace(const Repository& repository,
                                             const Pegasus::String& nameSpace,
                                             const Pegasus::String& className);

}  // namespace cimd
