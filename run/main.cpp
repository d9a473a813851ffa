#include <fcntl.h>
#include <unistd.h>

#include <clocale>
#include <csignal>
#include <exception>
#include <iostream>

#include "outcome.h"
#include "report.h"
#include "run.h"
#include "settings.h"

using run::Status;

namespace {

void complain(const std::string& words) {
  std::cerr << "morvik-run: " << words << std::endl;
}

Status say(const run::Report& report, const run::Settings& settings) {
  const bool isGood = report.status == Status::good;
  if (settings.isJson) {
    std::cout << show::dump(run::toJson(report)) << std::endl;
  } else if (isGood && !settings.isQuiet) {
    std::cout << report.message << std::endl;
  }
  if (!isGood) {
    complain(report.message);
  }
  for (const std::string& note : report.notes) {
    complain(note);
  }
  if (!std::cout.good()) {
    complain("cannot write to standard output");
    return isGood ? Status::badUse : report.status;
  }
  return report.status;
}

// Otherwise a file that is opened later would get what is written to standard output.
void openStandardDescriptors() {
  int descriptor = 0;
  do {
    descriptor = open("/dev/null", O_RDWR);
  } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
  close(descriptor);
}

int runAsAsked(int argc, char** argv) {
  try {
    const auto settings = run::readSettings(argc, argv);
    if (const int* status = std::get_if<int>(&settings)) {
      return *status;
    }
    const auto& asked = std::get<run::Settings>(settings);
    return static_cast<int>(say(run::run(asked), asked));
  } catch (const run::Failure& failure) {
    complain(failure.what());
    return static_cast<int>(failure.status());
  } catch (const std::exception& error) {
    complain(run::harmless(error.what()));
  }
  return static_cast<int>(Status::badUse);
}

}  // namespace

int main(int argc, char** argv) {
  // Says which characters are printable; nothing else depends on it.
  std::setlocale(LC_CTYPE, "");
  // A message that nobody can take must not end a run, nor a file that must not grow.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  openStandardDescriptors();
  return runAsAsked(argc, argv);
}
