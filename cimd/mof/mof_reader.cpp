#include "mof/mof_reader.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>

#include "model/names.h"
#include "mof/mof_parser.h"

namespace cimd::mof {

namespace {

namespace fs = std::filesystem;
using Pegasus::String;

constexpr std::size_t maxFileSize = std::size_t{64} << 20U;
constexpr std::size_t maxIncludeDepth = 32;
// The DMTF schema has one file for each of its classes.
constexpr std::size_t maxFiles = 20000;

std::string systemError() {
  return std::generic_category().message(errno);
}

struct Closer {
  void operator()(std::FILE* stream) const { static_cast<void>(std::fclose(stream)); }
};

struct SourceFile {
  fs::path path;
  std::string text;
};

// Also of what is not a regular file, such as a pipe; never more than the limit is read.
std::string readStream(std::FILE* stream, const fs::path& path, const Position& from) {
  std::string text;
  constexpr std::size_t step = 65536;
  std::size_t count = 0;
  do {
    text.resize(text.size() + step);
    count = std::fread(text.data() + text.size() - step, 1, step, stream);
    text.resize(text.size() - step + count);
    if (text.size() > maxFileSize) {
      throw MofError(from, path.string() + " is larger than 64 MiB");
    }
  } while (count == step);
  if (std::ferror(stream) != 0) {
    throw MofError(from, "cannot read " + path.string() + ": " + systemError());
  }
  return text;
}

// The first of the files that exists. One that exists but cannot be opened is an error: another one
// must not take its place unnoticed.
SourceFile readFirst(const std::vector<fs::path>& candidates, const Position& from) {
  for (const fs::path& path : candidates) {
    const std::unique_ptr<std::FILE, Closer> stream(std::fopen(path.c_str(), "rbe"));
    if (stream) {
      return {path, readStream(stream.get(), path, from)};
    }
    if (errno != ENOENT && errno != ENOTDIR) {
      throw MofError(from, "cannot open " + path.string() + ": " + systemError());
    }
  }
  errno = ENOENT;
  throw MofError(from, "cannot open " + candidates.front().string() + ": " + systemError());
}

class MofReader {
 public:
  explicit MofReader(const std::vector<fs::path>& includeDirectories)
      : includeDirectories_(includeDirectories) {}

  void readUnit(const fs::path& file, const String& nameSpace) {
    unitDirectory_ = file.parent_path();
    readOne({file}, nameSpace, Position{std::make_shared<const std::string>("morvik-cimd")});
    ++unit_;
  }

  MofContents contents;

 private:
  void readOne(const std::vector<fs::path>& candidates, String nameSpace, const Position& from) {
    const auto [path, text] = readFirst(candidates, from);
    enter(path, from);
    MofParser parser(std::make_shared<const std::string>(path.string()), text);
    while (auto production = parser.next()) {
      if (const auto* pragma = std::get_if<Pragma>(&*production)) {
        obey(*pragma, path, nameSpace);
      } else if (auto* qualifier = std::get_if<QualifierType>(&*production)) {
        contents.qualifiers.push_back({nameSpace, std::move(*qualifier)});
      } else if (auto* cls = std::get_if<Class>(&*production)) {
        contents.classes.push_back({nameSpace, std::move(*cls), contents.qualifiers.size()});
      } else if (auto* instance = std::get_if<Instance>(&*production)) {
        contents.instances.push_back({nameSpace, unit_, std::move(*instance)});
      }
    }
    open_.pop_back();
  }

  void enter(const fs::path& path, const Position& from) {
    // Without its links, where this account may look at all the folders above.
    std::error_code error;
    fs::path real = fs::weakly_canonical(path, error);
    if (error) {
      real = path.lexically_normal();
    }
    if (std::find(open_.begin(), open_.end(), real) != open_.end()) {
      throw MofError(from, path.string() + " includes itself");
    }
    if (open_.size() >= maxIncludeDepth || ++fileCount_ > maxFiles) {
      throw MofError(from, "too many included files");
    }
    open_.push_back(std::move(real));
  }

  void obey(const Pragma& pragma, const fs::path& path, String& nameSpace) {
    if (String::equalNoCase(pragma.name, "include")) {
      readOne(candidates(pragma, path), nameSpace, pragma.position);
    } else if (String::equalNoCase(pragma.name, "namespace")) {
      nameSpace = nameSpaceOf(pragma);
    }
  }

  // Where the file may be that the pragma in `path` names. Schemas from Windows separate the parts
  // of a name with backslashes.
  std::vector<fs::path> candidates(const Pragma& pragma, const fs::path& path) const {
    std::string name = pragma.parameter.toUtf8();
    std::replace(name.begin(), name.end(), '\\', '/');
    std::vector<fs::path> found{path.parent_path() / name, unitDirectory_ / name};
    for (const fs::path& directory : includeDirectories_) {
      found.push_back(directory / name);
    }
    return found;
  }

  // "root/x", or "//localhost/root/x".
  static String nameSpaceOf(const Pragma& pragma) {
    const std::string text = pragma.parameter.toUtf8();
    constexpr std::size_t slashes = 2;
    const bool hasHost = text.starts_with("//");
    const std::size_t end = hasHost ? std::min(text.find('/', slashes), text.size()) : 0;
    String name = trimNameSpace(String(std::string_view(text).substr(end)));
    if (!isNameSpaceName(name) ||
        (hasHost && !isLoopbackHost(std::string_view(text).substr(slashes, end - slashes)))) {
      throw MofError(pragma.position,
                     "expected the name of a namespace on this server, found '" + text + "'");
    }
    return name;
  }

  const std::vector<fs::path>& includeDirectories_;
  std::size_t unit_ = 0;
  // Of the file of the current unit that everything began with.
  fs::path unitDirectory_;
  std::size_t fileCount_ = 0;
  // The files that are being read, the outermost first.
  std::vector<fs::path> open_;
};

}  // namespace

MofContents readMof(const std::vector<fs::path>& files,
                    const std::vector<fs::path>& includeDirectories, const String& nameSpace) {
  MofReader reader(includeDirectories);
  for (const fs::path& file : files) {
    reader.readUnit(file, nameSpace);
  }
  return std::move(reader.contents);
}

}  // namespace cimd::mof
