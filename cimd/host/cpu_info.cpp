#include "host/cpu_info.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>

#include "host/host_text.h"

namespace cimd::host {

namespace {

using Pegasus::String;
using Pegasus::Uint32;

// More than Linux can start; a limit for files that are not the kernel's.
constexpr std::size_t maxPackages = 8192;

template <typename Number>
std::optional<Number> parse(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) {
    return std::nullopt;
  }
  return number;
}

std::optional<Uint32> toMegahertz(std::string_view text) {
  const auto megahertz = parse<double>(text);
  constexpr double limit = 4294967295.0;
  if (!megahertz || !(*megahertz >= 0.5 && *megahertz < limit)) {
    return std::nullopt;
  }
  return static_cast<Uint32>(std::llround(*megahertz));
}

struct LogicalProcessor {
  Uint32 package = 0;
  std::string_view name;
  std::string_view megahertz;
};

// Lines of the form "cpu MHz\t\t: 2499.986"; "processor" begins the next one. What stands before
// the first, or describes the machine, is passed over.
std::vector<LogicalProcessor> readLogicalProcessors(std::string_view text) {
  std::vector<LogicalProcessor> processors;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) {
      continue;
    }
    const std::string_view key = trimmed(line.substr(0, colon));
    const std::string_view value = trimmed(line.substr(colon + 1));
    if (key == "processor") {
      processors.emplace_back();
    } else if (processors.empty()) {
      continue;
    } else if (key == "physical id") {
      processors.back().package = parse<Uint32>(value).value_or(0);
    } else if (key == "model name") {
      processors.back().name = value;
    } else if (key == "cpu MHz") {
      processors.back().megahertz = value;
    }
  }
  return processors;
}

}  // namespace

std::vector<ProcessorFacts> readCpuinfo(std::string_view text) {
  std::map<Uint32, LogicalProcessor> packages;
  for (const LogicalProcessor& processor : readLogicalProcessors(text)) {
    if (packages.size() < maxPackages) {
      packages.emplace(processor.package, processor);
    }
  }
  std::vector<ProcessorFacts> result;
  for (const auto& [number, processor] : packages) {
    ProcessorFacts facts;
    facts.deviceId = String(("CPU " + std::to_string(number)).c_str());
    if (!processor.name.empty()) {
      facts.name = toText(processor.name);
    }
    facts.clockMegahertz = toMegahertz(processor.megahertz);
    result.push_back(std::move(facts));
  }
  return result;
}

}  // namespace cimd::host
