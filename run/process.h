// Runs another program and waits for it, without a shell.
#pragma once

#include <signal.h>  // NOLINT(modernize-deprecated-headers): <csignal> has no sigset_t

#include <chrono>
#include <string>
#include <vector>

namespace run {

struct Command {
  // The program, a path or a name in PATH, and its arguments.
  std::vector<std::string> words;
  // Where it works.
  std::string directory;
  // Put before PATH, if not empty.
  std::string programs = {};
  // How long it may take. It is then killed, with all that it has started.
  std::chrono::milliseconds limit;
  // A descriptor that stays open in it, or -1. Others are closed.
  int inherited = -1;
};

struct Ended {
  // 0 to 255; 128 and the number of the signal if one has ended it.
  int status = 0;
  bool isTimeUp = false;
  // Standard output and error, at most 64 KiB of each; the rest is read and lost.
  std::string output;
  std::string errors;
};

// The program gets the environment of this process except for the settings, which may hold
// passwords, and is the leader of a process group, so that a signal to this process does not reach
// it. If this process is killed, the program goes on, but never longer than its limit. Throws
// std::system_error if it cannot be started.
Ended runProgram(const Command& command);

// Writes a file for another program to read at once. Throws Failure(badUse).
void writeFile(const std::string& path, const std::string& text);

// As long as this lives, SIGTERM, SIGINT and SIGHUP wait.
class SignalsHeld {
 public:
  SignalsHeld();
  ~SignalsHeld();
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;
  SignalsHeld(SignalsHeld&&) = delete;
  SignalsHeld& operator=(SignalsHeld&&) = delete;

 private:
  sigset_t before_{};
};

}  // namespace run
