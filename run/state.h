// The state directory: what is remembered from run to run, and where a run works.
//
//     lock           held during a run
//     work/          exists during a run
//     status.json    the last run, and the last good one
//     fru.good.txt   the data file of the last good run
//     history.jsonl  one line for each change of the published entries, the newest last
//     publishing     from before morvik starts until its change is remembered, and what is
//                    published known to be whole: the entries before
//
// A file is either as it was or as it is to be: it is written under another name, made durable, and
// renamed.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "bring.h"
#include "file.h"
#include "report.h"

namespace run {

// The data file of a good run, or of one that may become good.
struct Good {
  // When the run ended, as in timeText().
  std::string finished;
  // The rest is about the data file. Empty if there was none.
  std::string source;
  std::string text;
  std::size_t entries = 0;
  Version version;
  // 0 if it is not signed. Of a good run the newest that was seen, kept while files are not signed.
  std::int64_t signatureTime = 0;
  // The sum of the keyring that the text was verified with; empty if it was not.
  std::string keyring;
};

class State {
 public:
  // Locks the directory until the end of this or of a program that has inherited lock(). If it is
  // missing, it is made; for a run that is not to be remembered, a temporary one is used in its
  // place. Throws Failure(badUse) if it cannot be used, or is locked.
  explicit State(std::string directory, bool isRemembered = true);
  ~State();
  State(const State&) = delete;
  State& operator=(const State&) = delete;
  State(State&&) = delete;
  State& operator=(State&&) = delete;

  int lock() const { return lock_.number(); }
  // An empty directory. Throws Failure(badUse).
  std::string emptyWorkDirectory() const;

  // Absent before the first good run, and if the files are damaged.
  const std::optional<Good>& good() const { return good_; }
  // Whether a run has ended after the start of morvik, before its outcome was remembered as whole.
  bool isInterrupted() const;

  // Before morvik starts: makes sure that there is room for what remember() will write, and notes
  // the entries, so that the run after an interruption can add the change to the history. Throws
  // Failure(badUse).
  void beginPublishing(const Items& before) const;
  // What is published is known to be whole: remember() will forget the note.
  void endPublishing() { isWhole_ = true; }

  // Writes status.json, and after a good run fru.good.txt; history.jsonl if the entries have
  // changed. `good` is absent unless the run was good. Throws Failure(badUse), and has not written
  // the rest then.
  void remember(const Report& report, const std::optional<Good>& good);
  // The last of these steps alone.
  void writeStatus(const Report& report) const;

 private:
  bool isTemporary_;
  std::string directory_;
  show::Descriptor lock_;
  std::optional<Good> good_;
  // The entries before a run that was interrupted.
  std::optional<Items> interrupted_;
  bool isWhole_ = false;

  std::string pathOf(const char* name) const { return directory_ + "/" + name; }
  void readStatus();
  void addHistory(const Report& report) const;
  void forgetInterruption() const;
};

// Replaces the file at once, and makes it durable. Readable by everybody. The name with ".tmp" is
// used meanwhile. Throws Failure(badUse).
void writeAtomically(const std::string& path, const std::string& text);

}  // namespace run
