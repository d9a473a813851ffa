#include "inventory.h"

#include <charconv>
#include <map>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <type_traits>

#include "file.h"

using Pegasus::String;

namespace show {

namespace {

// --- the members of format 2, in their order: reading and writing both go through them ---

template <typename AnyEntry, typename Visit>
void visitEntry(AnyEntry& entry, const Visit& visit) {
  visit("category", entry.category);
  visit("fruNumber", entry.fruNumber);
  visit("description", entry.description);
  visit("identifyingNumber", entry.identifyingNumber);
  visit("vendor", entry.vendor);
  visit("revisionLevel", entry.revisionLevel);
  visit("publishedByMorvik", entry.isOurs);
  visit("problem", entry.problem);
}

template <typename AnyPart, typename Visit>
void visitPart(AnyPart& part, const Visit& visit) {
  const bool isModule = part.isModule;
  visit("place", part.place);
  if (isModule) {
    visit("locator", part.locator);
    visit("bank", part.bank);
  }
  visit(isModule ? "type" : "name", part.type);
  visit(isModule ? "sizeBytes" : "clockMHz", part.amount);
  visit("comparedAs", part.compared);
  visit(isModule ? "speedMHz" : "maxClockMHz", part.maxSpeed);
  if (!isModule) {
    visit("cores", part.cores);
  }
  visit("manufacturer", part.manufacturer);
  visit("partNumber", part.partNumber);
  visit("serialNumber", part.serialNumber);
}

template <typename AnyMachine, typename Visit>
void visitMachine(AnyMachine& machine, int format, const Visit& visit) {
  if (format > 1) {
    visit("hostName", machine.hostName);
    visit("manufacturer", machine.manufacturer);
  }
  visit("model", machine.model);
  visit("machineType", machine.machineType);
  if (format == 1) {
    visit("processorClocks", machine.processors);
    visit("memorySizes", machine.memoryModules);
  } else {
    visit("serialNumber", machine.serialNumber);
  }
  visit("languageCode", machine.languageCode);
  visit("lang", machine.language);
  if (format > 1) {
    visit("processors", machine.processors);
    visit("memoryModules", machine.memoryModules);
  }
}

// --- writing ---

Json partJson(const Part& part) {
  Json json;
  visitPart(part, [&](const char* name, const auto& value) {
    if (std::string_view(name) == "sizeBytes") {
      json["sizeMiB"] = part.amount ? Json(*part.amount >> 20U) : Json();
    }
    json[name] = toJson(value);
  });
  return json;
}

// Null for a refusal.
Json partsJson(const Parts& parts, int format) {
  if (parts.refusal) {
    return {};
  }
  Json list = Json::array();
  for (const Part& part : parts.list) {
    list.push_back(format == 1 ? toJson(part.compared) : partJson(part));
  }
  return list;
}

// --- reading ---

[[noreturn]] void refuse(const std::string& words) {
  throw std::runtime_error(words);
}

// A value with its place in the document, for messages.
class Node {
 public:
  Node(const Json& json, std::string place) : json_(&json), place_(std::move(place)) {}

  bool isNull() const { return json_->is_null(); }

  // Null where there is no such member.
  Node operator[](const char* name) const {
    static const Json null;
    if (!json_->is_object()) {
      refuse(place_ + " is not an object");
    }
    const auto member = json_->find(name);
    return {member == json_->end() ? null : *member, place_.empty() ? name : place_ + "." + name};
  }
  std::vector<Node> items() const {
    if (!json_->is_array()) {
      refuse(place_ + " is not a list");
    }
    std::vector<Node> nodes;
    for (const Json& item : *json_) {
      nodes.emplace_back(item, place_ + "[" + std::to_string(nodes.size()) + "]");
    }
    return nodes;
  }
  void read(Text& value) const {
    if (!isNull() && !json_->is_string()) {
      refuse(place_ + " is not a text");
    }
    value = isNull() ? std::nullopt : Text(json_->get_ref<const std::string&>());
  }
  void read(std::optional<std::string>& value) const {
    Text text;
    read(text);
    value = text ? std::optional(text->toUtf8()) : std::nullopt;
  }
  void read(String& value) const {
    Text text;
    read(text);
    value = text.value_or(String());
  }
  void read(std::optional<std::uint64_t>& value) const {
    if (!isNull() && !json_->is_number_unsigned()) {
      refuse(place_ + " is not a whole number");
    }
    value = isNull() ? std::nullopt : std::optional(json_->get<std::uint64_t>());
  }
  void read(bool& value) const {
    if (!json_->is_boolean()) {
      refuse(place_ + " is neither true nor false");
    }
    value = json_->get<bool>();
  }

 private:
  const Json* json_;
  std::string place_;
};

// In format 1 the size of a module is in mebibytes.
void readCompared(const Node& node, Part& part) {
  node.read(part.compared);
  const std::string digits = part.compared.value_or(String()).toUtf8();
  std::uint32_t number = 0;
  const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (end.ec == std::errc() && end.ptr == digits.data() + digits.size()) {
    part.amount = std::uint64_t{number} << (part.isModule ? 20U : 0U);
  }
}

void readParts(const Node& node, bool areModules, int format, Parts& parts) {
  if (node.isNull()) {
    parts.refusal = "unknown";
    return;
  }
  for (const Node& item : node.items()) {
    Part& part = parts.list.emplace_back();
    part.isModule = areModules;
    if (format == 1) {
      readCompared(item, part);
    } else {
      visitPart(part, [&](const char* name, auto& value) { item[name].read(value); });
    }
  }
}

Machine machineIn(const Node& node, int format) {
  Machine machine;
  visitMachine(machine, format, [&](const char* name, auto& value) {
    if constexpr (std::is_same_v<decltype(value), Parts&>) {
      readParts(node[name], &value == &machine.memoryModules, format, value);
    } else {
      node[name].read(value);
    }
  });
  machine.hasSystem = machine.model.has_value();
  return machine;
}

}  // namespace

Json toJson(const Entry& entry) {
  Json json;
  visitEntry(entry, [&](const char* name, const auto& value) {
    if constexpr (std::is_same_v<decltype(value), const bool&>) {
      json[name] = value;
    } else {
      json[name] = toJson(value);
    }
  });
  return json;
}

Json toJson(const Machine& machine, int format) {
  Json json;
  visitMachine(machine, format, [&](const char* name, const auto& value) {
    if constexpr (std::is_same_v<decltype(value), const Parts&>) {
      json[name] = partsJson(value, format);
    } else {
      json[name] = toJson(value);
    }
  });
  return json;
}

Inventory parseInventory(std::string_view text) {
  const Json json = Json::parse(text, nullptr, false);
  if (json.is_discarded()) {
    refuse("not JSON, or cut short");
  }
  if (!json.is_object()) {
    refuse("not a document of morvik-show");
  }
  const Node document(json, "");
  std::optional<std::uint64_t> format;
  document["format"].read(format);
  if (format.value_or(0) < 1 || *format > 2) {
    refuse(format.value_or(0) == 0 ? "not a document of morvik-show"
                                   : "format " + std::to_string(*format) + " is not known here");
  }
  Inventory inventory;
  inventory.format = static_cast<int>(*format);
  document["time"].read(inventory.time);
  document["lastGoodRun"].read(inventory.lastGoodRun);
  if (!document["machine"].isNull()) {
    inventory.machine = machineIn(document["machine"], inventory.format);
  }
  if (!document["entries"].isNull()) {
    inventory.entries.emplace();
    for (const Node& item : document["entries"].items()) {
      visitEntry(inventory.entries->emplace_back(),
                 [&](const char* name, auto& value) { item[name].read(value); });
    }
  }
  if (!inventory.machine && !inventory.entries) {
    refuse("neither a list nor a machine");
  }
  return inventory;
}

Inventory readInventory(const std::string& fileName) {
  const std::string text = readWholeInput(fileName);
  try {
    return parseInventory(text);
  } catch (const std::runtime_error& error) {
    refuse(fileName + ": " + error.what());
  }
}

std::vector<String> labelsOf(const std::vector<NamedInventory>& inventories) {
  const auto hostOf = [](const NamedInventory& named) {
    const auto& machine = named.inventory.machine;
    return machine ? machine->hostName.value_or(String()) : String();
  };
  std::map<String, std::size_t> counts;
  for (const NamedInventory& named : inventories) {
    ++counts[hostOf(named)];
  }
  std::vector<String> labels;
  for (const NamedInventory& named : inventories) {
    const String host = hostOf(named);
    labels.push_back(host.size() == 0    ? String(named.name)
                     : counts[host] == 1 ? host
                                         : host + String(" (" + named.name + ")"));
  }
  return labels;
}

}  // namespace show
