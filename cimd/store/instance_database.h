// Published instances on the disk, in one SQLite file: what a client was told is created, changed
// or deleted is so after a crash of the server or of the machine.
//
// The file is read once, at the start, and written with each change; the model answers from memory.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
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
  // Takes the file for this process alone, making it where it is missing: see openStoreFile().
  // Throws StoreError.
  explicit InstanceDatabase(const std::filesystem::path& file);

  // Takes one instance as it was put, its path having the class name only, and the key that it was
  // put under. May throw Pegasus::Exception to say that the model has no place for it: its class is
  // gone, or it has another key by now. Must not change the database.
  using Reader = std::function<void(const Pegasus::String& nameSpace, const InstanceKey& key,
                                    const Pegasus::CIMInstance& instance)>;

  // Calls the reader for every instance, in order of creation. Returns a line of text for each that
  // is not served, because it is damaged or the reader refused it; such an instance stays in the
  // file. Throws StoreError when the file cannot be read to its end, and lets through what else the
  // reader throws; some instances may have been handed out then, but the database is as it was
  // before the call.
  std::vector<std::string> load(const Reader& reader);

  // As Journal says. An instance that was not served and has the same key is not overwritten or
  // deleted but moved to another table of the file.
  void put(const Pegasus::String& nameSpace, const InstanceKey& key,
           const Pegasus::CIMInstance& instance) override;
  void remove(const Pegasus::String& nameSpace, const InstanceKey& key) override;

 private:
  void readRow(const Reader& reader, const sqlite::Statement& row) const;
  template <typename Action>
  void change(const char* what, const Pegasus::String& nameSpace, const InstanceKey& key,
              Action action);
  std::optional<std::int64_t> setAside(std::string_view nameSpace, std::string_view key);

  std::filesystem::path file_;
  sqlite::Connection database_;
  sqlite::Statement put_;
  sqlite::Statement remove_;
  sqlite::Statement find_;
  // Ids of the rows that load() had to leave aside.
  std::unordered_set<std::int64_t> unserved_;
};

}  // namespace cimd
