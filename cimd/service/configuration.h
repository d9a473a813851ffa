// The declarations of the server: the contents of MOF files and the inventory of the host.
#pragma once

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/sources.h"
#include "log.h"
#include "model/repository.h"
#include "service/options.h"

namespace cimd {

// Something other than the contents of a MOF file is wrong. what() is one line for people.
class ConfigurationError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The bytes of the inventory that the options ask for: of this host, or recorded. Nothing when they
// ask for none. Throws ConfigurationError.
std::optional<host::HostBytes> readHost(const Options& options);

class Configuration {
 public:
  // Without `hostBytes` no inventory is declared. The log and the options must outlive this.
  Configuration(const Options& options, std::optional<host::HostBytes> hostBytes, const Log& log)
      : options_(options), hostBytes_(std::move(hostBytes)), log_(log) {}

  // Reads the files anew. Throws mof::MofError, ConfigurationError.
  Repository load() const;

 private:
  void declareHost(Repository& repository) const;
  host::Models readModels() const;

  const Options& options_;
  std::optional<host::HostBytes> hostBytes_;
  const Log& log_;
};

}  // namespace cimd
