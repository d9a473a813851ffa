#include "judge.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <optional>
#include <sstream>

#include "data_file.h"
#include "explainer.h"
#include "import/fru_file.h"

using Pegasus::String;

namespace run {

namespace {

std::string textOf(const std::optional<String>& value) {
  return value ? value->toUtf8() : "";
}

// What the import gives every entry, besides what the line has.
Item toItem(const show::Explanation& explanation) {
  const EntryFields& fields = *explanation.fields;
  return {fields.name.toUtf8(),
          fields.fruNumber.toUtf8(),
          fields.description.toUtf8(),
          textOf(explanation.identifyingNumber),
          "KVA",
          "1.0"};
}

// Neither a comment nor a blank line.
bool isMeantAsEntry(const show::Explanation& explanation) {
  const std::string code = explanation.reason.code;
  return code != "comment" && code != "blank";
}

}  // namespace

Items ownItems(const std::vector<show::Entry>& entries) {
  Items items;
  for (const show::Entry& entry : entries) {
    if (entry.isOurs) {
      items.push_back({textOf(entry.category), textOf(entry.fruNumber), textOf(entry.description),
                       textOf(entry.identifyingNumber), textOf(entry.vendor),
                       textOf(entry.revisionLevel)});
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
        prediction.items.push_back(toItem(explanation));
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
    refuse("it has " + std::to_string(predicted) + (predicted == 1 ? " entry" : " entries") +
           " for this machine, but " + std::to_string(before) +
           " are expected from the last run; use --force if that is right");
  }
}

}  // namespace run
