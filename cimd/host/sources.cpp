#include "host/sources.h"

#include "text/ascii.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <stdexcept>

#include "file.h"
#include "model/names.h"

namespace cimd::host {

namespace {

namespace fs = std::filesystem;
using Pegasus::String;
using Pegasus::Uint32;
using Pegasus::text::trimmed;

// Tables of large servers have some 100 KiB. The kernel writes some 2 KiB for each logical
// processor into cpuinfo.
constexpr std::size_t maxTableSize = std::size_t{4} << 20U;
constexpr std::size_t maxCpuinfoSize = std::size_t{32} << 20U;

// Nothing for a missing file, and for one that cannot be read, with the reason among the messages.
std::optional<std::string> readIfThere(const fs::path& path, std::size_t limit,
                                       std::vector<std::string>& messages) {
  try {
    return readFile(path, limit, FileKind::regular);
  } catch (const FileError& error) {
    if (!error.isMissing()) {
      messages.emplace_back(error.what());
    }
    return std::nullopt;
  }
}

// Takes the first line from the text, which must not be empty.
std::string_view takeLine(std::string_view& text) {
  const std::string_view line = text.substr(0, text.find('\n'));
  text.remove_prefix(std::min(line.size() + 1, text.size()));
  return line;
}

// Nothing for a text that is not UTF-8 or has a control character.
std::optional<String> plainText(std::string_view bytes) {
  String text(bytes);
  const auto units = text.view();
  const bool isPlain =
      text.toUtf8() == bytes && std::all_of(units.begin(), units.end(), [](char16_t unit) {
        return unit >= 0x20 && (unit < 0x7F || unit > 0x9F) && unit < 0xFFFE;
      });
  return isPlain ? std::optional(std::move(text)) : std::nullopt;
}

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

// Lines of the form "cpu MHz\t\t: 2499.986"; "processor" begins the next one. Lines before the
// first, and those that describe the machine, are ignored.
std::vector<LogicalProcessor> readLogicalProcessors(std::string_view text) {
  std::vector<LogicalProcessor> processors;
  while (!text.empty()) {
    const std::string_view line = takeLine(text);
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

HostSources recordedHost(const fs::path& directory) {
  return {directory, directory / "cpuinfo", "the recorded tables in " + directory.string()};
}

HostBytes readHostBytes(const HostSources& sources) {
  HostBytes bytes;
  bytes.source = sources.name;
  bytes.directory = sources.tablesDirectory.string();
  bytes.hostName = ownHostName();
  bytes.entryPoint =
      readIfThere(sources.tablesDirectory / "smbios_entry_point", maxTableSize, bytes.messages);
  bytes.table = readIfThere(sources.tablesDirectory / "DMI", maxTableSize, bytes.messages);
  bytes.areTablesUnreadable = !bytes.messages.empty();
  bytes.cpuinfo = readIfThere(sources.cpuinfo, maxCpuinfoSize, bytes.messages);
  return bytes;
}

std::map<Uint32, CpuPackage> readCpuinfo(std::string_view text) {
  std::map<Uint32, CpuPackage> packages;
  for (const LogicalProcessor& processor : readLogicalProcessors(text)) {
    if (packages.size() < maxPackages) {
      packages.try_emplace(processor.package,
                           CpuPackage{processor.name, toMegahertz(processor.megahertz)});
    }
  }
  return packages;
}

std::optional<String> Models::modelOf(const std::optional<std::string_view>& product) const {
  if (any || !product) {
    return any;
  }
  const auto found = byProduct.find(String(trimmed(*product)));
  return found == byProduct.end() ? std::nullopt : std::optional(found->second);
}

std::map<String, String> parseModels(std::string_view text, const std::string& fileName) {
  std::map<String, String> models;
  std::size_t number = 0;
  const auto refuse = [&](const std::string& words) {
    throw std::runtime_error(fileName + ":" + std::to_string(number) + ": " + words);
  };
  while (!text.empty()) {
    ++number;
    const std::string_view line = trimmed(takeLine(text));
    if (line.empty() || line.front() == '#') {
      continue;
    }
    const std::size_t sign = line.find('=');
    if (sign == std::string_view::npos) {
      refuse("not of the form PRODUCT NAME = MODEL");
    }
    const auto product = plainText(trimmed(line.substr(0, sign)));
    const auto model = plainText(trimmed(line.substr(sign + 1)));
    if (!product || !model) {
      refuse("not UTF-8, or a control character");
    } else if (product->size() == 0 || model->size() == 0) {
      refuse(product->size() == 0 ? "no product name" : "no model");
    } else if (!models.emplace(*product, *model).second) {
      refuse("duplicate product name '" + product->toUtf8() + "'");
    }
  }
  return models;
}

}  // namespace cimd::host
