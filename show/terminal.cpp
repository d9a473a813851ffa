#include "terminal.h"

#include <langinfo.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <string_view>

namespace show {

namespace {

constexpr std::size_t usualColumns = 80;

std::string_view environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

std::size_t columnsOf(int descriptor) {
  const std::string_view wanted = environment("COLUMNS");
  const char* end = wanted.data() + wanted.size();
  std::size_t columns = 0;
  const auto parsed = std::from_chars(wanted.data(), end, columns);
  if (parsed.ec == std::errc() && parsed.ptr == end && columns > 0) {
    return columns;
  }
  winsize size = {};
  const bool isKnown = ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return isKnown ? size.ws_col : usualColumns;
}

}  // namespace

Terminal lookAt(int descriptor) {
  Terminal terminal;
  terminal.isTerminal = isatty(descriptor) == 1;
  if (!terminal.isTerminal) {
    return terminal;
  }
  const std::string_view kind = environment("TERM");
  terminal.hasColours = environment("NO_COLOR").empty() && !kind.empty() && kind != "dumb";
  terminal.hasOnlyAscii = std::string_view(nl_langinfo(CODESET)) != "UTF-8";
  terminal.columns = columnsOf(descriptor);
  return terminal;
}

}  // namespace show
