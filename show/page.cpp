// The page is complete in itself: it asks for nothing, and its content security policy forbids that
// and any script but its own. It can be read without scripts, which sort and search.
#include <algorithm>
#include <array>
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

// Longer texts get their own window, to scroll in.
constexpr std::size_t longText = 400;

// Texts come from servers and files: no part of them may be markup, or turn the direction of the
// text around them.
std::string escaped(const String& text) {
  std::string result;
  for (const char c : sanitized(text, Terminal())) {
    result += c == '&'   ? "&amp;"
              : c == '<' ? "&lt;"
              : c == '>' ? "&gt;"
              : c == '"' ? "&quot;"
                         : std::string(1, c);
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
      minutes < 0            ? "in the future"
      : minutes < 1          ? "now"
      : minutes < 120        ? counted(static_cast<std::size_t>(minutes), "minute", "minutes")
      : age < longestSilence ? counted(static_cast<std::size_t>(minutes / 60), "hour", "hours")
                             : counted(static_cast<std::size_t>(minutes / 1440), "day", "days");
  return {std::move(words), std::to_string(age.count()), age > longestSilence || minutes < 0,
          *time};
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

const std::vector<Entry>& entriesOf(const Inventory& inventory) {
  static const std::vector<Entry> none;
  return inventory.entries ? *inventory.entries : none;
}

// Those of these categories; without any, those of none of morvik's categories, or not to be read.
using Categories = std::vector<const char*>;

bool isOf(const Entry& entry, const Categories& categories) {
  const String category = entry.category.value_or(String());
  return categories.empty()
             ? !isCategory(category)
             : std::any_of(categories.begin(), categories.end(),
                           [&](const char* name) { return String::equalNoCase(category, name); });
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

// The order numbers.
void writeEntries(std::ostream& out, const Inventory& inventory, const Categories& categories) {
  bool isFirst = true;
  for (const Entry& entry : entriesOf(inventory)) {
    if (isOf(entry, categories)) {
      out << (isFirst ? "<ul class=\"parts\">\n" : "");
      isFirst = false;
      writeEntry(out, entry);
    }
  }
  out << (isFirst ? "" : "</ul>\n");
}

void writePart(std::ostream& out, const Part& part) {
  out << "<li><b>" << html(part.place) << "</b> " << html(partWords(part));
  // The print at the slot, unless the place says so already.
  const bool isSaid = part.place && part.locator &&
                      part.place->view().find(part.locator->view()) != std::u16string_view::npos;
  std::string details;
  for (const Text& text :
       {isSaid ? Text() : part.locator, typeWords(part), part.manufacturer, part.partNumber}) {
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
void writePlaces(std::ostream& out, const Inventory& inventory, bool areModules) {
  out << "<div class=\"zone " << (areModules ? "memory" : "processors") << "\"><h3>"
      << (areModules ? "Memory" : "Processors") << "</h3>\n";
  static const Machine none;
  const Machine& machine = inventory.machine ? *inventory.machine : none;
  const Parts& parts = areModules ? machine.memoryModules : machine.processors;
  if (!parts.list.empty()) {
    out << "<ul class=\"places\">\n";
    for (const Part& part : parts.list) {
      writePart(out, part);
    }
    out << "</ul>\n";
  } else {
    out << "<p class=\"soft\">" << (parts.refusal ? "unknown" : "none known") << "</p>\n";
  }
  writeEntries(out, inventory, {areModules ? "MEMORY" : "PROCESSOR"});
  out << "</div>\n";
}

// Writes nothing if there are no such entries. `kind` is for the style.
void writeZone(std::ostream& out, const Inventory& inventory, const char* title, const char* kind,
               const Categories& categories) {
  const auto& entries = entriesOf(inventory);
  if (std::any_of(entries.begin(), entries.end(),
                  [&](const Entry& entry) { return isOf(entry, categories); })) {
    out << "<div class=\"" << kind << "\"><h3>" << title << "</h3>\n";
    writeEntries(out, inventory, categories);
    out << "</div>\n";
  }
}

void writeDrawing(std::ostream& out, const Inventory& inventory) {
  out << "<div class=\"chassis\">\n<div class=\"zone board\">\n";
  writeZone(out, inventory, "Planar", "planar", {"PLANAR"});
  writePlaces(out, inventory, false);
  writePlaces(out, inventory, true);
  writeZone(out, inventory, "Service processor", "zone service", {"OPTIONSP"});
  out << "</div>\n<div class=\"side\">\n";
  writeZone(out, inventory, "Fans", "zone fans", {"FAN"});
  writeZone(out, inventory, "Drives and backplane", "zone drives",
            {"CDROM", "FLOPPY", "BACKPLANE"});
  out << "</div>\n</div>\n";
  writeZone(out, inventory, "Keyboard", "zone outside", {"KEYBOARD"});
  writeZone(out, inventory, "Other parts", "zone outside", {});
}

void writeFacts(std::ostream& out, const Inventory& inventory, Time now) {
  const auto fact = [&](const char* name, const std::string& value) {
    out << "<dt>" << name << "</dt><dd>" << value << "</dd>\n";
  };
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

// One of several. A browser that runs the script does not parse what is in <noscript> until the
// script puts it in its place, when the machine is looked at: a thousand drawings take it longer
// than all the rest.
void writeMachine(std::ostream& out, const Inventory& inventory, const String& label,
                  std::size_t number, Time now) {
  out << "<section class=\"machine\" id=\"m" << number
      << "\"><noscript>\n<p class=\"back\"><a href=\"#top\">All machines</a></p>\n<h2>"
      << html(label) << "</h2>\n";
  writeFacts(out, inventory, now);
  writeDrawing(out, inventory);
  out << "</noscript></section>\n";
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

void writeMachines(std::ostream& out, const std::vector<NamedInventory>& machines,
                   const std::vector<String>& labels, Time now) {
  writeHead(out, "machines", "Machines",
            {"Host", "Type", "Model", "Serial number", "Processors", "Memory", "Parts", "Age"});
  for (std::size_t i = 0; i < machines.size(); ++i) {
    const Inventory& inventory = machines[i].inventory;
    const auto& known = inventory.machine;
    const auto cell = [&](const Text& text) { out << "<td>" << html(text) << "</td>"; };
    out << "<tr><th scope=\"row\"><a href=\"#m" << i + 1 << "\">" << html(labels[i]) << "</a></th>";
    cell(known ? known->machineType : std::nullopt);
    cell(known ? known->model : std::nullopt);
    cell(known ? known->serialNumber : std::nullopt);
    cell(known ? Text(groupWords(known->processors)) : std::nullopt);
    cell(known ? Text(groupWords(known->memoryModules)) : std::nullopt);
    const Age age = ageOf(inventory.time, now);
    out << countCell(entriesOf(inventory).size()) << "<td class=\"count\" data-v=\"" << age.seconds
        << "\">" << html(age) << "</td></tr>\n";
  }
  out << "</tbody></table>\n";
}

// Each part once, with the machines that have it.
void writeParts(std::ostream& out, const std::vector<NamedInventory>& machines,
                const std::vector<String>& labels) {
  // By FRU number, category and description.
  std::map<std::array<String, 3>, std::set<std::size_t>> parts;
  for (std::size_t i = 0; i < machines.size(); ++i) {
    for (const Entry& entry : entriesOf(machines[i].inventory)) {
      if (!entry.problem) {
        parts[{entry.fruNumber.value_or(String()), entry.category.value_or(String()),
               entry.description.value_or(String())}]
            .insert(i);
      }
    }
  }
  writeHead(out, "parts", "Parts", {"FRU number", "Category", "Description", "Machines"});
  for (const auto& [part, hosts] : parts) {
    out << "<tr><th scope=\"row\" class=\"number\">" << html(Text(part[0])) << "</th><td>"
        << html(Text(part[1])) << "</td><td>" << html(Text(part[2])) << "</td><td data-v=\""
        << hosts.size() << "\"><details><summary>" << hosts.size() << "</summary><noscript>";
    for (const std::size_t host : hosts) {
      out << "<a href=\"#m" << host + 1 << "\">" << html(labels[host]) << "</a> ";
    }
    out << "</noscript></details></td></tr>\n";
  }
  out << "</tbody></table>\n";
}

}  // namespace

void writePage(std::ostream& out, const std::vector<NamedInventory>& machines, Time now) {
  const bool isOnly = machines.size() == 1;
  const std::vector<String> labels = labelsOf(machines);
  const std::string title =
      isOnly ? escaped(labels.front()) : counted(machines.size(), "machine", "machines");
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
      << (isOnly ? html(labels.front()) : title)
      << "</h1>\n<p class=\"soft\">Parts published by morvik. Made <time datetime=\"" << time
      << "\">" << time << "</time>."
      << (isOnly
              ? ""
              : " <a href=\"#machines-heading\">Machines</a> <a href=\"#parts-heading\">Parts</a>")
      << "</p></header>\n<main>\n";
  if (isOnly) {
    out << "<section class=\"machine\" id=\"m1\">\n";
    writeFacts(out, machines.front().inventory, now);
    writeDrawing(out, machines.front().inventory);
    out << "</section>\n";
  } else {
    out << "<div class=\"overview\">\n<p class=\"search\" hidden><label for=\"search\">Search "
           "machines and parts</label> <input type=\"search\" id=\"search\" autocomplete=\"off\"> "
           "<span id=\"found\" role=\"status\"></span></p>\n";
    writeMachines(out, machines, labels, now);
    writeParts(out, machines, labels);
    out << "</div>\n";
    for (std::size_t i = 0; i < machines.size(); ++i) {
      writeMachine(out, machines[i].inventory, labels[i], i + 1, now);
    }
  }
  out << "</main>\n<script>" << pageScript << "</script>\n</body>\n</html>\n";
}

}  // namespace show
