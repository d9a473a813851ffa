#include "difference.h"

#include <algorithm>
#include <array>
#include <map>
#include <nlohmann/json.hpp>
#include <utility>

#include "output.h"

using Pegasus::String;

namespace show {

namespace {

using Kind = Difference::Kind;
using Differences = std::vector<Difference>;

const char* wordsOf(Kind kind) {
  return kind == Kind::added ? "added" : kind == Kind::removed ? "removed" : "changed";
}

struct Member {
  const char* name;
  Text before;
  Text after;
};

// Those of the members of one thing that differ.
void addChanged(Differences& differences, const String& part, const String& name,
                const std::vector<Member>& members) {
  for (const Member& member : members) {
    if (member.before != member.after) {
      differences.push_back({Kind::changed, part, name, member.name, member.before, member.after});
    }
  }
}

// Calls added, removed or both for the items of either list with the same key, the first with the
// first, and so on: in the order of `before`, and then of `after`.
template <typename Item, typename KeyOf, typename Both, typename One>
void match(const std::vector<Item>& before, const std::vector<Item>& after, const KeyOf& keyOf,
           const Both& both, const One& one) {
  using Items = std::pair<std::vector<const Item*>, std::vector<const Item*>>;
  std::map<decltype(keyOf(before.front())), std::size_t> positions;
  std::vector<Items> items;
  const auto itemsLike = [&](const Item& item) -> Items& {
    const auto [known, isNew] = positions.try_emplace(keyOf(item), items.size());
    return isNew ? items.emplace_back() : items[known->second];
  };
  for (const Item& item : before) {
    itemsLike(item).first.push_back(&item);
  }
  for (const Item& item : after) {
    itemsLike(item).second.push_back(&item);
  }
  for (const auto& [olds, news] : items) {
    for (std::size_t i = 0; i < std::max(olds.size(), news.size()); ++i) {
      if (i < olds.size() && i < news.size()) {
        both(*olds[i], *news[i]);
      } else {
        one(i < news.size() ? Kind::added : Kind::removed, i < news.size() ? *news[i] : *olds[i]);
      }
    }
  }
}

Difference whole(Kind kind, const String& part, const Text& name, const Text& text) {
  return {kind,
          part,
          name.value_or(String()),
          String(),
          kind == Kind::removed ? text : std::nullopt,
          kind == Kind::added ? text : std::nullopt};
}

// --- entries ---

std::array<String, 3> keyOf(const Entry& entry) {
  const auto text = [](const Text& value) { return value.value_or(String()); };
  return entry.isOurs ? std::array{text(entry.category), text(entry.fruNumber), String()}
                      : std::array{text(entry.vendor), text(entry.identifyingNumber),
                                   text(entry.fruNumber) + " "};
}

void compareEntries(const std::vector<Entry>& before, const std::vector<Entry>& after,
                    Differences& differences) {
  match(
      before, after, keyOf,
      [&](const Entry& a, const Entry& b) {
        addChanged(differences, b.category.value_or("entry"), b.fruNumber.value_or(String()),
                   {{"category", a.category, b.category},
                    {"description", a.description, b.description},
                    {"vendor", a.vendor, b.vendor},
                    {"revisionLevel", a.revisionLevel, b.revisionLevel},
                    {"problem", a.problem, b.problem}});
      },
      [&](Kind kind, const Entry& entry) {
        differences.push_back(
            whole(kind, entry.category.value_or("entry"), entry.fruNumber, entry.description));
      });
}

// --- the machine ---

bool haveNoPlaces(const Parts& parts) {
  return std::any_of(parts.list.begin(), parts.list.end(),
                     [](const Part& part) { return !part.place; });
}

// As format 1 has them.
Parts comparedOnly(const Parts& parts) {
  Parts result;
  for (const Part& part : parts.list) {
    result.list.push_back({.isModule = part.isModule, .compared = part.compared});
  }
  return result;
}

Text numberText(const std::optional<std::uint64_t>& number) {
  return number ? Text(String(std::to_string(*number))) : std::nullopt;
}

void compareParts(const Parts& before, const Parts& after, bool areModules,
                  Differences& differences) {
  if (before.refusal || after.refusal) {
    return;
  }
  const char* const what = areModules ? "memory module" : "processor";
  if (haveNoPlaces(before) || haveNoPlaces(after)) {
    addChanged(differences, "machine", String(),
               {{areModules ? "memoryModules" : "processors", groupWords(comparedOnly(before)),
                 groupWords(comparedOnly(after))}});
    return;
  }
  match(
      before.list, after.list, [](const Part& part) { return *part.place; },
      [&](const Part& a, const Part& b) {
        addChanged(differences, what, *b.place,
                   {{areModules ? "size" : "clock", partWords(a), partWords(b)},
                    {areModules ? "type" : "name", a.type, b.type},
                    {"cores", numberText(a.cores), numberText(b.cores)},
                    {"manufacturer", a.manufacturer, b.manufacturer},
                    {"partNumber", a.partNumber, b.partNumber},
                    {"serialNumber", a.serialNumber, b.serialNumber}});
      },
      [&](Kind kind, const Part& part) {
        String words = partWords(part);
        for (const Text& more : {part.type, part.partNumber, part.serialNumber}) {
          words += more ? String(", ") + *more : String();
        }
        differences.push_back(whole(kind, what, part.place, words));
      });
}

}  // namespace

Differences differencesOf(const Inventory& before, const Inventory& after) {
  Differences differences;
  if (before.machine && after.machine) {
    const Machine& a = *before.machine;
    const Machine& b = *after.machine;
    if (before.format > 1 && after.format > 1) {
      addChanged(
          differences, "machine", String(),
          {{"hostName", a.hostName, b.hostName}, {"serialNumber", a.serialNumber, b.serialNumber}});
    }
    addChanged(differences, "machine", String(),
               {{"model", a.model, b.model}, {"machineType", a.machineType, b.machineType}});
    compareParts(a.processors, b.processors, false, differences);
    compareParts(a.memoryModules, b.memoryModules, true, differences);
  }
  if (before.entries && after.entries) {
    compareEntries(*before.entries, *after.entries, differences);
  }
  return differences;
}

Columns differenceColumns() {
  return {{"change", "CHANGE"},
          {"part", "PART"},
          {"name", "NUMBER OR PLACE"},
          {"member", "MEMBER", Shown::ifFilled},
          {"old", "OLD"},
          {"new", "NEW"}};
}

void writeDifferences(const Output& output, const std::optional<std::string>& since,
                      const Differences& differences) {
  if (output.json) {
    Json members = beginning(*output.json);
    members["since"] = since ? Json(*since) : Json();
    JsonList list(output.out, members, "differences");
    for (const Difference& d : differences) {
      list.add({{"change", wordsOf(d.kind)},
                {"part", toJson(d.part)},
                {"name", toJson(d.name)},
                {"member", toJson(d.member)},
                {"old", toJson(d.before)},
                {"new", toJson(d.after)}});
    }
    list.end();
    return;
  }
  if (differences.empty() && !output.form.isCsv) {
    return;
  }
  const auto filled = [](const String& text) { return text.size() > 0 ? Text(text) : Text(); };
  Table table(output, differenceColumns());
  for (const Difference& d : differences) {
    const Style style = d.kind == Kind::added     ? Style::green
                        : d.kind == Kind::removed ? Style::faint
                                                  : Style::yellow;
    table.add(
        {{String(wordsOf(d.kind)), d.part, filled(d.name), filled(d.member), d.before, d.after},
         style,
         true});
  }
  table.end();
}

}  // namespace show
