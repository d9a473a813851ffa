#include "service/configuration.h"

#include <system_error>

#include "file.h"
#include "host/inventory.h"
#include "mof/loader.h"

namespace cimd {

namespace {

using Pegasus::CIMInstance;
using Pegasus::String;

// Properties that morvik compares cannot be left out. The rest is for people, and a class from
// before these properties, or of another maker, need not have them.
bool isOptional(const String& property) {
  return property != "model" && property != "CurrentClockSpeed" && property != "Capacity";
}

CIMInstance fittedTo(const Class& cls, const CIMInstance& instance) {
  CIMInstance fitted(instance.getClassName());
  for (Pegasus::Uint32 i = 0; i < instance.getPropertyCount(); ++i) {
    const Pegasus::CIMProperty& property = instance.getProperty(i);
    const auto declared = cls.findProperty(property.getName());
    const bool hasPlace = declared && cls.property(*declared).type == property.getType();
    if (hasPlace || !isOptional(property.getName())) {
      fitted.addProperty(property);
    }
  }
  return fitted;
}

constexpr std::size_t maxModelsSize = std::size_t{1} << 20U;

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
  if (!options.recordedTables) {
    return options.isHost ? std::optional(host::readHostBytes(host::HostSources())) : std::nullopt;
  }
  const std::string name = options.recordedTables->string();
  std::error_code error;
  if (!std::filesystem::is_directory(name, error)) {
    throw ConfigurationError(error ? "cannot open " + name + ": " + error.message()
                                   : name + " is not a directory");
  }
  return host::readHostBytes(host::recordedHost(name));
}

Repository Configuration::load() const {
  Repository repository;
  for (const std::string& warning :
       mof::loadMof(options_.files, repository, options_.includeDirectories)) {
    log_.writeOfFile(LogLevel::warning, warning);
  }
  if (hostBytes_) {
    declareHost(repository);
  }
  return repository;
}

host::Models Configuration::readModels() const {
  host::Models models;
  if (options_.model) {
    models.any = String(std::string_view(*options_.model));
  }
  if (!options_.models) {
    return models;
  }
  try {
    models.byProduct = host::parseModels(
        readFile(*options_.models, maxModelsSize, FileKind::regular), options_.models->string());
  } catch (const FileError& error) {
    // The package names a file that a site need not have.
    if (!error.isMissing()) {
      throw ConfigurationError(error.what());
    }
    log_.info("there is no " + options_.models->string() + ": product names are used as models");
  } catch (const std::runtime_error& error) {
    throw ConfigurationError(error.what());
  }
  return models;
}

void Configuration::declareHost(Repository& repository) const {
  const host::Inventory inventory = host::takeInventory(*hostBytes_, readModels());
  for (const std::string& message : inventory.messages) {
    log_.warning(message);
  }
  NameSpace& nameSpace = repository.nameSpace(defaultNameSpace);
  const String hostName(std::string_view(hostBytes_->hostName));
  const auto source = std::make_shared<const std::string>(hostBytes_->source);
  for (const CIMInstance& facts : inventory.instances) {
    try {
      const Class& cls = nameSpace.classNamed(facts.getClassName());
      CIMInstance instance = fittedTo(cls, facts);
      addSystemKeys(instance, cls, hostName);
      nameSpace.declareInstance(instance, source);
    } catch (const Pegasus::CIMException& error) {
      throw ConfigurationError("the inventory of the host does not fit the classes: " +
                               error.getDescription().toUtf8());
    }
  }
}

}  // namespace cimd
