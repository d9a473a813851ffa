#include "driver/command_line.h"

namespace {

constexpr const char* defaultServer = MORVIK_DEFAULT_PARTS_SERVER;
constexpr const char* defaultDirectory = "/pc/dolmex/bp_server";

// Reads one option value, whatever it looks like, and moves past it. Where the list ends instead,
// the location has no value: the empty text.
const char* takeValue(char**& next) {
  return *next == nullptr ? "" : *next++;
}

}  // namespace

bool parseCommandLine(int /*argumentCount*/, char** arguments, const char*& server,
                      const char*& directory) {
  if (arguments[0] == nullptr || arguments[1] == nullptr) {
    server = defaultServer;
    directory = defaultDirectory;
    return true;
  }
  // `next` is the argument after `current`; `current` may have lost some of its dashes.
  const char* current = arguments[1];
  char** next = arguments + 2;
  bool accepted = false;
  while (current != nullptr && *current == '-') {
    ++current;
    // Only the first letter after the dash is looked at, in either case. An unknown one leaves the
    // rest of the word as the next option, so that each extra dash is a failure that a following
    // s or d makes good.
    switch (*current) {
      case 's':
      case 'S':
        server = takeValue(next);
        break;
      case 'd':
      case 'D':
        directory = takeValue(next);
        break;
      default:
        accepted = false;
        continue;
    }
    accepted = true;
    current = *next == nullptr ? nullptr : *next++;
  }
  return accepted;
}
