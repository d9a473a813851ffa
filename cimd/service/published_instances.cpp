#include "service/published_instances.h"

#include <malloc.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cimd {

PublishedInstances::PublishedInstances(const std::optional<std::filesystem::path>& store,
                                       const Log& log, std::function<void()> changed)
    : log_(log),
      database_(store ? std::make_unique<InstanceDatabase>(*store) : nullptr),
      changed_(std::move(changed)) {}

void PublishedInstances::restore(Repository& repository, const Repository* earlier) {
  std::vector<std::string> warnings;
  if (database_) {
    warnings = database_->load(
        [&](const Pegasus::String& name, const InstanceKey& key, std::string_view instanceXml) {
          repository.nameSpace(name).restoreInstance(instanceXml, key);
        });
  } else if (earlier != nullptr) {
    warnings = repository.adoptPublished(*earlier);
  }
  repository.setJournal(this);
  for (const std::string& warning : warnings) {
    log_.warning(warning);
  }
}

bool PublishedInstances::returnSpace() {
  if (database_ && database_->returnSpace()) {
    return true;
  }
  // The C library keeps what lies between things still in use.
  malloc_trim(0);
  return false;
}

void PublishedInstances::put(const Pegasus::String& nameSpace, const InstanceKey& key,
                             const Pegasus::String& className, std::string_view instanceXml) {
  if (database_) {
    database_->put(nameSpace, key, className, instanceXml);
  }
  changed_();
}

void PublishedInstances::remove(const Pegasus::String& nameSpace, const InstanceKey& key) {
  if (database_) {
    database_->remove(nameSpace, key);
  }
  changed_();
}

}  // namespace cimd
