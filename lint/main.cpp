#include <clocale>
#include <exception>

#include "lint.h"

int main(int argc, char** argv) {
  // Says which characters a terminal understands; nothing else depends on it.
  std::setlocale(LC_CTYPE, "");
  try {
    return static_cast<int>(lint::run(argc, argv));
  } catch (const std::exception& error) {
    lint::complain(error.what());
  }
  return static_cast<int>(lint::ExitStatus::trouble);
}
