#include "service/published_instances.h"

#include <string>
#include <string_view>
#include <vector>

namespace cimd {

PublishedInstances::PublishedInstances(const std::optional<std::filesystem::path>& store,
                                       const Log& log)
    : log_(log), database_(store ? std::make_unique<InstanceDatabase>(*store) : nullptr) {}

void PublishedInstances::restore(Repository& repository, const Repository* earlier) {
  std::vector<std::string> warnings;
  if (database_) {
    warnings = database_->load(
        [&](const Pegasus::String& name, const InstanceKey& key, std::string_view instanceXml) {
          repository.nameSpace(name).restoreInstance(instanceXml, key);
        });
    repository.setJournal(database_.get());
  } else if (earlier != nullptr) {
    warnings = repository.adoptPublished(*earlier);
  }
  for (const std::string& warning : warnings) {
    log_.warning(warning);
  }
}

}  // namespace cimd
