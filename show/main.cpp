#include <Pegasus/Common/Exception.h>
#include <unistd.h>

#include <clocale>
#include <exception>
#include <iostream>

#include "show.h"
#include "text.h"

using Pegasus::String;

namespace {

int fail(const String& words) {
  std::cerr << "morvik-show: " << show::harmless(words, show::lookAt(STDERR_FILENO)) << std::endl;
  return show::EXIT_TROUBLE;
}

}  // namespace

int main(int argc, char** argv) {
  // Tells which characters a terminal understands; nothing else depends on it.
  std::setlocale(LC_CTYPE, "");
  try {
    show::Options options;
    if (const auto status = show::readOptions(argc, argv, options)) {
      return *status;
    }
    return show::run(options);
  } catch (const Pegasus::Exception& error) {
    return fail(error.getMessage());
  } catch (const std::exception& error) {
    return fail(String(error.what()));
  }
}
