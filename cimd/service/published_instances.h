// The instances that clients published, across restarts and reloads: on disk where there is a
// store, otherwise in memory only.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

#include "log.h"
#include "model/repository.h"
#include "store/instance_database.h"

namespace cimd {

class PublishedInstances final : public Journal {
 public:
  // Opens the store, if there is to be one. `changed` is called after each change. The log must
  // outlive this. Throws StoreError.
  PublishedInstances(const std::optional<std::filesystem::path>& store, const Log& log,
                     std::function<void()> changed);

  // Puts them into a repository that was just loaded; `earlier` is the one that was served until
  // now, or null. From here on changes to the repository go to the store. Throws StoreError, and
  // nothing has changed then but the repository.
  void restore(Repository& repository, const Repository* earlier);

  // Returns disk space and memory of deleted instances to the system, a part at a time. True when
  // there may be more to return.
  bool returnSpace();

  void put(const Pegasus::String& nameSpace, const InstanceKey& key,
           const Pegasus::String& className, std::string_view instanceXml) override;
  void remove(const Pegasus::String& nameSpace, const InstanceKey& key) override;

 private:
  const Log& log_;
  std::unique_ptr<InstanceDatabase> database_;
  std::function<void()> changed_;
};

}  // namespace cimd
