#include "inventory.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <system_error>

#include "json.h"

using Pegasus::String;

namespace show {

namespace {

constexpr std::size_t largest = std::size_t{64} << 20U;

[[noreturn]] void refuse(const std::string& words) {
  throw std::runtime_error(words);
}

// A value with its place in the document, for messages.
class Node {
 public:
  Node(const Json& json, std::string place) : json_(&json), place_(std::move(place)) {}

  const std::string& place() const { return place_; }
  const Json& json() const { return *json_; }
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
  std::optional<String> text() const {
    if (isNull()) {
      return std::nullopt;
    }
    if (!json_->is_string()) {
      refuse(place_ + " is not a text");
    }
    return String(std::string_view(json_->get_ref<const std::string&>()));
  }
  std::optional<std::uint64_t> number() const {
    if (isNull()) {
      return std::nullopt;
    }
    if (!json_->is_number_unsigned()) {
      refuse(place_ + " is not a whole number");
    }
    return json_->get<std::uint64_t>();
  }
  void read(std::optional<String>& value) const { value = text(); }
  void read(std::optional<std::uint64_t>& value) const { value = number(); }
  bool isTrue() const {
    if (!json_->is_boolean()) {
      refuse(place_ + " is neither true nor false");
    }
    return json_->get<bool>();
  }

 private:
  const Json* json_;
  std::string place_;
};

std::optional<std::string> utf8(const Node& node) {
  const auto text = node.text();
  return text ? std::optional(text->toUtf8()) : std::nullopt;
}

template <bool isModule>
Part readPart(const Node& node) {
  Part part;
  for (const PartMember& member : partMembers(isModule)) {
    std::visit([&](auto value) { node[member.name].read(part.*value); }, member.value);
  }
  return part;
}

// Of format 1.
template <unsigned shift>
Part readCompared(const Node& node) {
  Part part;
  part.compared = node.text();
  const std::string digits = part.compared ? part.compared->toUtf8() : "";
  std::uint32_t number = 0;
  const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (end.ec == std::errc() && end.ptr == digits.data() + digits.size()) {
    part.amount = std::uint64_t{number} << shift;
  }
  return part;
}

Parts readParts(const Node& node, Part (*readPart)(const Node&)) {
  Parts parts;
  if (node.isNull()) {
    parts.refusal = "unknown";
    return parts;
  }
  for (const Node& item : node.items()) {
    parts.list.push_back(readPart(item));
  }
  return parts;
}

Machine toMachine(const Node& node, std::uint64_t format) {
  Machine machine;
  machine.model = node["model"].text();
  machine.hasSystem = machine.model.has_value();
  machine.machineType = node["machineType"].text();
  machine.languageCode = node["languageCode"].text().value_or(String());
  machine.language = node["lang"].text();
  if (format == 1) {
    machine.processors = readParts(node["processorClocks"], readCompared<0>);
    machine.memoryModules = readParts(node["memorySizes"], readCompared<20>);
    return machine;
  }
  machine.hostName = node["hostName"].text();
  machine.manufacturer = node["manufacturer"].text();
  machine.serialNumber = node["serialNumber"].text();
  machine.processors = readParts(node["processors"], readPart<false>);
  machine.memoryModules = readParts(node["memoryModules"], readPart<true>);
  return machine;
}

Entry readEntry(const Node& node) {
  Entry entry;
  entry.category = node["category"].text();
  entry.fruNumber = node["fruNumber"].text();
  entry.description = node["description"].text();
  entry.identifyingNumber = node["identifyingNumber"].text();
  entry.vendor = node["vendor"].text();
  entry.revisionLevel = node["revisionLevel"].text();
  entry.isOurs = node["publishedByMorvik"].isTrue();
  entry.problem = node["problem"].text();
  return entry;
}

}  // namespace

Inventory parseInventory(std::string_view text) {
  const Json json = Json::parse(text, nullptr, false);
  if (json.is_discarded()) {
    refuse("not JSON, or cut short");
  }
  if (!json.is_object()) {
    refuse("not a document of morvik-show");
  }
  const Node document(json, "");
  const std::uint64_t format = document["format"].number().value_or(0);
  if (format < 1 || format > 2) {
    refuse(format == 0 ? "not a document of morvik-show"
                       : "format " + std::to_string(format) + " is not known here");
  }
  Inventory inventory;
  inventory.format = static_cast<int>(format);
  inventory.time = utf8(document["time"]);
  inventory.version = utf8(document["version"]);
  inventory.lastGoodRun = utf8(document["lastGoodRun"]);
  if (!document["machine"].isNull()) {
    inventory.machine = toMachine(document["machine"], format);
  }
  if (!document["entries"].isNull()) {
    inventory.entries.emplace();
    for (const Node& item : document["entries"].items()) {
      inventory.entries->push_back(readEntry(item));
    }
  }
  if (!inventory.machine && !inventory.entries) {
    refuse("neither a list nor a machine");
  }
  return inventory;
}

void failToRead(const std::string& name, int error) {
  throw std::system_error(error, std::generic_category(), "cannot read " + name);
}

std::ifstream openFile(const std::string& name) {
  std::error_code error;
  const auto status = std::filesystem::status(name, error);
  const bool isFile = is_regular_file(status) || is_fifo(status);
  if (exists(status) && !isFile) {
    refuse("cannot read " + name + ": not a file");
  }
  errno = 0;
  std::ifstream file(name);
  if (!file.good()) {
    failToRead(name, errno != 0 ? errno : EIO);
  }
  return file;
}

std::string readWhole(std::istream& file, const std::string& name, std::size_t most) {
  std::string text;
  std::array<char, 65536> block{};
  while (file && text.size() <= most) {
    file.read(block.data(), block.size());
    text.append(block.data(), static_cast<std::size_t>(file.gcount()));
  }
  if (file.bad()) {
    failToRead(name, EIO);
  }
  if (text.size() > most) {
    refuse(name + ": larger than " + std::to_string(most >> 20U) + " MiB");
  }
  return text;
}

Inventory readInventory(const std::string& fileName) {
  std::ifstream file = openFile(fileName);
  const std::string text = readWhole(file, fileName, largest);
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
