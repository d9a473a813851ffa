// Reports a run to people, programs and the files that remember it.
#pragma once

#include <chrono>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "outcome.h"
#include "publish.h"
#include "table.h"

namespace run {

using Time = std::chrono::system_clock::time_point;
using show::Json;

struct Report {
  Status status = Status::good;
  // One line for people, without the name of the program.
  std::string message;
  // For people, too; one line each. They do not change the status.
  std::vector<std::string> notes;
  Time started;
  Time finished;
  // Where the data file comes from; empty as long as that is unknown.
  std::string source;
  std::string machineType;
  bool isCheck = false;
  // Whether the entries of the last good run have been published again.
  bool isRestored = false;
  // The entries of morvik: before the run, as the data file has them for this machine, and at the
  // end. Absent as long as they are unknown. With --check, nothing is published.
  std::optional<Items> before;
  std::optional<Items> predicted;
  std::optional<Items> published;

  // Between `before` and `published`, or with --check `predicted`.
  Items added() const;
  Items removed() const;
};

// Some of the items, by number and category.
std::string listWords(const Items& items);

// The message of a good run.
std::string goodWords(const Report& report);

// As in "2026-11-22T02:00:00Z".
using show::timeText;

// The same for all who read JSON; the manual page describes it.
Json toJson(const Report& report);
Json toJson(const Items& items);

// Metrics of the last run, for the textfile collector of Prometheus' node exporter. What is not
// known is left out: the entries if the CIM server did not answer, the last success before the
// first one.
std::string metricsText(const Report& report, const show::Machine& machine,
                        const std::optional<Time>& lastSuccess);

}  // namespace run
