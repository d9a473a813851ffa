// Reads the state directory of morvik-run: how its last runs went, and what they changed.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "table.h"

namespace show {

// The names of the files there.
inline constexpr const char* statusFile = "status.json";
inline constexpr const char* historyFile = "history.jsonl";
inline constexpr const char* goodFile = "fru.good.txt";

// A good run, or an inventory, that is older is old.
inline constexpr std::chrono::hours longestSilence{48};

// When the last good run ended (RFC 3339); absent if there was none, or if that is not known.
std::optional<std::string> lastGoodRun(const std::string& stateDirectory);

// A warning if no run was good for longer than that before `now`. Absent also if there is no status
// file, or if it cannot be read: morvik may be run by other means.
std::optional<std::string> noteAbout(const std::string& stateDirectory,
                                     std::chrono::system_clock::time_point now);

// Writes the changes, the newest last, and returns how many there are: in CSV, or with chosen
// columns, as a table with a row for each entry. Lines that cannot be read are left out. Throws
// std::runtime_error if there is no history.
std::size_t writeHistory(const Output& output, const std::string& stateDirectory);

Columns historyColumns();

}  // namespace show
