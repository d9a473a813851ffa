// Brings data files from where the settings say: an HTTP or FTP server, or this machine.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "outcome.h"
#include "settings.h"

namespace run {

// Marks that a server gave to a version of a file, to be asked whether it still has that version.
struct Version {
  std::string etag;
  std::string lastModified;
};

struct Brought {
  // The server has the version that it was asked about, and sent no text.
  bool isUnchanged = false;
  std::string text = {};
  Version version = {};
};

// From half to one and a half times the pause, so that many machines do not come back at once.
std::chrono::milliseconds withJitter(std::chrono::milliseconds pause);

class Bringer {
 public:
  // All files together must be there before the deadline. Both must outlive this.
  Bringer(const Settings& settings, const Deadline& deadline);
  ~Bringer();
  Bringer(const Bringer&) = delete;
  Bringer& operator=(const Bringer&) = delete;
  Bringer(Bringer&&) = delete;
  Bringer& operator=(Bringer&&) = delete;

  // Whether the place has a file for each machine type.
  bool isByType() const;
  // The name of the data file there.
  std::string nameFor(const std::string& machineType) const;
  // Where the file of that name comes from: a URL or a path, without password.
  std::string addressOf(const std::string& name) const;

  // Tries three times where that can help. Throws Failure: noFile if the server has no such file,
  // otherwise notReached, and refused for a file of more than 1 MiB.
  Brought bring(const std::string& name, const std::optional<Version>& known = std::nullopt);

 private:
  class Transfer;

  Brought readHere(const std::string& path) const;

  const Settings& settings_;
  const Deadline& deadline_;
  // The directory of a place on this machine.
  std::string directory_;
  // Absent for a place on this machine.
  std::unique_ptr<Transfer> transfer_;
};

}  // namespace run
