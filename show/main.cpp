#include <clocale>
#include <exception>

#include "show.h"

using show::ExitStatus;

namespace {

ExitStatus showAsked(int argc, char** argv) {
  try {
    const auto options = show::readOptions(argc, argv);
    const auto* status = std::get_if<ExitStatus>(&options);
    return status != nullptr ? *status : show::run(std::get<show::Options>(options));
  } catch (const std::exception& error) {
    show::complain(Pegasus::String(error.what()));
  }
  return ExitStatus::trouble;
}

}  // namespace

int main(int argc, char** argv) {
  // Says which characters a terminal understands; nothing else depends on it.
  std::setlocale(LC_CTYPE, "");
  return static_cast<int>(showAsked(argc, argv));
}
