#include <csignal>
#include <exception>
#include <iostream>

#include "service/service.h"

int main(int argc, char** argv) {
  // A reader of standard error that has gone away must not end the server.
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
  // Nor must a limit on the size of files: to the store it is a full disk.
  static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
  try {
    cimd::Options options;
    if (const auto status = cimd::readOptions(argc, argv, options)) {
      return *status;
    }
    return cimd::serve(options);
  } catch (const std::exception& error) {
    std::cerr << "morvik-cimd: " << error.what() << std::endl;
    return cimd::EXIT_RUN_TIME;
  }
}
