#include "store/instance_database.h"

#include <Pegasus/Common/Exception.h>
#include <utf8.h>

#include <initializer_list>
#include <iterator>
#include <optional>
#include <utility>

#include "model/errors.h"
#include "model/names.h"
#include "store/store_file.h"

namespace cimd {

namespace {

using Pegasus::String;
using std::string_view;

// An instance that is put again keeps its id, and with it its place in the order of creation.
constexpr const char* putText =
    "INSERT INTO instance (namespace, key, class, instance, checksum) VALUES (?, ?, ?, ?, ?) "
    "ON CONFLICT (namespace, key) DO UPDATE SET namespace = excluded.namespace, "
    "class = excluded.class, instance = excluded.instance, checksum = excluded.checksum";
constexpr const char* removeText = "DELETE FROM instance WHERE namespace = ? AND key = ?";
constexpr const char* findText = "SELECT id FROM instance WHERE namespace = ? AND key = ?";
constexpr const char* setAsideText =
    "INSERT INTO set_aside (at, namespace, key, class, instance, checksum) "
    "SELECT datetime('now'), namespace, key, class, instance, checksum FROM instance WHERE id = ?";
constexpr const char* loadText =
    "SELECT id, namespace, key, class, instance, checksum FROM instance ORDER BY id";
// The columns of loadText.
enum Column { idColumn, nameSpaceColumn, keyColumn, classColumn, instanceColumn, checksumColumn };

std::string toUtf8(const Pegasus::Exception& error) {
  return error.getMessage().toUtf8();
}

// UTF-8 has exactly one form for each text, so that keys can be compared as bytes.
std::string encodeText(std::u16string_view text) {
  std::string bytes;
  try {
    utf8::utf16to8(text.begin(), text.end(), std::back_inserter(bytes));
  } catch (const utf8::exception&) {
    throw Pegasus::InvalidValueException("a surrogate without its partner");
  }
  return bytes;
}

// FNV-1a over the texts in this order: a change of any one byte changes the result. SQLite's own
// check covers the structure of the file, not the bytes of a text. The byte after each text does
// not occur in UTF-8, so that moving a letter from one text to the next is a change, too.
std::int64_t checksum(std::initializer_list<string_view> texts) {
  constexpr std::uint64_t prime = 0x100000001B3;
  std::uint64_t sum = 0xCBF29CE484222325;
  for (const string_view text : texts) {
    for (const char byte : text) {
      sum = (sum ^ static_cast<unsigned char>(byte)) * prime;
    }
    sum = (sum ^ 0xFF) * prime;
  }
  return static_cast<std::int64_t>(sum);
}

// A damaged key may be long and may hold anything.
std::string printable(string_view text) {
  constexpr std::size_t shown = 200;
  std::string line(text.substr(0, shown));
  for (char& c : line) {
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
      c = '?';
    }
  }
  return text.size() > shown ? line + "..." : line;
}

std::string describeRow(const sqlite::Statement& row) {
  return "stored instance " + std::to_string(row.integer(idColumn)) + " (" +
         printable(row.text(nameSpaceColumn)) + ", " + printable(row.text(keyColumn)) + ")";
}

bool isIntact(const sqlite::Statement& row) {
  for (const int column : {nameSpaceColumn, keyColumn, classColumn, instanceColumn}) {
    if (!row.isText(column)) {
      return false;
    }
  }
  return row.integer(checksumColumn) == checksum({row.text(nameSpaceColumn), row.text(keyColumn),
                                                  row.text(classColumn), row.text(instanceColumn)});
}

void readRow(const InstanceDatabase::Reader& reader, const sqlite::Statement& row) {
  if (!isIntact(row)) {
    throw Pegasus::Exception("damaged: its checksum is wrong");
  }
  reader(String(row.text(nameSpaceColumn)), InstanceKey(String(row.text(keyColumn)).view()),
         row.text(instanceColumn));
}

}  // namespace

InstanceDatabase::InstanceDatabase(const std::filesystem::path& file) try
    : file_(file),
      database_(openStoreFile(file)),
      put_(database_, putText),
      remove_(database_, removeText),
      find_(database_, findText) {
} catch (const sqlite::Error& error) {
  throw StoreError(file, error.what());
}

std::vector<std::string> InstanceDatabase::load(const Reader& reader) {
  std::vector<std::string> warnings;
  // Taken over at the end only: after a failed reload the rows that were not served are still those
  // of the load before.
  std::unordered_set<std::int64_t> unserved;
  try {
    sqlite::Statement row(database_, loadText);
    while (row.step()) {
      try {
        readRow(reader, row);
      } catch (const Pegasus::Exception& error) {
        unserved.insert(row.integer(idColumn));
        warnings.push_back(describeRow(row) + " is kept but not served: " + toUtf8(error));
      }
    }
  } catch (const sqlite::Error& error) {
    throw StoreError(file_, std::string("cannot read: ") + error.what());
  }
  unserved_ = std::move(unserved);
  return warnings;
}

void InstanceDatabase::put(const String& nameSpace, const InstanceKey& key, const String& className,
                           string_view instanceXml) {
  change("store", nameSpace, key, [&](string_view space, string_view keyText) {
    const std::string classText = encodeText(className.view());
    put_.bind(1, space).bind(2, keyText).bind(3, classText).bind(4, instanceXml);
    put_.bind(5, checksum({space, keyText, classText, instanceXml})).run();
  });
}

void InstanceDatabase::remove(const String& nameSpace, const InstanceKey& key) {
  change("delete", nameSpace, key, [&](string_view space, string_view keyText) {
    remove_.bind(1, space).bind(2, keyText).run();
  });
}

// Makes the change durable as a whole, or changes nothing and throws.
template <typename Action>
void InstanceDatabase::change(const char* what, const String& nameSpace, const InstanceKey& key,
                              Action action) {
  std::string cause;
  try {
    const std::string space = encodeText(trimNameSpace(nameSpace).view());
    const std::string keyText = encodeText(key);
    sqlite::Transaction transaction(database_);
    if (database_.isMoved()) {
      throw sqlite::Error("the file was moved or removed");
    }
    const std::optional<std::int64_t> aside = setAside(space, keyText);
    action(space, keyText);
    transaction.commit();
    if (aside) {
      unserved_.erase(*aside);
    }
    return;
  } catch (const sqlite::Error& error) {
    cause = error.what();
  } catch (const Pegasus::Exception& error) {
    cause = toUtf8(error);
  }
  const std::string detail =
      std::string("cannot ") + what + " the instance in " + file_.string() + ": " + cause;
  throwCimError(Pegasus::CIM_ERR_FAILED, String(string_view(detail)));
}

// Moves a row that load() could not serve out of the way of the instance with the same key, and
// returns its id. The caller forgets the id only after the commit: a rollback brings the row back,
// and a later row may get the same id.
std::optional<std::int64_t> InstanceDatabase::setAside(string_view nameSpace, string_view key) {
  if (unserved_.empty() || !find_.bind(1, nameSpace).bind(2, key).step()) {
    return std::nullopt;
  }
  const std::int64_t id = find_.integer(0);
  find_.reset();
  if (!unserved_.contains(id)) {
    return std::nullopt;
  }
  sqlite::Statement(database_, setAsideText).bind(1, id).run();
  sqlite::Statement(database_, "DELETE FROM instance WHERE id = ?").bind(1, id).run();
  return id;
}

}  // namespace cimd
