#include "store/instance_database.h"

#include <Pegasus/Common/Exception.h>
#include <utf8.h>

#include <iterator>
#include <optional>
#include <utility>

#include "log.h"
#include "model/errors.h"
#include "model/names.h"

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
constexpr const char* findText =
    "SELECT id, class, instance, checksum FROM instance WHERE namespace = ? AND key = ?";
constexpr const char* putBackText =
    "INSERT INTO instance (namespace, key, id, class, instance, checksum) "
    "VALUES (?, ?, ?, ?, ?, ?)";
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
  return row.integer(checksumColumn) == rowChecksum(row.text(nameSpaceColumn), row.text(keyColumn),
                                                    row.text(classColumn),
                                                    row.text(instanceColumn));
}

void readRow(const InstanceDatabase::Reader& reader, const sqlite::Statement& row) {
  if (!isIntact(row)) {
    throw Pegasus::Exception("damaged: its checksum is wrong");
  }
  reader(String(row.text(nameSpaceColumn)), InstanceKey(String(row.text(keyColumn)).view()),
         row.text(instanceColumn));
}

}  // namespace

std::string printable(string_view text) {
  constexpr std::size_t shown = 200;
  const std::string line = withoutControls(text.substr(0, shown));
  return text.size() > shown ? line + "..." : line;
}

InstanceDatabase::InstanceDatabase(const std::filesystem::path& file) try
    : file_(file),
      store_(StoreFile::open(file)),
      put_(store_.database(), putText),
      remove_(store_.database(), removeText),
      find_(store_.database(), findText) {
} catch (const sqlite::Error& error) {
  throw StoreError(file, error.what());
}

std::vector<std::string> InstanceDatabase::load(const Reader& reader) {
  std::vector<std::string> warnings;
  if (!store_.warning().empty()) {
    warnings.push_back(store_.warning());
  }
  // Taken over at the end only: after a failed reload the rows that were not served are still those
  // of the load before.
  std::unordered_set<std::int64_t> unserved;
  try {
    sqlite::Statement row(store_.database(), loadText);
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
    putRow(space, keyText, classText, instanceXml);
  });
}

void InstanceDatabase::putRow(string_view nameSpace, string_view key, string_view className,
                              string_view instanceXml) {
  put_.bind(1, nameSpace).bind(2, key).bind(3, className).bind(4, instanceXml);
  put_.bind(5, rowChecksum(nameSpace, key, className, instanceXml)).run();
}

void InstanceDatabase::addAll(const std::function<void(const RowWriter&)>& fill) {
  try {
    sqlite::Transaction transaction(store_.database());
    fill([this](string_view nameSpace, string_view key, string_view className,
                string_view instanceXml) { putRow(nameSpace, key, className, instanceXml); });
    transaction.commit();
  } catch (const sqlite::Error& error) {
    throw StoreError(file_, error.what());
  }
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
    store_.checkPlace();
    undoFailedChange();
    before_ = contentOf(space, keyText);
    sqlite::Transaction transaction(store_.database());
    const std::optional<std::int64_t> aside = setAside();
    action(space, keyText);
    transaction.commit();
    before_.reset();
    if (aside) {
      unserved_.erase(*aside);
    }
    return;
  } catch (const sqlite::Error& error) {
    cause = error.what();
    try {
      undoFailedChange();
    } catch (const sqlite::Error&) {
      // The next change tries again, before anything else.
    }
  } catch (const Pegasus::Exception& error) {
    cause = toUtf8(error);
  }
  const std::string detail =
      std::string("cannot ") + what + " the instance in " + file_.string() + ": " + cause;
  throwCimError(Pegasus::CIM_ERR_FAILED, String(string_view(detail)));
}

InstanceDatabase::Content InstanceDatabase::contentOf(std::string nameSpace, std::string key) {
  Content content{std::move(nameSpace), std::move(key), std::nullopt};
  if (find_.bind(1, content.nameSpace).bind(2, content.key).step()) {
    content.row = Row{find_.integer(0), std::string(find_.text(1)), std::string(find_.text(2)),
                      find_.integer(3)};
  }
  find_.reset();
  return content;
}

// SQLite undoes a change that fails, but not when its very last step does: making the journal's end
// durable. Then the file has the change, though nobody was told so.
void InstanceDatabase::undoFailedChange() {
  if (!before_) {
    return;
  }
  if (contentOf(before_->nameSpace, before_->key).row != before_->row) {
    sqlite::Transaction transaction(store_.database());
    remove_.bind(1, before_->nameSpace).bind(2, before_->key).run();
    if (before_->row) {
      sqlite::Statement putBack(store_.database(), putBackText);
      putBack.bind(1, before_->nameSpace).bind(2, before_->key).bind(3, before_->row->id);
      putBack.bind(4, before_->row->className).bind(5, before_->row->instanceXml);
      putBack.bind(6, before_->row->checksum).run();
    }
    transaction.commit();
  }
  before_.reset();
}

// Moves a row that load() could not serve out of the way of the instance with the same key, and
// returns its id. The caller forgets the id only after the commit: a rollback brings the row back,
// and a later row may get the same id.
std::optional<std::int64_t> InstanceDatabase::setAside() {
  if (!before_->row || !unserved_.contains(before_->row->id)) {
    return std::nullopt;
  }
  const std::int64_t id = before_->row->id;
  sqlite::Statement(store_.database(), setAsideText).bind(1, id).run();
  sqlite::Statement(store_.database(), "DELETE FROM instance WHERE id = ?").bind(1, id).run();
  return id;
}

}  // namespace cimd
