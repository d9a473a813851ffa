// A run: brings the data file, judges it, has morvik publish it, looks at the outcome, remembers.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <csignal>
#include <ctime>
#include <exception>
#include <iostream>
#include <memory>
#include <thread>
#include <utility>

#include "bring.h"
#include "cim/client.h"
#include "cim/machine.h"
#include "entries.h"
#include "machine.h"
#include "outcome.h"
#include "process.h"
#include "publish.h"
#include "report.h"
#include "settings.h"
#include "state.h"
#include "verify.h"

using Pegasus::CIMClient;

namespace run {

namespace {

// morvik.service gives a run 15 minutes. A request to the CIM server may take 20 seconds more than
// there were.
constexpr std::chrono::minutes runLimit{10};
// For all files. The rest is for the CIM server.
constexpr std::chrono::minutes bringLimit{4};
// morvik takes about as long as the rehearsal, and publishing may be needed a second time.
constexpr int rehearsalPart = 4;
// A CIM server that a service manager starts again is back by then.
constexpr int mostLooks = 3;
constexpr std::chrono::seconds pauseBetweenLooks{2};

class Run {
 public:
  Run(const Settings& settings, Report& report)
      : settings_(settings),
        report_(report),
        deadline_(runLimit),
        state_(settings.state.text, !settings.isCheck && settings.fault.empty()) {}

  // Throws Failure, and what the client throws.
  void go();
  // At the end, good or not.
  void remember();

 private:
  void askMachine();
  Good bring();
  Good bringOnce(Bringer& bringer, const std::string& name, bool isFirst);
  void verify(Bringer& bringer, const std::string& name, Good& candidate);
  void judge(const Good& candidate);
  void publish(const Good& candidate);
  // Afterwards report_.published is what is published, and absent if that is unknown.
  std::string publishOnce(const std::string& text, Deadline limit);
  void look();
  void restore(const Good& candidate, const std::string& reason);
  // If the last run was interrupted, what it left is replaced.
  void mend();
  void holdSignals();

  const Settings& settings_;
  Report& report_;
  Deadline deadline_;
  // From the start of morvik until all is remembered, and the work directory removed.
  std::optional<SignalsHeld> held_;
  State state_;
  std::unique_ptr<CIMClient> client_;
  show::Machine machine_;
  // The file of a good run.
  std::optional<Good> good_;
};

// --- the machine ---

void Run::askMachine() {
  client_ = makeClient();
  connectToLocalServer(*client_);
  machine_ = show::readMachine(*client_);
  const std::vector<show::Entry> entries = show::readEntries(*client_);
  report_.before = ownItems(entries);
  report_.published = report_.before;
  const bool hasRehearsal =
      std::any_of(entries.begin(), entries.end(), [](const show::Entry& entry) {
        return entry.identifyingNumber && *entry.identifyingNumber == rehearsalNumber;
      });
  if (hasRehearsal && !settings_.isCheck) {
    deleteRehearsals(*client_);
  }
  if (machine_.machineType) {
    report_.machineType = machine_.machineType->toUtf8();
  }
}

// It becomes part of a file name, or of a URL.
void checkMachineType(const show::Machine& machine, const std::string& type) {
  if (type.empty()) {
    throw Failure(Status::cimServer,
                  "the CIM server does not give the machine type" +
                      (machine.systemRefusal ? ": " + harmless(machine.systemRefusal->toUtf8())
                                             : "; see morvik-show --machine"));
  }
  if (!isOfLettersDigitsAnd("-_.", type)) {
    throw Failure(Status::cimServer, "the machine type '" + harmless(type) +
                                         "' has other characters than letters, digits, -, _ and .");
  }
}

// --- the data file ---

Good Run::bring() {
  const Deadline limit(std::min<Clock::duration>(bringLimit, deadline_.left()));
  Bringer bringer(settings_, limit);
  if (bringer.isByType()) {
    checkMachineType(machine_, report_.machineType);
  }
  const std::string name = bringer.nameFor(report_.machineType);
  report_.source = bringer.addressOf(name);
  try {
    return bringOnce(bringer, name, true);
  } catch (const Failure& failure) {
    // A maker who replaces files at this moment may have replaced only some of them.
    if (settings_.keyring.text.empty() || failure.status() != Status::refused ||
        limit.left() <= settings_.retryPause) {
      throw;
    }
  }
  std::this_thread::sleep_for(settings_.retryPause);
  return bringOnce(bringer, name, false);
}

Good Run::bringOnce(Bringer& bringer, const std::string& name, bool isFirst) {
  Good candidate;
  candidate.source = report_.source;
  const auto& good = state_.good();
  const bool isKnown = isFirst && good && good->source == candidate.source && !good->text.empty();
  const Brought brought =
      bringer.bring(name, isKnown ? std::optional(good->version) : std::nullopt);
  candidate.text = brought.isUnchanged ? good->text : brought.text;
  candidate.version = brought.isUnchanged ? good->version : brought.version;
  if (!settings_.keyring.text.empty()) {
    candidate.keyring = keyringSum(settings_.keyring);
    // A text that was verified with this keyring, and has not changed since, need not be again.
    if (!brought.isUnchanged || good->keyring != candidate.keyring) {
      verify(bringer, name, candidate);
    }
  }
  return candidate;
}

void Run::verify(Bringer& bringer, const std::string& name, Good& candidate) {
  try {
    const std::string sums = bringer.bring("SHA256SUMS").text;
    const std::string signed_ = bringer.bring("SHA256SUMS.gpg").text;
    candidate.signatureTime = checkSignature(sums, signed_, settings_.keyring.text,
                                             state_.emptyWorkDirectory(), deadline_);
    checkSum(sums, name, candidate.text);
    if (!settings_.isForced) {
      checkAge(candidate.signatureTime, state_.good() ? state_.good()->signatureTime : 0,
               std::time(nullptr));
    }
  } catch (const Failure& failure) {
    // A file without a signature is not a missing file.
    const Status status = failure.status() == Status::noFile ? Status::refused : failure.status();
    throw Failure(status, candidate.source + " cannot be verified: " + failure.what());
  }
}

void Run::judge(const Good& candidate) {
  const auto& good = state_.good();
  try {
    checkForm(candidate.text);
    const Prediction prediction = predict(candidate.text, *client_, machine_, deadline_);
    report_.predicted = prediction.items;
    const std::size_t before = good && good->entries > 0 ? good->entries : report_.before->size();
    checkShare(prediction, before, settings_.isForced ? 0 : settings_.minShare);
  } catch (const Failure& failure) {
    if (failure.status() != Status::refused) {
      throw;
    }
    throw Failure(Status::refused, candidate.source + " is refused: " + failure.what());
  }
}

// --- publishing ---

void Run::holdSignals() {
  if (!held_) {
    held_.emplace();
  }
}

// Not if the disk has damaged it.
bool canBeRestored(const std::optional<Good>& good) {
  try {
    if (good) {
      checkForm(good->text);
    }
    return good.has_value();
  } catch (const Failure&) {
    return false;
  }
}

std::string Run::publishOnce(const std::string& text, Deadline limit) {
  if (mustDeleteByName(*client_)) {
    report_.published.reset();
    report_.notes.push_back("deleted " + show::counted(deleteByName(*client_), "entry", "entries") +
                            " by name, because the CIM server has no GetProperty for them");
  }
  std::string words = runMorvik({.morvik = settings_.morvik.text,
                                 .directory = state_.emptyWorkDirectory(),
                                 .text = text,
                                 .lock = state_.lock()},
                                limit);
  look();
  return words;
}

void Run::look() {
  report_.published.reset();
  for (int looks = 1;; ++looks) {
    try {
      client_ = makeClient();
      connectToLocalServer(*client_);
      report_.published = ownItems(show::readEntries(*client_));
      return;
    } catch (const Pegasus::Exception& error) {
      if (looks == mostLooks || deadline_.left() <= pauseBetweenLooks) {
        throw Failure(Status::cimServer, std::string("cannot look at what is published: ") +
                                             harmlessOnce(error.what()));
      }
    }
    std::this_thread::sleep_for(pauseBetweenLooks);
  }
}

void Run::publish(const Good& candidate) {
  rehearse(*client_, *report_.predicted, report_.before->size(),
           Deadline(deadline_.left() / rehearsalPart));
  mustDeleteByName(*client_);
  holdSignals();
  state_.beginPublishing(*report_.before);
  const std::string words = publishOnce(candidate.text, Deadline(deadline_.left() / 2));
  if (report_.published != report_.predicted) {
    const Items missing = missingFrom(*report_.published, *report_.predicted);
    const Items others = missingFrom(*report_.predicted, *report_.published);
    std::string reason;
    reason += missing.empty() ? "" : "not published: " + listWords(missing);
    reason += missing.empty() || others.empty() ? "" : "; ";
    reason += others.empty() ? "" : "published, but not predicted: " + listWords(others);
    reason += words.empty() ? "" : "; " + words;
    restore(candidate, reason);
  }
  state_.endPublishing();
}

// The new file once more if there is no other: a CIM server that was started again meanwhile takes
// it now.
void Run::restore(const Good& candidate, const std::string& reason) {
  const auto& good = state_.good();
  const std::string& text = canBeRestored(good) ? good->text : candidate.text;
  const Items expected = predict(text, *client_, machine_, deadline_).items;
  if (*report_.published != expected) {
    publishOnce(text, Deadline(deadline_.left()));
  }
  const bool isWhole = *report_.published == expected;
  if (isWhole) {
    state_.endPublishing();
  }
  if (report_.published == report_.predicted) {
    report_.notes.push_back("published in a second try; in the first, " + reason);
    return;
  }
  report_.isRestored = isWhole;
  throw Failure(Status::notAsPredicted,
                report_.source + ": " + reason +
                    (report_.isRestored ? "; the last good entries are published"
                                        : "; the last good entries could not be published again"));
}

void Run::mend() {
  const auto& good = state_.good();
  if (!state_.isInterrupted() || settings_.isCheck || !report_.published || !canBeRestored(good)) {
    return;
  }
  try {
    const Items expected = predict(good->text, *client_, machine_, deadline_).items;
    holdSignals();
    if (*report_.published != expected) {
      publishOnce(good->text, deadline_);
      report_.isRestored = *report_.published == expected;
    }
    if (*report_.published == expected) {
      state_.endPublishing();
    }
    if (report_.isRestored) {
      report_.notes.emplace_back(
          "an earlier run was interrupted: the last good entries are published again");
    }
  } catch (const std::exception& error) {
    report_.notes.push_back(
        std::string("an earlier run was interrupted, and its entries cannot be replaced: ") +
        harmlessOnce(error.what()));
  }
}

// --- the order ---

void Run::go() {
  askMachine();
  try {
    Good candidate = bring();
    judge(candidate);
    if (!settings_.isCheck) {
      if (report_.before == report_.predicted) {
        state_.endPublishing();
      } else {
        publish(candidate);
      }
      // An older signature has been accepted by force, and is the measure from now on.
      if (candidate.signatureTime == 0 && state_.good()) {
        candidate.signatureTime = state_.good()->signatureTime;
      }
      candidate.entries = report_.predicted->size();
      good_ = std::move(candidate);
    }
    report_.message = goodWords(report_);
  } catch (const Failure& failure) {
    // After the rest, morvik has not run, and an earlier run may have been interrupted.
    if (failure.status() != Status::notAsPredicted) {
      mend();
    }
    if (failure.status() != Status::noFile) {
      throw;
    }
    const std::string words =
        "no data file for machine type " + report_.machineType + ": " + failure.what();
    if (!settings_.isMissingGood) {
      throw Failure(Status::noFile, words);
    }
    good_ = state_.good().value_or(Good());
    report_.message = words;
  }
}

void Run::remember() {
  if (settings_.isCheck) {
    return;
  }
  if (good_) {
    good_->finished = timeText(report_.finished);
  }
  try {
    state_.remember(report_, good_);
  } catch (const Failure& failure) {
    if (report_.status == Status::good) {
      report_.status = Status::badUse;
      report_.message += std::string(", but ") + failure.what();
    } else {
      report_.notes.emplace_back(failure.what());
    }
    try {
      state_.writeStatus(report_);
    } catch (const Failure&) {
      // The reason is in the report already.
    }
  }
  if (!settings_.metrics.text.empty()) {
    const auto lastSuccess =
        state_.good() ? show::timeIn(state_.good()->finished) : std::optional<Time>();
    try {
      writeAtomically(settings_.metrics.text, metricsText(report_, machine_, lastSuccess));
    } catch (const Failure& failure) {
      report_.notes.emplace_back(failure.what());
    }
  }
}

void fail(Report& report, Status status, const std::string& words) {
  report.status = status;
  report.message = words;
  if (report.published && !report.published->empty() && status != Status::notAsPredicted) {
    report.message += "; " +
                      show::counted(report.published->size(), "entry stays", "entries stay") +
                      " published";
  }
}

// Never throws because of what happens in a run: its status and message say what has. Entries of
// the last good run stay published, or are published again, unless the status is good.
Report run(const Settings& settings) {
  Report report;
  report.started = std::chrono::system_clock::now();
  report.isCheck = settings.isCheck;
  std::unique_ptr<Run> run;
  try {
    run = std::make_unique<Run>(settings, report);
    if (!settings.fault.empty()) {
      throw Failure(Status::badUse, settings.fault);
    }
    run->go();
  } catch (const Failure& failure) {
    // A wrong setting is the reason even if there is no state directory to remember it.
    fail(report, failure.status(), settings.fault.empty() ? failure.what() : settings.fault);
  } catch (const Pegasus::Exception& error) {
    fail(report, Status::cimServer, "CIM server: " + harmlessOnce(error.what()));
  } catch (const std::exception& error) {
    fail(report, Status::badUse, settings.fault.empty() ? harmless(error.what()) : settings.fault);
  }
  report.finished = std::chrono::system_clock::now();
  if (run) {
    run->remember();
  }
  return report;
}

// --- the process ---

void complain(const std::string& words) {
  std::cerr << "morvik-run: " << words << std::endl;
}

Status say(const Report& report, const Settings& settings) {
  const bool isGood = report.status == Status::good;
  if (settings.isJson) {
    std::cout << show::dump(toJson(report)) << std::endl;
  } else if (isGood && !settings.isQuiet) {
    std::cout << report.message << std::endl;
  }
  if (!isGood) {
    complain(report.message);
  }
  for (const std::string& note : report.notes) {
    complain(note);
  }
  if (!std::cout.good()) {
    complain("cannot write to standard output");
    return isGood ? Status::badUse : report.status;
  }
  return report.status;
}

// Otherwise a file that is opened later would get what is written to standard output.
void openStandardDescriptors() {
  int descriptor = 0;
  do {
    descriptor = open("/dev/null", O_RDWR);
  } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
  close(descriptor);
}

int runAsAsked(int argc, char** argv) {
  try {
    const auto settings = readSettings(argc, argv);
    if (const int* status = std::get_if<int>(&settings)) {
      return *status;
    }
    const auto& asked = std::get<Settings>(settings);
    return static_cast<int>(say(run(asked), asked));
  } catch (const Failure& failure) {
    complain(failure.what());
    return static_cast<int>(failure.status());
  } catch (const std::exception& error) {
    complain(harmless(error.what()));
  }
  return static_cast<int>(Status::badUse);
}

}  // namespace

}  // namespace run

int main(int argc, char** argv) {
  // Says which characters are printable; nothing else depends on it.
  std::setlocale(LC_CTYPE, "");
  // A message that nobody can take must not end a run, nor a file that must not grow.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  run::openStandardDescriptors();
  return run::runAsAsked(argc, argv);
}
