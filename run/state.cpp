#include "state.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "history.h"
#include "verify.h"

namespace run {

namespace {

namespace fs = std::filesystem;

constexpr const char* markerFile = "publishing";
// Two data files, status and history at their largest, and the scripts of morvik.
constexpr off_t roomNeeded = 4194304;
// Some years of a list that changes every other week.
constexpr std::size_t mostHistoryLines = 200;
constexpr std::size_t mostHistoryBytes = 1048576;
// More than this program writes is not its own.
constexpr std::size_t mostStatusBytes = 16777216;

[[noreturn]] void fail(const std::string& what, int error) {
  throw Failure(Status::badUse, what + ": " + std::generic_category().message(error));
}

// Without following a symbolic link.
show::Descriptor openFor(const std::string& path, int flags) {
  show::Descriptor file(open(path.c_str(), flags | O_CLOEXEC | O_NOFOLLOW, 0644));
  if (file.number() < 0) {
    fail("cannot write " + path, errno);
  }
  return file;
}

void makeDurable(const show::Descriptor& file, const std::string& path) {
  if (fsync(file.number()) != 0) {
    fail("cannot write " + path, errno);
  }
}

void makeDirectoryDurable(const std::string& directory) {
  makeDurable(openFor(directory, O_RDONLY | O_DIRECTORY), directory);
}

void write(const show::Descriptor& file, const std::string& path, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(file.number(), text.data(), text.size());
    if (written < 0 && errno != EINTR) {
      fail("cannot write " + path, errno);
    }
    text.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
  }
}

// Files that root makes must not be in the way of the account that the directory belongs to.
void giveToOwnerOf(const fs::path& directory, int file) {
  struct stat owner = {};
  struct stat own = {};
  // A directory has several links. A file with several is not the one that was just made.
  if (geteuid() == 0 && stat(directory.c_str(), &owner) == 0 && fstat(file, &own) == 0 &&
      (S_ISDIR(own.st_mode) || own.st_nlink == 1)) {
    [[maybe_unused]] const int ignored = fchown(file, owner.st_uid, owner.st_gid);
  }
}

// Deletes the file again if it could not be written: what is left of it may be most of a full disk.
class Temporary {
 public:
  explicit Temporary(std::string path) : path_(std::move(path)) {}
  ~Temporary() { unlink(path_.c_str()); }
  Temporary(const Temporary&) = delete;
  Temporary& operator=(const Temporary&) = delete;
  Temporary(Temporary&&) = delete;
  Temporary& operator=(Temporary&&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

std::int64_t numberOf(const Json& object, const char* member) {
  const auto found = object.find(member);
  return found != object.end() && found->is_number_integer() ? found->get<std::int64_t>() : 0;
}

Json toJson(const Good& good) {
  return {{"finished", good.finished},
          {"source", good.source},
          {"entries", good.entries},
          {"sha256", good.text.empty() ? "" : sha256(good.text)},
          {"etag", good.version.etag},
          {"lastModified", good.version.lastModified},
          {"signatureTime", good.signatureTime},
          {"keyring", good.keyring}};
}

std::string makeTemporaryDirectory() {
  std::string name = fs::temp_directory_path() / "morvik-run-XXXXXX";
  if (mkdtemp(name.data()) == nullptr) {
    fail("cannot make " + name, errno);
  }
  return name;
}

std::string readIfThere(const std::string& path) {
  try {
    return show::readFile(path, mostStatusBytes);
  } catch (const std::system_error&) {
    return "";
  }
}

// The content of the marker: the entries before the run.
std::string markerText(const Items& items) {
  Json list = Json::array();
  for (const Item& item : items) {
    list.push_back({item.category, item.fruNumber, item.description, item.identifyingNumber,
                    item.vendor, item.revisionLevel});
  }
  return show::dump(list);
}

// Absent if the text is damaged, or of an earlier version, whose markers were empty.
std::optional<Items> itemsIn(const std::string& text) {
  try {
    Items items;
    for (const auto& texts : Json::parse(text).get<std::vector<std::array<std::string, 6>>>()) {
      items.push_back({texts[0], texts[1], texts[2], texts[3], texts[4], texts[5]});
    }
    std::sort(items.begin(), items.end());
    return items;
  } catch (const Json::exception&) {
    return std::nullopt;
  }
}

// Makes the directory if it is missing.
show::Descriptor lockIn(const std::string& directory) {
  std::error_code error;
  fs::create_directories(directory, error);
  struct stat status = {};
  if (error || stat(directory.c_str(), &status) != 0) {
    fail("cannot use the state directory " + directory, error ? error.value() : errno);
  }
  if ((status.st_mode & S_IWOTH) != 0) {
    throw Failure(Status::badUse, "everybody can write to the state directory " + directory);
  }
  const std::string name = directory + "/lock";
  show::Descriptor lock(open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (lock.number() < 0) {
    fail("cannot use " + name, errno);
  }
  giveToOwnerOf(directory, lock.number());
  if (flock(lock.number(), LOCK_EX | LOCK_NB) == 0) {
    return lock;
  }
  if (errno != EWOULDBLOCK) {
    fail("cannot lock the state directory " + directory, errno);
  }
  throw Failure(Status::badUse, "another run is using the state directory " + directory);
}

}  // namespace

void writeAtomically(const std::string& path, const std::string& text) {
  const Temporary temporary(path + ".tmp");
  {
    const show::Descriptor file = openFor(temporary.path(), O_WRONLY | O_CREAT | O_TRUNC);
    fchmod(file.number(), 0644);  // whatever the umask of the service is
    giveToOwnerOf(fs::path(path).parent_path(), file.number());
    write(file, temporary.path(), text);
    makeDurable(file, temporary.path());
  }
  if (rename(temporary.path().c_str(), path.c_str()) != 0) {
    fail("cannot write " + path, errno);
  }
  makeDirectoryDurable(fs::path(path).parent_path());
}

State::State(std::string directory, bool isRemembered)
    : isTemporary_(!isRemembered && access(directory.c_str(), F_OK) != 0 && errno == ENOENT),
      directory_(isTemporary_ ? makeTemporaryDirectory() : std::move(directory)),
      lock_(lockIn(directory_)) {
  readStatus();
  interrupted_ = itemsIn(readIfThere(pathOf(markerFile)));
}

State::~State() {
  std::error_code ignored;
  fs::remove_all(isTemporary_ ? directory_ : pathOf("work"), ignored);
}

std::string State::emptyWorkDirectory() const {
  std::string work = pathOf("work");
  std::error_code error;
  fs::remove_all(work, error);
  if (!error) {
    fs::create_directory(work, error);
  }
  if (error) {
    fail("cannot use " + work, error.value());
  }
  giveToOwnerOf(directory_, openFor(work, O_RDONLY | O_DIRECTORY).number());
  return work;
}

void State::readStatus() {
  const Json status = Json::parse(readIfThere(pathOf(show::statusFile)), nullptr, false);
  const auto found = status.find("good");
  if (found == status.end() || !found->is_object()) {
    return;
  }
  good_.emplace();
  good_->finished = show::textIn(*found, "finished");
  good_->signatureTime = numberOf(*found, "signatureTime");
  good_->text = readIfThere(pathOf(show::goodFile));
  // Another one is there if a run has ended between the two files: good, but unknown otherwise.
  if (good_->text.empty() || sha256(good_->text) != show::textIn(*found, "sha256")) {
    return;
  }
  good_->source = show::textIn(*found, "source");
  good_->entries = static_cast<std::size_t>(std::max<std::int64_t>(numberOf(*found, "entries"), 0));
  good_->keyring = show::textIn(*found, "keyring");
  good_->version = {show::textIn(*found, "etag"), show::textIn(*found, "lastModified")};
}

bool State::isInterrupted() const {
  std::error_code error;
  return fs::exists(pathOf(markerFile), error);
}

void State::beginPublishing(const Items& before) const {
  {
    const Temporary reserve(pathOf("reserve.tmp"));
    const show::Descriptor file = openFor(reserve.path(), O_WRONLY | O_CREAT | O_TRUNC);
    const int error = posix_fallocate(file.number(), 0, roomNeeded);
    if (error != 0 && error != EOPNOTSUPP && error != EINVAL) {
      fail("no room in the state directory " + directory_, error);
    }
  }
  writeAtomically(pathOf(markerFile), markerText(interrupted_.value_or(before)));
}

void State::forgetInterruption() const {
  std::error_code error;
  if (!fs::exists(pathOf(markerFile), error)) {
    return;
  }
  fs::remove(pathOf(markerFile), error);
  if (error) {
    fail("cannot remove " + pathOf(markerFile), error.value());
  }
  makeDirectoryDurable(directory_);
}

void State::addHistory(const Report& report) const {
  std::istringstream old(readIfThere(pathOf(show::historyFile)));
  std::vector<std::string> lines;
  for (std::string line; std::getline(old, line);) {
    if (Json::accept(line)) {  // the disk may have damaged others
      lines.push_back(line);
    }
  }
  lines.push_back(show::dump(Json{{"format", 1},
                                  {"time", timeText(report.finished)},
                                  {"source", report.source},
                                  {"added", toJson(report.added())},
                                  {"removed", toJson(report.removed())}}));
  std::size_t first = lines.size() - 1;
  std::size_t bytes = lines.back().size() + 1;
  while (first > 0 && lines.size() - first < mostHistoryLines &&
         bytes + lines[first - 1].size() + 1 <= mostHistoryBytes) {
    bytes += lines[--first].size() + 1;
  }
  std::string text;
  for (std::size_t i = first; i < lines.size(); ++i) {
    text += lines[i] + "\n";
  }
  writeAtomically(pathOf(show::historyFile), text);
}

void State::remember(const Report& report, const std::optional<Good>& good) {
  if (good) {
    if (!good->text.empty() && (!good_ || good_->text != good->text)) {
      writeAtomically(pathOf(show::goodFile), good->text);
    }
    good_ = good;
  }
  Report change = report;
  change.before = interrupted_ ? interrupted_ : report.before;
  const bool hasChanged = !change.added().empty() || !change.removed().empty();
  if (hasChanged) {
    addHistory(change);
  }
  // Not before the change is in the history: this run may be interrupted, too.
  if (isWhole_) {
    forgetInterruption();
  } else if (hasChanged && isInterrupted()) {
    writeAtomically(pathOf(markerFile), markerText(*report.published));
  }
  writeStatus(report);
}

void State::writeStatus(const Report& report) const {
  writeAtomically(pathOf(show::statusFile),
                  show::dump(Json{{"format", 1},
                                  {"last", run::toJson(report)},
                                  {"good", good_ ? toJson(*good_) : Json()}}) +
                      "\n");
}

}  // namespace run
