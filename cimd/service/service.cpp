#include "service/service.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/system/system_error.hpp>
#include <csignal>
#include <functional>
#include <iostream>
#include <memory>
#include <new>
#include <sstream>

#include "host/host_files.h"
#include "http/cim_handler.h"
#include "http/http_server.h"
#include "log.h"
#include "mof/mof_error.h"
#include "service/configuration.h"
#include "service/notification.h"
#include "service/privileges.h"
#include "store/instance_database.h"
#include "store/store_file.h"

namespace cimd {

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

// Each connection takes a descriptor; what else the server has open are a dozen.
constexpr rlim_t otherDescriptors = 16;

HttpLimits limitsWithin(rlim_t descriptors) {
  HttpLimits limits;
  const rlim_t left = descriptors > otherDescriptors ? descriptors - otherDescriptors : 1;
  limits.connections = std::min<std::size_t>(limits.connections, left);
  return limits;
}

// Of this process, raised where it must be and may be.
HttpLimits readLimits() {
  const rlim_t wanted = HttpLimits().connections + otherDescriptors;
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) {
    return {};
  }
  if (limit.rlim_cur < wanted) {
    limit.rlim_cur = std::min(limit.rlim_max, wanted);
    static_cast<void>(setrlimit(RLIMIT_NOFILE, &limit));
  }
  return limitsWithin(limit.rlim_cur);
}

std::optional<host::HostBytes> readHost(const Options& options) {
  if (!options.isHost) {
    return std::nullopt;
  }
  if (!options.recordedTables) {
    return host::readHostBytes(host::HostSources());
  }
  if (!std::filesystem::is_directory(*options.recordedTables)) {
    throw ConfigurationError(options.recordedTables->string() + " is no folder with tables");
  }
  return host::readHostBytes(host::recordedHost(*options.recordedTables));
}

constexpr Account root{0, 0};

// Of the file itself, where the name is a link.
std::filesystem::path folderOf(const std::filesystem::path& file) {
  return std::filesystem::weakly_canonical(std::filesystem::absolute(file)).parent_path();
}

// Whom the store belongs to can write it; what needs no file needs no account of weight.
Account accountFor(const Options& options, const Log& log) {
  if (options.user) {
    const auto account = accountNamed(*options.user);
    if (!account) {
      throw ConfigurationError("there is no account " + *options.user);
    }
    return *account;
  }
  const std::string kept = "running as root, though without its capabilities: ";
  struct stat folder {};
  if (options.store && stat(folderOf(*options.store).c_str(), &folder) == 0) {
    if (folder.st_uid == root.user) {
      log.warning(kept + "the folder of the store belongs to root");
    }
    return {folder.st_uid, folder.st_gid};
  }
  const Account nobody = accountNamed("nobody").value_or(Account{65534, 65534});
  for (const auto& file : options.files) {
    if (isClosedTo(nobody, file)) {
      log.warning(kept + file.string() + " is closed to the account nobody");
      return root;
    }
  }
  return nobody;
}

void giveUpRoot(const Options& options, const Log& log) {
  if (geteuid() != root.user) {
    if (options.user) {
      log.warning("not started as root, so --user is passed over");
    }
    return;
  }
  const Account account = accountFor(options, log);
  try {
    becomeAccount(account);
  } catch (const std::system_error& error) {
    if (options.user) {
      throw std::runtime_error("cannot run as " + *options.user + ": " + error.what());
    }
    // In a container that has no other accounts, say.
    log.warning(std::string("running as root, though without its capabilities: ") + error.what());
    becomeAccount(root);
  }
}

// The published instances: on disk where there is a store, otherwise in memory only.
class Publications {
 public:
  Publications(const Options& options, const Log& log) : log_(log) {
    // A check must not make the file.
    if (options.store && (!options.isCheck || std::filesystem::exists(*options.store))) {
      database_ = std::make_unique<InstanceDatabase>(*options.store);
    }
  }

  // Puts them into a freshly loaded repository; `earlier` is the one that was served until now, or
  // null. From here on changes go to the store.
  void restore(Repository& repository, const Repository* earlier) {
    if (database_) {
      warn(database_->load(
          [&](const Pegasus::String& name, const InstanceKey& key, std::string_view instanceXml) {
            repository.nameSpace(name).restoreInstance(instanceXml, key);
          }));
      repository.setJournal(database_.get());
    } else if (earlier != nullptr) {
      warn(repository.adoptPublished(*earlier));
    }
  }

 private:
  void warn(const std::vector<std::string>& messages) {
    for (const std::string& message : messages) {
      log_.warning(message);
    }
  }

  const Log& log_;
  std::unique_ptr<InstanceDatabase> database_;
};

std::string describe(const Repository& repository) {
  const Repository::Counts counts = repository.counts();
  return std::to_string(counts.nameSpaces) + " namespaces, " + std::to_string(counts.classes) +
         " classes, " + std::to_string(counts.declared) + " instances declared, " +
         std::to_string(counts.published) + " published";
}

// The end is on its way: a second signal must not make it look like a failure.
void blockEndSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
}

class Service {
 public:
  Service(const Options& options, std::optional<host::HostBytes> hostBytes, const Log& log)
      : options_(options),
        log_(log),
        configuration_(options.files, options.includeDirectories, std::move(hostBytes), log),
        repository_(configuration_.load()),
        publications_(options, log) {
    publications_.restore(repository_, nullptr);
    log_.debug("serving " + describe(repository_));
  }

  void report() const {
    if (!(std::cout << describe(repository_) << std::endl)) {
      throw std::runtime_error("cannot write to standard output");
    }
  }

  void run() {
    const tcp::endpoint endpoint(asio::ip::make_address(options_.address), options_.port);
    CimHandler handler(repository_, log_);
    HttpServer server(io_, endpoint, handler, readLimits());
    ends_.async_wait([&](boost::system::error_code, int) {
      blockEndSignals();
      notifySystemd("STOPPING=1");
      io_.stop();
    });
    awaitReload();
    std::ostringstream where;
    where << server.localEndpoint();
    log_.info("listening on " + where.str());
    notifySystemd("READY=1");
    serveUntilTheEnd();
  }

 private:
  // A connection for which there is no memory ends with what was thrown. The others go on.
  void serveUntilTheEnd() {
    for (;;) {
      try {
        io_.run();
        return;
      } catch (const std::bad_alloc&) {
        log_.error("out of memory: a connection was dropped");
      }
    }
  }

  void awaitReload() {
    reload_.async_wait([this](boost::system::error_code error, int) {
      if (!error) {
        reload();
        awaitReload();
      }
    });
  }

  // What is served stays as it is unless everything new is good.
  void reload() {
    try {
      Repository fresh = configuration_.load();
      publications_.restore(fresh, &repository_);
      repository_ = std::move(fresh);
      log_.info("reloaded: " + describe(repository_));
    } catch (const std::exception& error) {
      log_.error(std::string("not reloaded: ") + error.what());
    }
  }

  const Options& options_;
  const Log& log_;
  asio::io_context io_{1};
  // Before the rest: a signal that comes while that is loaded waits for its turn.
  asio::signal_set ends_{io_, SIGTERM, SIGINT};
  asio::signal_set reload_{io_, SIGHUP};
  Configuration configuration_;
  Repository repository_;
  Publications publications_;
};

}  // namespace

ExitStatus serve(const Options& options) {
  const Log log(options.logLevel);
  try {
    // The tables of the host are the one thing that takes root.
    auto hostBytes = readHost(options);
    giveUpRoot(options, log);
    Service service(options, std::move(hostBytes), log);
    if (options.isCheck) {
      service.report();
    } else {
      service.run();
    }
    return EXIT_OK;
  } catch (const mof::MofError& error) {
    log.fileError(error.what());
    return EXIT_CONFIGURATION;
  } catch (const ConfigurationError& error) {
    log.error(error.what());
    return EXIT_CONFIGURATION;
  } catch (const StoreError& error) {
    log.error(error.what());
    return EXIT_RUN_TIME;
  } catch (const boost::system::system_error& error) {
    log.error("cannot listen on " + options.address + ":" + std::to_string(options.port) + ": " +
              error.code().message());
    return EXIT_RUN_TIME;
  }
}

}  // namespace cimd
