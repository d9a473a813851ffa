#include <csignal>
#include <exception>
#include <iostream>
#include <variant>

#include "service/service.h"

int main(int argc, char** argv) {
  // A reader of standard error that has gone away must not end the server.
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
  // Nor must a limit on the size of files, which to the store is a full disk.
  static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
  try {
    const auto read = cimd::readOptions(argc, argv);
    const auto* const options = std::get_if<cimd::Options>(&read);
    return static_cast<int>(options != nullptr ? cimd::serve(*options)
                                               : std::get<cimd::ExitStatus>(read));
  } catch (const std::exception& error) {
    std::cerr << "morvik-cimd: " << error.what() << std::endl;
    return static_cast<int>(cimd::ExitStatus::runTimeError);
  }
}
