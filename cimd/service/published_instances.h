// What clients published, across restarts and reloads: on disk where there is a store, otherwise in
// memory only.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>

#include "log.h"
#include "model/repository.h"
#include "store/instance_database.h"

namespace cimd {

class PublishedInstances {
 public:
  // Opens the store, if there is to be one. The log must outlive this. Throws StoreError.
  PublishedInstances(const std::optional<std::filesystem::path>& store, const Log& log);

  // Puts them into a repository that was just loaded; `earlier` is the one that was served until
  // now, or null. From here on changes to the repository go to the store. Throws StoreError, and
  // nothing has changed then but the repository.
  void restore(Repository& repository, const Repository* earlier);

 private:
  const Log& log_;
  std::unique_ptr<InstanceDatabase> database_;
};

}  // namespace cimd
