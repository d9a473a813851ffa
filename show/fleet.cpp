#include "fleet.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <tuple>
#include <utility>

using Pegasus::String;

namespace show {

namespace {

// All that an explanation depends on. Machines that have the same of it are explained once.
using Compared = std::tuple<std::set<String>, std::set<String>, String>;

// Up to the one at which morvik stops; their order does not matter.
std::set<String> comparedOf(const Parts& parts) {
  std::set<String> texts;
  for (const Part& part : parts.list) {
    if (!part.compared) {
      break;
    }
    texts.insert(*part.compared);
  }
  return texts;
}

Compared comparedOf(const Machine& machine) {
  return {comparedOf(machine.processors), comparedOf(machine.memoryModules), machine.languageCode};
}

// The machines that publish the same lines.
using Group = std::vector<std::size_t>;

std::vector<Group> groupsOf(const Fleet& fleet) {
  std::map<std::vector<bool>, std::size_t> known;
  std::vector<Group> groups;
  for (std::size_t i = 0; i < fleet.machines.size(); ++i) {
    std::vector<bool> published;
    published.reserve(fleet.entries.size());
    for (const FleetLine& each : fleet.entries) {
      published.push_back(each.isPublished[i]);
    }
    const auto [group, isNew] = known.try_emplace(std::move(published), groups.size());
    if (isNew) {
      groups.emplace_back();
    }
    groups[group->second].push_back(i);
  }
  return groups;
}

// Each machine alone.
std::vector<Group> singleGroups(const Fleet& fleet) {
  std::vector<Group> groups;
  for (std::size_t i = 0; i < fleet.machines.size(); ++i) {
    groups.push_back({i});
  }
  return groups;
}

constexpr std::size_t mostNames = 4;

// Absent if all are empty.
template <typename Texts>
Text listWords(const Texts& texts) {
  std::vector<String> words(texts.begin(), texts.end());
  std::erase(words, String());
  return words.empty() ? Text() : show::listWords(std::move(words), mostNames);
}

String number(std::uint64_t value) {
  return String(std::to_string(value));
}

// The machines of each column of the matrix.
void writeGroups(const Output& output, const Fleet& fleet, const std::vector<Group>& groups,
                 const std::vector<String>& labels) {
  const Output whole = {output.out, output.terminal};
  Table table(whole, {{"column", "COLUMN"},
                      {"machines", "MACHINES"},
                      {"types", "TYPES"},
                      {"models", "MODELS", Shown::ifFilled},
                      {"names", "NAMES"}});
  for (std::size_t i = 0; i < groups.size(); ++i) {
    std::set<String> types;
    std::set<String> models;
    std::vector<String> names;
    for (const std::size_t position : groups[i]) {
      const Machine& machine = *fleet.machines[position].inventory.machine;
      types.insert(machine.machineType.value_or(String()));
      models.insert(machine.model.value_or(String()));
      names.push_back(labels[position]);
    }
    table.add({{number(i + 1), number(groups[i].size()), listWords(types), listWords(models),
                listWords(names)},
               Style::plain,
               true});
  }
  table.end();
}

std::string linesWords(const std::vector<std::uint64_t>& lines) {
  std::string words = lines.size() == 1 ? "line " : "lines ";
  for (std::size_t i = 0; i < lines.size(); ++i) {
    words += (i == 0 ? "" : ", ") + std::to_string(lines[i]);
  }
  return words;
}

void writeSummary(const Output& output, const Fleet& fleet) {
  std::vector<std::uint64_t> none;
  for (const FleetLine& each : fleet.entries) {
    if (each.count() == 0) {
      none.push_back(each.line);
    }
  }
  const std::string counts = counted(fleet.entries.size(), "entry: ", "entries: ") +
                             std::to_string(none.size()) + " for none of the machines" +
                             (none.empty() ? "" : ": " + linesWords(none)) + "; " +
                             counted(fleet.ignored, "line", "lines") + " ignored";
  output.out << '\n';
  for (const std::string& line : wrapTo(output.terminal.columns, counts)) {
    output.out << line << '\n';
  }
}

void writeJson(const Output& output, const Fleet& fleet) {
  Json members = beginning(*output.json);
  for (const auto& [file, inventory] : fleet.machines) {
    members["machines"].push_back({{"file", String(file).toUtf8()},
                                   {"hostName", toJson(inventory.machine->hostName)},
                                   {"machineType", toJson(inventory.machine->machineType)},
                                   {"model", toJson(inventory.machine->model)}});
  }
  JsonList list(output.out, members, "matrix");
  std::uint64_t none = 0;
  for (const FleetLine& each : fleet.entries) {
    Json published = Json::array();
    for (std::size_t i = 0; i < each.isPublished.size(); ++i) {
      if (each.isPublished[i]) {
        published.push_back(i);
      }
    }
    none += published.empty() ? 1 : 0;
    list.add({{"line", each.line},
              {"category", toJson(each.category)},
              {"fruNumber", toJson(each.fruNumber)},
              {"description", toJson(each.description)},
              {"publishedOn", std::move(published)}});
  }
  list.end({{"counts",
             {{"entries", fleet.entries.size()}, {"forNone", none}, {"ignored", fleet.ignored}}}});
}

}  // namespace

std::size_t FleetLine::count() const {
  return static_cast<std::size_t>(std::count(isPublished.begin(), isPublished.end(), true));
}

Fleet explainOn(std::vector<NamedInventory> machines, std::istream& file) {
  Fleet fleet;
  fleet.machines = std::move(machines);
  std::vector<Explainer> explainers;
  std::vector<std::size_t> explainerOf;
  std::map<Compared, std::size_t> known;
  for (const NamedInventory& named : fleet.machines) {
    const auto [same, isNew] =
        known.try_emplace(comparedOf(*named.inventory.machine), explainers.size());
    if (isNew) {
      explainers.emplace_back(*named.inventory.machine);
    }
    explainerOf.push_back(same->second);
  }
  String line;
  for (LineRead read = readAnyLine(file, line); read != LineRead::end;
       read = readAnyLine(file, line)) {
    std::vector<Explanation> explanations;
    explanations.reserve(explainers.size());
    for (Explainer& explainer : explainers) {
      explanations.push_back(explainer.explain(read, line));
    }
    if (explanations.empty() || !explanations.front().entry) {
      ++fleet.ignored;
      continue;
    }
    const Explanation& first = explanations.front();
    FleetLine each = {first.line,
                      first.category.value_or(String()),
                      first.entry->fruNumber,
                      first.entry->description,
                      {}};
    for (const std::size_t explainer : explainerOf) {
      each.isPublished.push_back(explanations[explainer].result == Result::published);
    }
    fleet.entries.push_back(std::move(each));
  }
  return fleet;
}

void writeFleet(const Output& output, const Fleet& fleet) {
  if (output.json) {
    return writeJson(output, fleet);
  }
  const bool isCsv = output.form.isCsv;
  const std::vector<String> labels = labelsOf(fleet.machines);
  const std::vector<Group> groups = isCsv ? singleGroups(fleet) : groupsOf(fleet);
  if (!isCsv) {
    writeGroups(output, fleet, groups, labels);
    output.out << '\n';
  }
  std::vector<std::string> names;
  names.reserve(groups.size());
  for (std::size_t i = 0; i < groups.size(); ++i) {
    names.push_back(isCsv ? labels[i].toUtf8() : std::to_string(i + 1));
  }
  Columns columns = {{"line", "LINE"},
                     {"category", "CATEGORY"},
                     {"fruNumber", "FRU NUMBER"},
                     {"description", "DESCRIPTION", Shown::onDemand},
                     {"machines", "MACHINES"}};
  for (const std::string& name : names) {
    columns.push_back({name.c_str(), name.c_str()});
  }
  Table table(output, columns);
  for (const FleetLine& each : fleet.entries) {
    Table::Row row = {
        {number(each.line), each.category, each.fruNumber, each.description, number(each.count())},
        each.count() == 0 ? Style::yellow : Style::plain};
    for (const Group& group : groups) {
      row.cells.push_back(each.isPublished[group.front()] ? Text(isCsv ? "published" : "x")
                                                          : Text());
    }
    table.add(row);
  }
  table.end();
  if (!isCsv) {
    writeSummary(output, fleet);
  }
}

}  // namespace show
