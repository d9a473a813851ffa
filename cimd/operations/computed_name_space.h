// How clients find out which namespaces there are: by instances that nobody declares.
//
// CIM_Namespace and CIM_ObjectManager are in the namespaces interop and root/PG_InterOp, where
// clients look for them. __Namespace, which early versions of DSP0200 had, is in every namespace
// and at every level above one ("root"), and has the names of the next level.
#pragma once

#include <Pegasus/Common/String.h>

#include <memory>

#include "model/repository.h"

namespace cimd {

// A namespace with these instances as of now, if a request about `className` in `nameSpace` is for
// them; otherwise null. `className` is empty for a request about no class. Declared classes and
// namespaces come first: in a declared namespace only the three classes are computed, and only
// those that it does not declare.
std::unique_ptr<NameSpace> computedNameSpace(const Repository& repository,
                                             const Pegasus::String& nameSpace,
                                             const Pegasus::String& className);

}  // namespace cimd
