// How a run ends: its status, and the reason if it fails.
#pragma once

#include <array>
#include <chrono>
#include <stdexcept>
#include <string>
#include <string_view>

#include "text.h"

namespace run {

// The exit status of morvik-run.
enum class Status {
  good = 0,
  badUse = 1,
  noFile = 2,
  notReached = 3,
  refused = 4,
  cimServer = 5,
  notAsPredicted = 6,
};

struct StatusRow {
  Status status;
  // For programs.
  const char* word;
  // For people.
  const char* meaning;
};

// All statuses, each at the position of its number. The help text and the tests use this table; the
// manual page lists the same.
inline constexpr std::array<StatusRow, 7> statusTable{{
    {Status::good, "good", "published, or nothing had changed"},
    {Status::badUse, "bad-use", "invalid settings, or the state directory cannot be used"},
    {Status::noFile, "no-file", "no data file for this machine type"},
    {Status::notReached, "not-reached", "the parts server or a local file cannot be read"},
    {Status::refused, "refused", "the data file was refused"},
    {Status::cimServer, "cim-server", "the CIM server cannot be reached, or refuses"},
    {Status::notAsPredicted, "not-as-predicted", "the published entries are not the expected ones"},
}};

inline const StatusRow& rowOf(Status status) {
  return statusTable.at(static_cast<std::size_t>(status));
}

// Ends the run with this status. The text is for people, in one line.
class Failure : public std::runtime_error {
 public:
  Failure(Status status, const std::string& words) : std::runtime_error(words), status_(status) {}
  Status status() const { return status_; }

 private:
  Status status_;
};

// For a data file that is not to be published.
[[noreturn]] inline void refuse(const std::string& words) {
  throw Failure(Status::refused, words);
}

using Clock = std::chrono::steady_clock;

// When something must be finished.
class Deadline {
 public:
  explicit Deadline(Clock::duration limit) : end_(Clock::now() + limit) {}
  // Zero if the time is up.
  std::chrono::milliseconds left() const {
    const auto rest = std::chrono::duration_cast<std::chrono::milliseconds>(end_ - Clock::now());
    return std::max(rest, std::chrono::milliseconds(0));
  }

 private:
  Clock::time_point end_;
};

using show::harmless;

// For the message of an exception of the CIM client.
inline std::string harmlessOnce(std::string_view text) {
  return harmless(show::withNameOnce(text).toUtf8());
}

}  // namespace run
