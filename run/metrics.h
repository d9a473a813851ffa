// Metrics of the last run, for the textfile collector of Prometheus' node exporter.
#pragma once

#include <optional>
#include <string>

#include "report.h"

namespace run {

// Who the machine is; UTF-8, empty if the CIM server does not know it.
struct MachineNames {
  std::string type;
  std::string model;
  std::string serial;
};

// The text format of Prometheus. What is not known is left out: the entries if the CIM server did
// not answer, the last success before the first one.
std::string metricsText(const Report& report, const MachineNames& machine,
                        const std::optional<Time>& lastSuccess);

}  // namespace run
