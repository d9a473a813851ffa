#include "service/configuration.h"

#include "host/inventory.h"
#include "mof/loader.h"

namespace cimd {

namespace {

using Pegasus::CIMInstance;
using Pegasus::String;

// Classes that are derived from those of the DMTF have more keys than the inventory knows. These
// name the system that a part belongs to, and the class itself.
void addSystemKeys(CIMInstance& instance, const Class& cls, const String& hostName) {
  for (const std::size_t position : cls.keys()) {
    const String& name = cls.property(position).name;
    if (instance.findProperty(name) != Pegasus::PEG_NOT_FOUND) {
      continue;
    }
    if (String::equalNoCase(name, "CreationClassName")) {
      instance.addProperty({name, cls.name()});
    } else if (String::equalNoCase(name, "SystemCreationClassName")) {
      instance.addProperty({name, "KVAXDT_ComputerSystemDetails"});
    } else if (String::equalNoCase(name, "SystemName")) {
      instance.addProperty({name, hostName});
    }
  }
}

}  // namespace

std::optional<host::HostBytes> readHost(const Options& options) {
  if (!options.isHost) {
    return std::nullopt;
  }
  if (!options.recordedTables) {
    return host::readHostBytes(host::HostSources());
  }
  if (!std::filesystem::is_directory(*options.recordedTables)) {
    throw ConfigurationError(options.recordedTables->string() + " is not a directory");
  }
  return host::readHostBytes(host::recordedHost(*options.recordedTables));
}

Repository Configuration::load() const {
  Repository repository;
  for (const std::string& warning : mof::loadMof(files_, repository, includeDirectories_)) {
    log_.fileWarning(warning);
  }
  if (hostBytes_) {
    declareHost(repository);
  }
  return repository;
}

void Configuration::declareHost(Repository& repository) const {
  const host::HostInventory inventory = host::describeHost(*hostBytes_);
  for (const std::string& message : inventory.messages) {
    log_.warning(message);
  }
  NameSpace& nameSpace = repository.nameSpace(defaultNameSpace);
  const String hostName(std::string_view(hostBytes_->hostName));
  const auto source = std::make_shared<const std::string>(hostBytes_->source);
  for (CIMInstance instance : inventory.instances) {
    try {
      addSystemKeys(instance, nameSpace.classNamed(instance.getClassName()), hostName);
      nameSpace.declareInstance(instance, source);
    } catch (const Pegasus::CIMException& error) {
      throw ConfigurationError("the inventory of the host does not fit the classes: " +
                               error.getDescription().toUtf8());
    }
  }
}

}  // namespace cimd
