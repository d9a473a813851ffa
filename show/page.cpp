#include "page.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string_view>

#include "history.h"
#include "output.h"
#include "page_files.h"
#include "text.h"

using Pegasus::String;

namespace show {

namespace {

using Time = std::chrono::system_clock::time_point;
using Text = std::optional<String>;

// As old as what morvik-show itself warns of.
constexpr std::chrono::hours old{48};

// Longer texts get a window of their own, to scroll in.
constexpr std::size_t longText = 400;

// Texts come from servers and files: nothing of them is markup, or turns the direction of what is
// around it.
std::string escaped(const String& text) {
  std::string result;
  for (const char c : sanitized(text, Terminal())) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      default:
        result += c;
    }
  }
  return result;
}

std::string html(const String& text) {
  const std::string words = escaped(text);
  return words.size() < longText ? words
                                 : "<span class=\"long\" tabindex=\"0\">" + words + "</span>";
}

std::string html(const Text& text) {
  return text && text->size() > 0 ? html(*text) : "-";
}

std::string counted(std::size_t count, const char* one, const char* many) {
  return std::to_string(count) + ' ' + (count == 1 ? one : many);
}

// --- ages ---

struct Age {
  std::string words = "unknown";
  // In seconds, to sort by; empty if it is not known.
  std::string seconds = {};
  bool isOld = false;
  // When it was, in RFC 3339.
  std::string time = {};
};

Age ageOf(const std::optional<std::string>& time, Time now) {
  const auto then = time ? timeIn(*time) : std::nullopt;
  if (!then) {
    return {};
  }
  const auto age = std::chrono::duration_cast<std::chrono::seconds>(now - *then);
  const auto minutes = age.count() / 60;
  std::string words =
      minutes < 0     ? "in the future"
      : minutes < 1   ? "now"
      : minutes < 120 ? counted(static_cast<std::size_t>(minutes), "minute", "minutes")
      : age < old     ? counted(static_cast<std::size_t>(minutes / 60), "hour", "hours")
                      : counted(static_cast<std::size_t>(minutes / 1440), "day", "days");
  return {std::move(words), std::to_string(age.count()), age > old || minutes < 0, *time};
}

std::string html(const Age& age) {
  if (age.time.empty()) {
    return "<span class=\"soft\">unknown</span>";
  }
  // The time is in the one form that timeIn() takes.
  return "<time datetime=\"" + age.time + "\" title=\"" + age.time + '"' +
         (age.isOld ? " class=\"warn\">" : ">") + age.words + "</time>";
}

// --- the drawing of a machine ---

const std::vector<Entry>& entriesOf(const PageMachine& machine) {
  static const std::vector<Entry> none;
  return machine.inventory.entries ? *machine.inventory.entries : none;
}

String labelOf(const PageMachine& machine) {
  const auto& known = machine.inventory.machine;
  const Text host = known ? known->hostName : std::nullopt;
  return host && host->size() > 0 ? *host : String(machine.name);
}

bool isOf(const Entry& entry, const char* category) {
  return entry.category && String::equalNoCase(*entry.category, category);
}

void writeEntry(std::ostream& out, const Entry& entry) {
  out << "<li><span class=\"number\">" << html(entry.fruNumber) << "</span>";
  if (!entry.isOurs && entry.vendor) {
    out << " <small>of " << html(*entry.vendor) << "</small>";
  }
  out << " <span class=\"words\">"
      << (entry.problem ? "<span class=\"warn\">cannot be read: " + html(*entry.problem) + "</span>"
                        : html(entry.description))
      << "</span></li>\n";
}

// The order numbers of a category.
void writeEntries(std::ostream& out, const PageMachine& machine, const char* category) {
  bool isFirst = true;
  for (const Entry& entry : entriesOf(machine)) {
    if (isOf(entry, category)) {
      out << (isFirst ? "<ul class=\"parts\">\n" : "");
      isFirst = false;
      writeEntry(out, entry);
    }
  }
  out << (isFirst ? "" : "</ul>\n");
}

bool hasEntries(const PageMachine& machine, const char* category) {
  const auto& entries = entriesOf(machine);
  return std::any_of(entries.begin(), entries.end(),
                     [&](const Entry& entry) { return isOf(entry, category); });
}

void writePart(std::ostream& out, const Part& part, bool isModule) {
  out << "<li><b>" << html(part.locator && part.locator->size() > 0 ? part.locator : part.place)
      << "</b> " << html(partWords(part, isModule));
  std::string details;
  for (const Text& text : {typeWords(part, isModule), part.manufacturer, part.partNumber}) {
    if (text && text->size() > 0) {
      details += (details.empty() ? "" : ", ") + html(*text);
    }
  }
  if (part.serialNumber && part.serialNumber->size() > 0) {
    details += (details.empty() ? "serial number " : ", serial number ") + html(*part.serialNumber);
  }
  out << (details.empty() ? "" : " <small>" + details + "</small>") << "</li>\n";
}

// The sockets or slots, and what is ordered for them.
void writePlaces(std::ostream& out, const PageMachine& machine, const Parts* parts,
                 const char* title, const char* kind, const char* category) {
  const bool isModule = std::string_view(category) == "MEMORY";
  out << "<div class=\"zone " << kind << "\"><h3>" << title << "</h3>\n";
  if (parts != nullptr && !parts->list.empty()) {
    out << "<ul class=\"places\">\n";
    for (const Part& part : parts->list) {
      writePart(out, part, isModule);
    }
    out << "</ul>\n";
  } else {
    out << "<p class=\"soft\">" << (parts != nullptr && parts->refusal ? "unknown" : "none known")
        << "</p>\n";
  }
  writeEntries(out, machine, category);
  out << "</div>\n";
}

void writeZone(std::ostream& out, const PageMachine& machine, const char* title, const char* kind,
               const std::vector<const char*>& categories) {
  if (std::none_of(categories.begin(), categories.end(),
                   [&](const char* category) { return hasEntries(machine, category); })) {
    return;
  }
  out << "<div class=\"zone " << kind << "\"><h3>" << title << "</h3>\n";
  for (const char* category : categories) {
    writeEntries(out, machine, category);
  }
  out << "</div>\n";
}

// What is of none of morvik's categories, or cannot be read.
void writeOthers(std::ostream& out, const PageMachine& machine) {
  bool isFirst = true;
  for (const Entry& entry : entriesOf(machine)) {
    if (!entry.category || !isCategory(*entry.category)) {
      out << (isFirst ? "<div class=\"zone outside\"><h3>Other parts</h3>\n<ul class=\"parts\">\n"
                      : "");
      isFirst = false;
      writeEntry(out, entry);
    }
  }
  out << (isFirst ? "" : "</ul></div>\n");
}

void writeDrawing(std::ostream& out, const PageMachine& machine) {
  const Machine* known = machine.inventory.machine ? &*machine.inventory.machine : nullptr;
  out << "<div class=\"chassis\">\n<div class=\"zone board\">\n";
  if (hasEntries(machine, "PLANAR")) {
    out << "<div><h3>Planar</h3>\n";
    writeEntries(out, machine, "PLANAR");
    out << "</div>\n";
  }
  writePlaces(out, machine, known != nullptr ? &known->processors : nullptr, "Processors",
              "processors", "PROCESSOR");
  writePlaces(out, machine, known != nullptr ? &known->memoryModules : nullptr, "Memory", "memory",
              "MEMORY");
  writeZone(out, machine, "Service processor", "service", {"OPTIONSP"});
  out << "</div>\n<div class=\"side\">\n";
  writeZone(out, machine, "Fans", "fans", {"FAN"});
  writeZone(out, machine, "Drives and backplane", "drives", {"CDROM", "FLOPPY", "BACKPLANE"});
  out << "</div>\n</div>\n";
  writeZone(out, machine, "Keyboard", "outside", {"KEYBOARD"});
  writeOthers(out, machine);
}

void writeFacts(std::ostream& out, const PageMachine& machine, Time now) {
  const auto fact = [&](const char* name, const std::string& value) {
    out << "<dt>" << name << "</dt><dd>" << value << "</dd>\n";
  };
  const Inventory& inventory = machine.inventory;
  out << "<dl>\n";
  if (inventory.machine) {
    fact("Model", html(inventory.machine->model));
    fact("Machine type", html(inventory.machine->machineType));
    fact("Serial number", html(inventory.machine->serialNumber));
    if (inventory.machine->manufacturer) {
      fact("Maker", html(inventory.machine->manufacturer));
    }
  }
  const Age age = ageOf(inventory.time, now);
  fact("Inventory", html(age) + (age.time.empty() || age.words == "now" ? "" : " old"));
  const Age good = ageOf(inventory.lastGoodRun, now);
  fact("Last good run", html(good) + (good.time.empty() || good.words == "now" ? "" : " ago"));
  out << "</dl>\n";
}

void writeMachine(std::ostream& out, const PageMachine& machine, std::size_t number, bool isOnly,
                  Time now) {
  out << "<section class=\"machine\" id=\"m" << number << "\">\n";
  if (!isOnly) {
    out << "<p class=\"back\"><a href=\"#top\">All machines</a></p>\n<h2>" << html(labelOf(machine))
        << "</h2>\n";
  }
  writeFacts(out, machine, now);
  writeDrawing(out, machine);
  out << "</section>\n";
}

// --- the lists ---

void writeHead(std::ostream& out, const char* id, const char* caption,
               const std::vector<const char*>& headings) {
  out << "<h2 id=\"" << id << "-heading\">" << caption << "</h2>\n<table id=\"" << id
      << "\" aria-labelledby=\"" << id << "-heading\"><thead><tr>";
  for (const char* heading : headings) {
    out << "<th scope=\"col\">" << heading << "</th>";
  }
  out << "</tr></thead>\n<tbody>\n";
}

std::string countCell(std::size_t count) {
  return "<td class=\"count\" data-v=\"" + std::to_string(count) + "\">" + std::to_string(count) +
         "</td>";
}

void writeMachines(std::ostream& out, const std::vector<PageMachine>& machines, Time now) {
  writeHead(out, "machines", "Machines",
            {"Host", "Type", "Model", "Serial number", "Processors", "Memory", "Parts", "Age"});
  for (std::size_t i = 0; i < machines.size(); ++i) {
    const auto& known = machines[i].inventory.machine;
    const auto cell = [&](const Text& text) { out << "<td>" << html(text) << "</td>"; };
    out << "<tr><th scope=\"row\"><a href=\"#m" << i + 1 << "\">" << html(labelOf(machines[i]))
        << "</a></th>";
    cell(known ? known->machineType : std::nullopt);
    cell(known ? known->model : std::nullopt);
    cell(known ? known->serialNumber : std::nullopt);
    cell(known ? Text(groupWords(known->processors, false)) : std::nullopt);
    cell(known ? Text(groupWords(known->memoryModules, true)) : std::nullopt);
    const Age age = ageOf(machines[i].inventory.time, now);
    out << countCell(entriesOf(machines[i]).size()) << "<td class=\"count\" data-v=\""
        << age.seconds << "\">" << html(age) << "</td></tr>\n";
  }
  out << "</tbody></table>\n";
}

// Each part once, with the machines that have it.
void writeParts(std::ostream& out, const std::vector<PageMachine>& machines) {
  struct Key {
    String fruNumber;
    String category;
    String description;
    bool operator<(const Key& other) const {
      return std::tie(fruNumber, category, description) <
             std::tie(other.fruNumber, other.category, other.description);
    }
  };
  std::map<Key, std::set<std::size_t>> parts;
  for (std::size_t i = 0; i < machines.size(); ++i) {
    for (const Entry& entry : entriesOf(machines[i])) {
      if (!entry.problem) {
        parts[{entry.fruNumber.value_or(String()), entry.category.value_or(String()),
               entry.description.value_or(String())}]
            .insert(i);
      }
    }
  }
  writeHead(out, "parts", "Parts", {"FRU number", "Category", "Description", "Machines"});
  for (const auto& [part, hosts] : parts) {
    out << "<tr><th scope=\"row\" class=\"number\">" << html(Text(part.fruNumber)) << "</th><td>"
        << html(Text(part.category)) << "</td><td>" << html(Text(part.description))
        << "</td><td data-v=\"" << hosts.size() << "\"><details><summary>" << hosts.size()
        << "</summary>";
    for (const std::size_t host : hosts) {
      out << "<a href=\"#m" << host + 1 << "\">" << html(labelOf(machines[host])) << "</a> ";
    }
    out << "</details></td></tr>\n";
  }
  out << "</tbody></table>\n";
}

}  // namespace

void writePage(std::ostream& out, const std::vector<PageMachine>& machines, Time now) {
  const bool isOnly = machines.size() == 1;
  const std::string title =
      isOnly ? escaped(labelOf(machines.front())) : counted(machines.size(), "machine", "machines");
  const std::string time = timeText(now);
  out << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src '"
      << pageStyleHash << "'; script-src '" << pageScriptHash
      << "'; base-uri 'none'; form-action 'none'\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
         "<meta name=\"referrer\" content=\"no-referrer\">\n<meta name=\"generator\" "
         "content=\"morvik-show " MORVIK_VERSION "\">\n<title>"
      << title << "</title>\n<style>" << pageStyle << "</style>\n</head>\n<body class=\""
      << (isOnly ? "one" : "many") << "\" id=\"top\">\n<header><h1>"
      << (isOnly ? html(labelOf(machines.front())) : title)
      << "</h1>\n<p class=\"soft\">Parts published by morvik. Made <time datetime=\"" << time
      << "\">" << time << "</time>."
      << (isOnly
              ? ""
              : " <a href=\"#machines-heading\">Machines</a> <a href=\"#parts-heading\">Parts</a>")
      << "</p></header>\n<main>\n";
  if (!isOnly) {
    out << "<div class=\"overview\">\n<p class=\"search\" hidden><label for=\"search\">Search "
           "machines and parts</label> <input type=\"search\" id=\"search\" autocomplete=\"off\"> "
           "<span id=\"found\" role=\"status\"></span></p>\n";
    writeMachines(out, machines, now);
    writeParts(out, machines);
    out << "</div>\n";
  }
  for (std::size_t i = 0; i < machines.size(); ++i) {
    writeMachine(out, machines[i], i + 1, isOnly, now);
  }
  out << "</main>\n<script>" << pageScript << "</script>\n</body>\n</html>\n";
}

}  // namespace show
