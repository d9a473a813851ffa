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

#include "model/journal.h"
#include "store/sqlite.h"

namespace cimd {

class InstanceDatabase final : public Journal {
 public:
  // Opens the file for this process alone, and creates it if it is missing: see openStoreFile().
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

 private:
  template <typename Action>
  void change(const char* what, const Pegasus::String& nameSpace, const InstanceKey& key,
              Action action);
  std::optional<std::int64_t> setAside(std::string_view nameSpace, std::string_view key);

  std::filesystem::path file_;
  sqlite::Connection database_;
  sqlite::Statement put_;
  sqlite::Statement remove_;
  sqlite::Statement find_;
  // The ids of the rows that the last load() did not serve.
  std::unordered_set<std::int64_t> unserved_;
};

}  // namespace cimd
