#include "service/service.h"

#include <malloc.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/system/system_error.hpp>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <iostream>
#include <new>
#include <optional>
#include <sstream>
#include <system_error>

#include "accounts.h"
#include "host/sources.h"
#include "http/cim_handler.h"
#include "http/connection_owner.h"
#include "http/http_server.h"
#include "log.h"
#include "mof/error.h"
#include "service/configuration.h"
#include "service/daemon.h"
#include "service/published_instances.h"
#include "store/recovery.h"
#include "store/store_file.h"

namespace cimd {

namespace {

namespace asio = boost::asio;
namespace fs = std::filesystem;
using asio::ip::tcp;

std::string counted(std::size_t count, const std::string& one, const std::string& many) {
  return std::to_string(count) + ' ' + (count == 1 ? one : many);
}

std::string describe(const Repository& repository) {
  const Repository::Counts counts = repository.counts();
  return counted(counts.nameSpaces, "namespace", "namespaces") + ", " +
         counted(counts.classes, "class", "classes") + ", " +
         counted(counts.declared, "instance", "instances") + " declared, " +
         std::to_string(counts.published) + " published";
}

// The server is ending: a second signal must not make that look like a failure.
void blockEndSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
}

// A check must not create the file.
std::optional<fs::path> storeToOpen(const Options& options) {
  const bool isLeftOut = options.isCheck && options.store && !fs::exists(*options.store);
  return isLeftOut ? std::nullopt : options.store;
}

// The names are looked up anew each time.
Writers findWriters(const Options& options, std::optional<uid_t> ownAccount) {
  Writers writers;
  if (ownAccount) {
    writers.accounts.insert(*ownAccount);
  }
  for (const std::string& name : options.writers) {
    const bool isGroup = name.starts_with('@');
    const auto group = isGroup ? groupNamed(name.substr(1)) : std::nullopt;
    const auto account = isGroup ? std::nullopt : accountNamed(name);
    if (group) {
      writers.groups.insert(*group);
    } else if (account) {
      writers.accounts.insert(account->user);
    } else {
      throw ConfigurationError(isGroup ? "there is no group " + name.substr(1)
                                       : "there is no account " + name);
    }
  }
  return writers;
}

class Service {
 public:
  // `ownAccount` is a writer, if there is one.
  Service(const Options& options, std::optional<host::HostBytes> hostBytes,
          std::optional<uid_t> ownAccount, const Log& log)
      : options_(options),
        log_(log),
        ownAccount_(ownAccount),
        access_(findWriters(options, ownAccount), log),
        configuration_(options, std::move(hostBytes), log),
        repository_(configuration_.load()),
        published_(storeToOpen(options), log, [this] { returnSpaceLater(afterChange); }) {
    restore(repository_, nullptr);
    log_.debug("serving " + describe(repository_));
  }

  void report() const {
    if (!(std::cout << describe(repository_) << std::endl)) {
      throw std::runtime_error("cannot write to standard output");
    }
  }

  void run() {
    CimHandler handler(repository_, access_, log_);
    HttpServer server = startServer(handler);
    ends_.async_wait([&](boost::system::error_code, int) {
      blockEndSignals();
      notifySystemd("STOPPING=1");
      io_.stop();
    });
    awaitReload();
    checkOwners(server.localEndpoint());
    std::ostringstream where;
    where << server.localEndpoint();
    log_.info("listening on " + where.str());
    notifySystemd("READY=1");
    serveUntilTheEnd();
  }

 private:
  HttpServer startServer(CimHandler& handler) {
    const tcp::endpoint wanted(asio::ip::make_address(options_.address), options_.port);
    auto passed = passedAcceptor(io_);
    if (!passed) {
      return {io_, wanted, handler, limitsOfProcess(options_.maxRequest)};
    }
    const Options defaults;
    const bool isDefault = options_.address == defaults.address && options_.port == defaults.port;
    if (!isDefault && passed->local_endpoint() != wanted) {
      log_.warning("--listen ignored: systemd holds another address for the server");
    }
    return {io_, *std::move(passed), handler, limitsOfProcess(options_.maxRequest)};
  }

  void checkOwners(const tcp::endpoint& listening) const {
    try {
      checkOwnersAreKnown(listening);
    } catch (const std::system_error& error) {
      log_.error(std::string("the kernel does not know whose connections are: all changes will be "
                             "refused: ") +
                 error.what());
    }
  }

  void restore(Repository& repository, const Repository* earlier) {
    Quota& quota = repository.quota();
    quota.maxInstances = options_.maxInstances;
    quota.maxBytes = options_.maxBytes;
    published_.restore(repository, earlier);
    if (quota.isExceeded()) {
      log_.warning("published: " + std::to_string(quota.instances) + " instances of " +
                   std::to_string(quota.bytes) +
                   " bytes, more than the limits; all are served, and none can be added");
    }
  }

  // The exception ends the connection that there is no memory for; the others go on.
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

  // A while after a change, so that a run of many changes is not slowed down; then part by part.
  void returnSpaceLater(std::chrono::milliseconds delay) {
    if (isReturningSpace_) {
      return;
    }
    isReturningSpace_ = true;
    spaceTimer_.expires_after(delay);
    spaceTimer_.async_wait([this](boost::system::error_code error) {
      isReturningSpace_ = false;
      if (!error && published_.returnSpace()) {
        returnSpaceLater(betweenParts);
      }
    });
  }

  // Keeps serving what it has unless everything new is good.
  void reload() {
    try {
      Writers writers = findWriters(options_, ownAccount_);
      Repository fresh = configuration_.load();
      restore(fresh, &repository_);
      repository_ = std::move(fresh);
      access_.setWriters(std::move(writers));
      log_.info("reloaded: " + describe(repository_));
    } catch (const std::exception& error) {
      log_.error(std::string("not reloaded: ") + error.what());
    }
  }

  static constexpr std::chrono::milliseconds afterChange{1000};
  static constexpr std::chrono::milliseconds betweenParts{10};

  const Options& options_;
  const Log& log_;
  std::optional<uid_t> ownAccount_;
  Access access_;
  asio::io_context io_{1};
  // First, so that a signal that comes while the rest is loaded is not lost.
  asio::signal_set ends_{io_, SIGTERM, SIGINT};
  asio::signal_set reload_{io_, SIGHUP};
  asio::steady_timer spaceTimer_{io_};
  bool isReturningSpace_ = false;
  Configuration configuration_;
  Repository repository_;
  PublishedInstances published_;
};

void recover(const fs::path& store) {
  const fs::path target = besides(store, ".recovered");
  const Recovery recovery = recoverStore(store, target);
  std::cout << recovery.instances << " instances written to " << target.string() << '\n';
  if (!recovery.unreadable.empty()) {
    std::cout << "cannot be read:\n";
  }
  for (const std::string& line : recovery.unreadable) {
    std::cout << "  " << line << '\n';
  }
  // SQLite would apply the journal of the damaged store to a file that is put in its place.
  std::cout << "to use it, remove " << store.string() << " and " << store.string()
            << "-journal, and rename it" << std::endl;
}

}  // namespace

ExitStatus serve(const Options& options) {
  // Large requests and answers go back to the system at once; by default the C library learns from
  // their sizes to keep them.
  mallopt(M_MMAP_THRESHOLD, 256 << 10);
  const Log log(options.logLevel);
  try {
    if (options.recover) {
      Options access = options;
      access.store = options.recover;
      giveUpRoot(access, log);
      recover(*options.recover);
      return ExitStatus::ok;
    }
    // Only reading the tables of the host takes root.
    auto hostBytes = readHost(options);
    const auto ownAccount = giveUpRoot(options, log);
    Service service(options, std::move(hostBytes), ownAccount, log);
    if (options.isCheck) {
      service.report();
    } else {
      service.run();
    }
    return ExitStatus::ok;
  } catch (const mof::MofError& error) {
    log.writeOfFile(LogLevel::error, error.what());
    return ExitStatus::configuration;
  } catch (const ConfigurationError& error) {
    log.error(error.what());
    return ExitStatus::configuration;
  } catch (const StoreError& error) {
    log.error(error.what());
    return ExitStatus::runTimeError;
  } catch (const boost::system::system_error& error) {
    log.error("cannot listen on " + options.address + ":" + std::to_string(options.port) + ": " +
              error.code().message());
    return ExitStatus::runTimeError;
  }
}

}  // namespace cimd
