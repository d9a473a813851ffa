#include "process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): <csignal> has no sigprocmask
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "file.h"
#include "outcome.h"

namespace run {

namespace {

constexpr std::size_t mostOutput = 65536;

[[noreturn]] void throwSystemError(const std::string& what, int error) {
  throw std::system_error(error, std::generic_category(), what);
}

// Both ends are closed at exec.
struct Pipe {
  show::Descriptor reading;
  show::Descriptor writing;
};

Pipe makePipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    throwSystemError("pipe", errno);
  }
  return {show::Descriptor(ends[0]), show::Descriptor(ends[1])};
}

std::vector<std::string> environmentFor(const Command& command) {
  std::vector<std::string> variables;
  std::string path = "PATH=";
  for (char** variable = environ; *variable != nullptr; ++variable) {
    const std::string_view text = *variable;
    if (text.starts_with("PATH=")) {
      path = text;
    } else if (!text.starts_with("MORVIK_")) {
      variables.emplace_back(text);
    }
  }
  if (path == "PATH=") {  // as in an empty environment; morvik needs rm and mv
    path = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";
  }
  if (!command.programs.empty()) {
    path.insert(std::string_view("PATH=").size(), command.programs + ":");
  }
  variables.push_back(path);
  return variables;
}

// A path stays as it is, and so does a name that is in no directory of PATH, which fails later.
std::string findProgram(const std::string& name) {
  const char* path = std::getenv("PATH");
  if (name.find('/') != std::string::npos || path == nullptr) {
    return name;
  }
  std::istringstream directories(path);
  for (std::string directory; std::getline(directories, directory, ':');) {
    directory += '/';
    directory += name;
    if (access(directory.c_str(), X_OK) == 0) {
      return directory;
    }
  }
  return name;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) {
    pointers.push_back(text.data());
  }
  pointers.push_back(nullptr);
  return pointers;
}

// In the new process: only functions that are safe between fork and exec, and no way back. The
// error goes to the parent through `failed`.
[[noreturn]] void become(const Command& command, const char* program, char** words,
                         char** variables, int input, int output, int errors, int failed) {
  setpgid(0, 0);
  // Counts on after exec, when nobody else may be left to end the program.
  alarm(static_cast<unsigned>(command.limit.count() / 1000 + 1));
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  signal(SIGALRM, SIG_DFL);
  signal(SIGPIPE, SIG_DFL);
  if (dup2(input, STDIN_FILENO) >= 0 && dup2(output, STDOUT_FILENO) >= 0 &&
      dup2(errors, STDERR_FILENO) >= 0 && chdir(command.directory.c_str()) == 0) {
    if (command.inherited >= 0) {
      fcntl(command.inherited, F_SETFD, 0);
    }
    // Not execvpe(), which hands what is not a program to the shell.
    execve(program, words, variables);
  }
  const int error = errno;
  [[maybe_unused]] const ssize_t written = write(failed, &error, sizeof error);
  _exit(127);
}

// Reads what is there; closes the pipe at its end.
void readSome(show::Descriptor& pipe, std::string& text) {
  std::array<char, 4096> buffer{};
  const ssize_t got = read(pipe.number(), buffer.data(), buffer.size());
  if (got > 0) {
    const auto room = mostOutput - text.size();
    text.append(buffer.data(), std::min(static_cast<std::size_t>(got), room));
  } else if (got == 0 || (errno != EINTR && errno != EAGAIN)) {
    pipe.close();
  }
}

// Until both pipes have ended: false if the time is up before.
bool readAll(show::Descriptor& output, show::Descriptor& errors, const Deadline& deadline,
             Ended& ended) {
  while (output.number() >= 0 || errors.number() >= 0) {
    const auto left = deadline.left().count();
    if (left == 0) {
      return false;
    }
    // poll() leaves out descriptors below zero.
    std::array<pollfd, 2> waited{{{output.number(), POLLIN, 0}, {errors.number(), POLLIN, 0}}};
    if (poll(waited.data(), waited.size(), static_cast<int>(left)) <= 0) {
      continue;
    }
    if (waited[0].revents != 0) {
      readSome(output, ended.output);
    }
    if (waited[1].revents != 0) {
      readSome(errors, ended.errors);
    }
  }
  return true;
}

int waitFor(pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) < 0) {
    if (errno != EINTR) {
      throwSystemError("waitpid", errno);
    }
  }
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace

Ended runProgram(const Command& command) {
  std::vector<std::string> words = command.words;
  const std::string program = findProgram(words.at(0));
  std::vector<std::string> variables = environmentFor(command);
  std::vector<char*> wordPointers = pointersTo(words);
  std::vector<char*> variablePointers = pointersTo(variables);
  const show::Descriptor input = makePipe().reading;  // at its end, because nobody can write to it
  Pipe output = makePipe();
  Pipe errors = makePipe();
  Pipe failed = makePipe();
  const Deadline deadline(command.limit);
  const pid_t process = fork();
  if (process < 0) {
    throwSystemError("fork", errno);
  }
  if (process == 0) {
    become(command, program.c_str(), wordPointers.data(), variablePointers.data(), input.number(),
           output.writing.number(), errors.writing.number(), failed.writing.number());
  }
  output.writing.close();
  errors.writing.close();
  failed.writing.close();
  int error = 0;
  // Waits for exec, which closes the other end.
  if (read(failed.reading.number(), &error, sizeof error) == static_cast<ssize_t>(sizeof error)) {
    waitFor(process);
    throwSystemError("cannot start " + words[0], error);
  }
  Ended ended;
  ended.isTimeUp = !readAll(output.reading, errors.reading, deadline, ended);
  if (ended.isTimeUp) {
    kill(-process, SIGKILL);
  }
  ended.status = waitFor(process);
  return ended;
}

void writeFile(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (!file) {
    throw Failure(Status::badUse,
                  "cannot write " + path + ": " + std::generic_category().message(errno));
  }
}

SignalsHeld::SignalsHeld() {
  sigset_t held;
  sigemptyset(&held);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    sigaddset(&held, signal);
  }
  sigprocmask(SIG_BLOCK, &held, &before_);
}

SignalsHeld::~SignalsHeld() {
  sigprocmask(SIG_SETMASK, &before_, nullptr);
}

}  // namespace run
