#include <csignal>
#include <cstdio>
#include <iostream>

#include "driver/command_line.h"
#include "driver/run.h"

namespace {

// Standard output may be a pipe that nobody reads any more, or a file that must not grow. Messages
// that cannot be written are lost, but the run is not. A handler, unlike SIG_IGN, is not inherited
// by the programs that the run starts.
void outliveLostOutput() {
  const auto doNothing = [](int /*signal*/) {};
  std::signal(SIGPIPE, doNothing);
  std::signal(SIGXFSZ, doNothing);
}

}  // namespace

// Ends with 1 only when the command line is rejected. For compatibility a run that failed ends with
// 0 like one that succeeded: callers must look at what it has printed or published.
int main(int argc, char** argv) {
  outliveLostOutput();
  const char* server = "";
  const char* directory = "";
  if (!parseCommandLine(argc, argv, server, directory)) {
    std::fprintf(stderr,
                 "morvik - Copyright (C) 2026 the morvik authors\n"
                 "Please run man morvik for help\n");
    return 1;
  }
  try {
    run(server, directory);
  } catch (...) {
    std::cout << "Morvik did not complete. Please run morvik manually (see man morvik for help)."
              << std::endl;
  }
  return 0;
}
