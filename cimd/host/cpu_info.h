// The kernel's own list of processors, for hosts whose firmware has none.
#pragma once

#include <string_view>
#include <vector>

#include "host/inventory.h"

namespace cimd::host {

// One for each physical package in the text of /proc/cpuinfo, by rising number. The file lists
// logical processors; those without the number of their package (kernels for one package, and most
// architectures but x86) count as parts of a single package. The clock is that of the first logical
// processor of the package, rounded to whole megahertz.
std::vector<ProcessorFacts> readCpuinfo(std::string_view text);

}  // namespace cimd::host
