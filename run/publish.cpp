#include "publish.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <optional>
#include <sstream>
#include <system_error>

#include "cim/client.h"
#include "explainer.h"
#include "import/fru_file.h"
#include "import/publication.h"
#include "process.h"
#include "text.h"

using Pegasus::Array;
using Pegasus::CIMClient;
using Pegasus::CIMException;
using Pegasus::CIMInstance;
using Pegasus::CIMObjectPath;
using Pegasus::CIMProperty;
using Pegasus::CIMValue;
using Pegasus::String;
using Pegasus::Uint32;

namespace run {

namespace {

std::string textOf(const std::optional<String>& value) {
  return value ? value->toUtf8() : "";
}

Item toItem(const show::Entry& entry) {
  return {textOf(entry.category),          textOf(entry.fruNumber), textOf(entry.description),
          textOf(entry.identifyingNumber), textOf(entry.vendor),    textOf(entry.revisionLevel)};
}

// Neither a comment nor a blank line.
bool isMeantAsEntry(const show::Explanation& explanation) {
  const std::string code = explanation.reason.code;
  return code != "comment" && code != "blank";
}

constexpr const char* className = "KVAXDT_FRU";

String numberIn(const CIMObjectPath& name) {
  return show::keyIn(name, "IdentifyingNumber").value_or(String());
}

bool hasOurNumber(const CIMObjectPath& name) {
  return isOurNumber(numberIn(name));
}

CIMInstance rehearsalOf(const Item& item) {
  CIMInstance instance{String(className)};
  const auto add = [&](const char* name, const std::string& value) {
    instance.addProperty(CIMProperty(String(name), CIMValue(String(value))));
  };
  add("FRUNumber", item.fruNumber);
  add("Name", item.category);
  add("Description", item.description);
  add("IdentifyingNumber", rehearsalNumber);
  add("Vendor", item.vendor);
  add("RevisionLevel", item.revisionLevel);
  return instance;
}

// The entry is there for a moment only, so that a run that is killed leaves at most one.
void rehearseOne(CIMClient& client, const Item& item) {
  const CIMObjectPath name = client.createInstance(cimNamespace, rehearsalOf(item));
  if (name.getClassName().size() > 0) {
    client.deleteInstance(cimNamespace, name);
  } else {
    deleteRehearsals(client);
  }
}

bool isOfAFullServer(const Pegasus::Exception& error) {
  const auto* refusal = dynamic_cast<const CIMException*>(&error);
  return refusal != nullptr && refusal->getCode() == Pegasus::CIM_ERR_SERVER_LIMITS_EXCEEDED;
}

// Whether the server has no GetProperty for these instances. The words are those of the
// small-footprint broker's own provider, which has no code for it.
bool lacksGetProperty(CIMClient& client, const CIMObjectPath& name) {
  try {
    client.getProperty(cimNamespace, name, "IdentifyingNumber");
    return false;
  } catch (const CIMException& refusal) {
    return refusal.getCode() == Pegasus::CIM_ERR_NOT_SUPPORTED ||
           (refusal.getCode() == Pegasus::CIM_ERR_FAILED &&
            refusal.getDescription().find("property operations") != PEG_NOT_FOUND);
  }
}

}  // namespace

Items ownItems(const std::vector<show::Entry>& entries) {
  Items items;
  for (const show::Entry& entry : entries) {
    if (entry.isOurs) {
      items.push_back(toItem(entry));
    }
  }
  std::sort(items.begin(), items.end());
  return items;
}

Items missingFrom(const Items& b, const Items& a) {
  Items items;
  std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(items));
  return items;
}

void checkForm(const std::string& text) {
  if (const auto problem = show::findFormProblem(text)) {
    refuse(problem->words);
  }
}

Prediction predict(const std::string& text, Pegasus::CIMClient& client,
                   const show::Machine& machine, const Deadline& deadline) {
  std::istringstream file(text);
  show::Explainer explainer(client, machine);
  Prediction prediction;
  String line;
  try {
    for (LineRead read = readAnyLine(file, line); read != LineRead::end;
         read = readAnyLine(file, line)) {
      if (deadline.left().count() == 0) {
        throw Failure(Status::cimServer, "the CIM server is too slow: the time for a run is up");
      }
      const show::Explanation explanation = explainer.explain(read, line);
      if (explanation.result == show::Result::published) {
        prediction.items.push_back(toItem(*explanation.entry));
      } else if (prediction.reason.empty() && isMeantAsEntry(explanation)) {
        prediction.reason = "line " + std::to_string(explanation.line) + ": " +
                            harmless(explanation.reason.words.toUtf8());
      }
    }
  } catch (const Failure&) {
    throw;
  } catch (const std::exception& error) {
    throw Failure(Status::cimServer, harmless(error.what()));
  }
  std::sort(prediction.items.begin(), prediction.items.end());
  return prediction;
}

void checkShare(const Prediction& prediction, std::size_t before, double minShare) {
  const std::size_t predicted = prediction.items.size();
  if (predicted == 0) {
    refuse("no entry of it would be published on this machine" +
           (prediction.reason.empty() ? "" : "; " + prediction.reason));
  }
  if (static_cast<double>(predicted) < minShare * static_cast<double>(before)) {
    refuse("it has " + show::counted(predicted, "entry", "entries") + " for this machine, but " +
           std::to_string(before) +
           " are expected from the last run; use --force if that is right");
  }
}

// --- publishing ---

void deleteRehearsals(CIMClient& client) {
  for (const CIMObjectPath& name : client.enumerateInstanceNames(cimNamespace, className)) {
    if (numberIn(name) == String(rehearsalNumber)) {
      client.deleteInstance(cimNamespace, name);
    }
  }
}

void rehearse(CIMClient& client, const Items& items, std::size_t before, const Deadline& deadline) {
  for (const Item& item : items) {
    if (deadline.left().count() == 0) {
      throw Failure(Status::cimServer,
                    "the CIM server is too slow: the entries could not be replaced in time");
    }
    try {
      rehearseOne(client, item);
    } catch (const Pegasus::Exception& error) {
      if (isOfAFullServer(error) && items.size() <= before) {
        return;
      }
      throw Failure(Status::cimServer,
                    "the CIM server does not take the entry " + harmless(item.fruNumber) + " (" +
                        harmless(item.category) + "): " + harmlessOnce(error.what()));
    }
  }
}

bool mustDeleteByName(CIMClient& client) {
  const Array<CIMObjectPath> names = client.enumerateInstanceNames(cimNamespace, className);
  if (names.size() == 0 || !lacksGetProperty(client, names[0])) {
    return false;
  }
  if (!std::all_of(names.begin(), names.end(), hasOurNumber)) {
    throw Failure(Status::cimServer,
                  "the CIM server has no GetProperty for KVAXDT_FRU, and there are entries that "
                  "are not those of morvik: morvik would fail");
  }
  return true;
}

std::size_t deleteByName(CIMClient& client) {
  std::size_t count = 0;
  for (const CIMObjectPath& name : client.enumerateInstanceNames(cimNamespace, className)) {
    if (hasOurNumber(name)) {
      client.deleteInstance(cimNamespace, name);
      ++count;
    }
  }
  return count;
}

std::string runMorvik(const MorvikRun& run, const Deadline& deadline) {
  namespace fs = std::filesystem;
  const fs::path directory = run.directory;
  // morvik runs the FTP client first. This one fetches nothing, so that the file there is taken.
  std::error_code error;
  fs::create_symlink("/bin/true", directory / "ftp", error);
  if (error) {
    throw Failure(Status::badUse,
                  "cannot make " + (directory / "ftp").string() + ": " + error.message());
  }
  writeFile(directory / "fru.txt", run.text);
  try {
    const Ended ended = runProgram({.words = {run.morvik, "-s", "127.0.0.1", "-d", "/"},
                                    .directory = run.directory,
                                    .programs = run.directory,
                                    .limit = deadline.left(),
                                    .inherited = run.lock});
    std::string words;
    std::istringstream lines(ended.output + ended.errors);
    for (std::string line; std::getline(lines, line);) {
      // Not an error: it is the file that morvik is to publish.
      if (!line.empty() && !line.starts_with("A local copy of fru.txt is detected")) {
        words += (words.empty() ? "" : " ") + line;
      }
    }
    words = words.empty() ? "" : "morvik said: " + harmless(words);
    if (ended.isTimeUp || ended.status != 0) {
      words += std::string(words.empty() ? "morvik " : "; it ") +
               (ended.isTimeUp ? "was ended, because its time was up"
                               : "ended with status " + std::to_string(ended.status));
    }
    return words;
  } catch (const std::system_error& failure) {
    throw Failure(Status::badUse, failure.what());
  }
}

}  // namespace run
