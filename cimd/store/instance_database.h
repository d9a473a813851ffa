// Published instances on disk, in one SQLite file: whatever a client was told is created, changed
// or deleted is still so after a crash of the server or of the machine.
//
// The file is read once, at the start, and written with each change; the model answers from memory.
#pragma once

#include <Pegasus/Common/String.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "model/name_space.h"
#include "store/sqlite.h"
#include "store/store_file.h"

namespace cimd {

// A text that a damaged file holds, for messages: short, and without control characters.
std::string printable(std::string_view text);

class InstanceDatabase final : public Journal {
 public:
  // Opens the file for this process alone, and creates it if it is missing: see StoreFile::open().
  // Throws StoreError.
  explicit InstanceDatabase(const std::filesystem::path& file);

  // Takes one instance as it was given to put(). May throw Pegasus::Exception to say that the model
  // has no place for it: its class is gone, or now gives it another key. Must not change the
  // database. The text is valid during the call only.
  using Reader = std::function<void(const Pegasus::String& nameSpace, const InstanceKey& key,
                                    std::string_view instanceXml)>;

  // Calls the reader for every instance, in order of creation. Returns a line of text for each
  // instance that is not served because it is damaged or the reader refused it; such an instance
  // stays in the file. Throws StoreError when the file cannot be read to its end, and lets through
  // anything else that the reader throws; some instances may have been handed out by then, but the
  // database is as it was before the call.
  std::vector<std::string> load(const Reader& reader);

  // As in Journal. An instance that was not served and has the same key is not overwritten or
  // deleted but moved to another table of the file.
  void put(const Pegasus::String& nameSpace, const InstanceKey& key,
           const Pegasus::String& className, std::string_view instanceXml) override;
  void remove(const Pegasus::String& nameSpace, const InstanceKey& key) override;

  // Adds the instances that `fill` gives to its argument, all of them or none. Their names must not
  // be there yet. Throws StoreError.
  using RowWriter = std::function<void(std::string_view nameSpace, std::string_view key,
                                       std::string_view className, std::string_view instanceXml)>;
  void addAll(const std::function<void(const RowWriter&)>& fill);

  // StoreFile::returnSpace().
  bool returnSpace() { return store_.returnSpace(); }

 private:
  void putRow(std::string_view nameSpace, std::string_view key, std::string_view className,
              std::string_view instanceXml);
  template <typename Action>
  void change(const char* what, const Pegasus::String& nameSpace, const InstanceKey& key,
              Action action);
  std::optional<std::int64_t> setAside();

  struct Row {
    std::int64_t id;
    std::string className;
    std::string instanceXml;
    std::int64_t checksum;
    bool operator==(const Row&) const = default;
  };
  // The content of the file under a name: a row, or nothing.
  struct Content {
    std::string nameSpace;
    std::string key;
    std::optional<Row> row;
  };
  Content contentOf(std::string nameSpace, std::string key);
  void undoFailedChange();

  std::filesystem::path file_;
  StoreFile store_;
  sqlite::Statement put_;
  sqlite::Statement remove_;
  sqlite::Statement find_;
  // From before a change that failed, until it is certain that the file has it again.
  std::optional<Content> before_;
  // The ids of the rows that the last load() did not serve.
  std::unordered_set<std::int64_t> unserved_;
};

}  // namespace cimd
