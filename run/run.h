// A run: brings the data file, judges it, has morvik publish it, looks at the outcome, remembers.
#pragma once

#include "report.h"
#include "settings.h"

namespace run {

// Never throws because of what happens in a run: its status and message say what has. Entries of
// the last good run stay published, or are published again, unless the status is good.
Report run(const Settings& settings);

}  // namespace run
