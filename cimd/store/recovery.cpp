#include "store/recovery.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>

#include "store/instance_database.h"
#include "store/store_file.h"

namespace cimd {

namespace {

namespace fs = std::filesystem;
using std::string_view;

constexpr std::size_t largestFile = std::size_t{1} << (sizeof(std::size_t) > 4 ? 32U : 30U);

// --- the pages of an SQLite file ("Database File Format" of its documentation)

using PageNumber = std::uint32_t;

enum PageType : unsigned char {
  indexInterior = 0x02,
  tableInterior = 0x05,
  indexLeaf = 0x0A,
  tableLeaf = 0x0D
};

// Something does not fit, so it is damaged.
struct Unreadable {};

// Throws Unreadable when there are fewer bytes.
string_view partOf(string_view bytes, std::size_t position, std::size_t size) {
  if (position > bytes.size() || size > bytes.size() - position) {
    throw Unreadable();
  }
  return bytes.substr(position, size);
}

std::uint64_t bigEndian(string_view bytes, std::size_t position, std::size_t size) {
  std::uint64_t number = 0;
  for (const char byte : partOf(bytes, position, size)) {
    number = number << 8U | static_cast<unsigned char>(byte);
  }
  return number;
}

// Seven bits in each byte, the ninth byte has eight. Moves the position to the next byte.
std::uint64_t variable(string_view bytes, std::size_t& position) {
  std::uint64_t number = 0;
  for (int count = 1;; ++count) {
    const std::uint64_t byte = bigEndian(bytes, position++, 1);
    if (count == 9) {
      return number << 8U | byte;
    }
    number = number << 7U | (byte & 0x7FU);
    if ((byte & 0x80U) == 0) {
      return number;
    }
  }
}

// As a size or position in the file.
std::size_t toSize(std::uint64_t number) {
  if (!std::in_range<std::size_t>(number)) {
    throw Unreadable();
  }
  return static_cast<std::size_t>(number);
}

// A column of a record; neither of the two for other types.
struct ColumnValue {
  std::optional<std::string> text;
  std::optional<std::int64_t> integer;
};

std::vector<ColumnValue> readRecord(string_view record) {
  std::size_t type = 0;
  const std::size_t end = toSize(variable(record, type));
  std::size_t content = end;
  std::vector<ColumnValue> columns;
  while (type < end) {
    const std::uint64_t code = variable(record, type);
    std::size_t size = 0;
    ColumnValue column;
    if (code >= 12) {
      size = toSize((code - 12) / 2);
      const string_view bytes = partOf(record, content, size);
      if (code % 2 == 1) {
        column.text = std::string(bytes);
      }
    } else if (code >= 1 && code <= 6) {
      size = code < 5 ? toSize(code) : code == 5 ? 6 : 8;
      const std::uint64_t bits = bigEndian(record, content, size);
      const auto unused = static_cast<unsigned>(64 - 8 * size);
      column.integer = static_cast<std::int64_t>(bits << unused) >> unused;
    } else if (code == 8 || code == 9) {
      column.integer = static_cast<std::int64_t>(code - 8);
    } else if (code == 7) {
      size = 8;
    }
    content += size;
    columns.push_back(std::move(column));
  }
  return columns;
}

class Pages {
 public:
  explicit Pages(std::string bytes) : bytes_(std::move(bytes)) {
    const std::uint64_t given = bytes_.size() < 100 ? 0 : bigEndian(bytes_, 16, 2);
    const bool isPossible = given >= 512 && given <= 32768 && (given & (given - 1)) == 0;
    // The one that this program's files have.
    size_ = isPossible ? toSize(given) : given == 1 ? 65536 : 4096;
  }

  std::size_t count() const { return (bytes_.size() + size_ - 1) / size_; }
  std::uint64_t header(std::size_t position) const {
    return bytes_.size() < 100 ? 0 : bigEndian(bytes_, position, 4);
  }
  // Counted from 1.
  string_view page(std::uint64_t number) const {
    if (number == 0 || number > count()) {
      throw Unreadable();
    }
    return string_view(bytes_).substr(toSize(number - 1) * size_, size_);
  }
  std::size_t size() const { return size_; }

  // The pages in the list of free ones, as far as it can be read.
  std::set<PageNumber> freePages() const {
    std::set<PageNumber> pages;
    try {
      for (std::uint64_t trunk = header(32); trunk != 0;) {
        const string_view content = page(trunk);
        if (!pages.insert(static_cast<PageNumber>(trunk)).second) {
          break;
        }
        const std::size_t leaves = toSize(bigEndian(content, 4, 4));
        for (std::size_t i = 0; i < leaves; ++i) {
          pages.insert(static_cast<PageNumber>(bigEndian(content, 8 + 4 * i, 4)));
        }
        trunk = bigEndian(content, 0, 4);
      }
    } catch (const Unreadable&) {
    }
    return pages;
  }

  // The content of a cell that is on the page from `position` on, and then in the pages of a chain,
  // which are added to `chain`.
  std::string payload(string_view page, std::size_t position, std::size_t size, bool isIndex,
                      std::set<PageNumber>& chain) const {
    const std::size_t most = isIndex ? (size_ - 12) * 64 / 255 - 23 : size_ - 35;
    const std::size_t least = (size_ - 12) * 32 / 255 - 23;
    if (size > bytes_.size()) {
      throw Unreadable();
    }
    std::size_t here = size;
    if (size > most) {
      here = least + (size - least) % (size_ - 4);
      here = here > most ? least : here;
    }
    std::string content(partOf(page, position, here));
    std::uint64_t next = size > here ? bigEndian(page, position + here, 4) : 0;
    while (content.size() < size) {
      const string_view more = this->page(next);
      if (!chain.insert(static_cast<PageNumber>(next)).second) {
        throw Unreadable();
      }
      content += partOf(more, 4, std::min(size - content.size(), size_ - 4));
      next = bigEndian(more, 0, 4);
    }
    return content;
  }

 private:
  std::string bytes_;
  std::size_t size_ = 0;
};

// --- what the pages hold

using Name = std::pair<std::string, std::string>;  // namespace and key
// An id orders instances by their creation. No checksum covers it.
using Place = std::pair<std::int64_t, Name>;

struct Row {
  std::string className;
  std::string instanceXml;
};

bool hasId(const std::set<Place>& places, std::int64_t id) {
  const auto found = places.lower_bound({id, Name()});
  return found != places.end() && found->first == id;
}

class Salvage {
 public:
  explicit Salvage(std::string bytes) : pages_(std::move(bytes)), free_(pages_.freePages()) {
    for (PageNumber number = 1; number <= pages_.count(); ++number) {
      readPage(number);
    }
    // A free page may still hold what was deleted. The list of free pages may be damaged.
    const std::set<std::int64_t> found = savedIds();
    for (auto& [place, row] : freeRows_) {
      if (hasId(names_, place.first) && !found.contains(place.first)) {
        rows_.try_emplace(place, std::move(row));
      }
    }
    mendIds();
  }

  // In order of creation.
  const std::map<Place, Row>& rows() const { return rows_; }
  // Whether it is a file of this program, or was one.
  bool isStore() const {
    return !rows_.empty() || !names_.empty() || pages_.header(68) == 0x6D766B64;
  }

  std::vector<std::string> unreadable() const {
    std::vector<std::string> lines;
    // By their ids: a deleted instance may have had the name, and a name in the index may be
    // damaged.
    const std::set<std::int64_t> saved = savedIds();
    for (const auto& [id, name] : names_) {
      if (!saved.contains(id)) {
        lines.push_back("instance " + std::to_string(id) + " (" + printable(name.first) + ", " +
                        printable(name.second) + ")");
      }
    }
    for (const std::int64_t id : damagedRows_) {
      if (!saved.contains(id) && !hasId(names_, id)) {
        lines.push_back("instance " + std::to_string(id) + ", whose name cannot be read");
      }
    }
    for (const PageNumber number : damagedPages_) {
      if (!chained_.contains(number)) {
        lines.push_back("page " + std::to_string(number) + " of the file");
      }
    }
    const std::uint64_t expected = pages_.header(28);
    if (expected > pages_.count() && expected < largestFile / 512) {
      lines.push_back(std::to_string(expected - pages_.count()) +
                      " pages that are missing at the end of the file");
    }
    return lines;
  }

 private:
  std::set<std::int64_t> savedIds() const {
    std::set<std::int64_t> ids;
    for (const auto& [place, row] : rows_) {
      ids.insert(place.first);
    }
    return ids;
  }

  void readPage(PageNumber number) {
    const string_view page = pages_.page(number);
    const std::size_t start = number == 1 ? 100 : 0;
    try {
      const auto type = static_cast<unsigned char>(bigEndian(page, start, 1));
      switch (type) {
        case tableLeaf:
        case indexLeaf:
        case indexInterior:
          readCells(number, page, start, type);
          return;
        case tableInterior:
          return;
        default:
          if (!free_.contains(number) && !isMap(number)) {
            damagedPages_.insert(number);
          }
      }
    } catch (const Unreadable&) {
      damagedPages_.insert(number);
    }
  }

  // With auto_vacuum, page 2 and others hold for each page which one points to it.
  bool isMap(PageNumber number) const { return (number - 2) % (pages_.size() / 5 + 1) == 0; }

  void readCells(PageNumber number, string_view page, std::size_t start, unsigned char type) {
    const std::size_t pointers = start + (type == indexInterior ? 12 : 8);
    const std::size_t count = toSize(bigEndian(page, start + 3, 2));
    for (std::size_t i = 0; i < count; ++i) {
      try {
        const std::size_t cell = toSize(bigEndian(page, pointers + 2 * i, 2));
        type == tableLeaf ? readRow(number, page, cell)
                          : readName(page, cell + (type == indexInterior ? 4 : 0));
      } catch (const Unreadable&) {
        if (!free_.contains(number)) {
          damagedPages_.insert(number);
        }
      }
    }
  }

  // The columns of table instance; the id is not among them.
  void readRow(PageNumber number, string_view page, std::size_t position) {
    const std::size_t size = toSize(variable(page, position));
    const auto id = static_cast<std::int64_t>(variable(page, position));
    const bool isFree = free_.contains(number);
    try {
      std::vector<ColumnValue> columns =
          readRecord(pages_.payload(page, position, size, false, chained_));
      if (columns.size() != 6) {
        return;  // of another table
      }
      for (const std::size_t text : {1U, 2U, 3U, 4U}) {
        if (!columns[text].text) {
          throw Unreadable();
        }
      }
      const auto textIn = [&](std::size_t column) { return *std::move(columns[column].text); };
      const Name name{textIn(1), textIn(2)};
      Row row{textIn(3), textIn(4)};
      if (columns[5].integer !=
          rowChecksum(name.first, name.second, row.className, row.instanceXml)) {
        throw Unreadable();
      }
      (isFree ? freeRows_ : rows_).insert_or_assign({id, name}, std::move(row));
    } catch (const Unreadable&) {
      if (!isFree && number != 1) {
        damagedRows_.insert(id);
      }
    }
  }

  void readName(string_view page, std::size_t position) {
    const std::size_t size = toSize(variable(page, position));
    std::vector<ColumnValue> columns =
        readRecord(pages_.payload(page, position, size, true, chained_));
    if (columns.size() != 3 || !columns[0].text || !columns[1].text || !columns[2].integer) {
      throw Unreadable();
    }
    names_.insert(
        {*columns[2].integer, {*std::move(columns[0].text), *std::move(columns[1].text)}});
  }

  // Where the damaged id of a row is that of another row, the id is taken from the index.
  void mendIds() {
    std::map<Name, std::int64_t> idsInIndex;
    for (const auto& [id, name] : names_) {
      idsInIndex.emplace(name, id);
    }
    std::vector<Place> wrong;
    for (const auto& [place, row] : rows_) {
      if (!names_.contains(place) && hasId(names_, place.first) &&
          idsInIndex.contains(place.second)) {
        wrong.push_back(place);
      }
    }
    for (const Place& place : wrong) {
      auto row = rows_.extract(place);
      row.key().first = idsInIndex.at(place.second);
      rows_.insert(std::move(row));
    }
  }

  Pages pages_;
  std::set<PageNumber> free_;
  std::set<PageNumber> chained_;
  std::set<PageNumber> damagedPages_;
  std::set<std::int64_t> damagedRows_;
  // In the index.
  std::set<Place> names_;
  std::map<Place, Row> rows_;
  std::map<Place, Row> freeRows_;
};

// --- files

void writeNew(const fs::path& file, string_view bytes) {
  const Descriptor created(open(file.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600));
  if (!created.isOpen()) {
    throw StoreError(file, "cannot create: " + std::system_category().message(errno));
  }
  while (!bytes.empty()) {
    const ssize_t written = write(created.number(), bytes.data(), bytes.size());
    if (written <= 0) {
      throw StoreError(file, "cannot write: " + std::system_category().message(errno));
    }
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

// By the bytes of the file that SQLite locks.
bool isInUse(const fs::path& file) {
  const Descriptor opened(open(file.c_str(), O_RDONLY | O_CLOEXEC));
  struct flock lock = {};
  lock.l_type = F_RDLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = 0x40000000;
  lock.l_len = 512;
  return opened.isOpen() && fcntl(opened.number(), F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

// A copy of the store, to undo in it what its journal says.
class Copy {
 public:
  Copy(const fs::path& store, const fs::path& target) : file_(besides(target, ".copy")) {
    try {
      for (const char* suffix : {"", "-journal", "-wal"}) {
        if (suffix[0] == '\0' || fs::exists(besides(store, suffix))) {
          writeNew(besides(file_, suffix),
                   readFile(besides(store, suffix), largestFile, FileKind::regular));
        }
      }
    } catch (const FileError& error) {
      remove();
      throw StoreError(error);
    } catch (...) {
      remove();
      throw;
    }
  }
  ~Copy() { remove(); }
  Copy(const Copy&) = delete;
  Copy& operator=(const Copy&) = delete;

  std::string settledBytes() const {
    try {
      sqlite::Connection database(file_.string(), 1 << 30);
      database.execute("PRAGMA journal_mode = DELETE");
      static_cast<void>(database.integer("SELECT count(*) FROM sqlite_schema"));
    } catch (const sqlite::Error&) {
      // Too damaged for SQLite: its pages are read as they are.
    }
    return readFile(file_, largestFile, FileKind::regular);
  }

 private:
  void remove() const {
    std::error_code ignored;
    for (const char* suffix : {"", "-journal", "-wal", "-shm"}) {
      fs::remove(besides(file_, suffix), ignored);
    }
  }

  fs::path file_;
};

}  // namespace

Recovery recoverStore(const fs::path& store, const fs::path& target) {
  if (fs::exists(target)) {
    throw StoreError(target, "exists already");
  }
  if (isInUse(store)) {
    throw StoreError(store, "in use by another process");
  }
  const Salvage salvage(Copy(store, target).settledBytes());
  if (!salvage.isStore()) {
    throw StoreError(store, "not a store of morvik-cimd");
  }
  {
    InstanceDatabase database(target);
    database.addAll([&](const InstanceDatabase::RowWriter& add) {
      for (const auto& [place, row] : salvage.rows()) {
        add(place.second.first, place.second.second, row.className, row.instanceXml);
      }
    });
  }
  std::error_code ignored;
  fs::remove(besides(target, "-journal"), ignored);
  return {salvage.rows().size(), salvage.unreadable()};
}

}  // namespace cimd
