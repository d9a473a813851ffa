#include "cim/machine.h"

#include <cstdio>
#include <cstdlib>
#include <limits>
#include <optional>
#include <string>

#include "cim/client.h"

using Pegasus::Array;
using Pegasus::CIMClient;
using Pegasus::CIMInstance;
using Pegasus::CIMPropertyList;
using Pegasus::CIMValue;
using Pegasus::String;
using Pegasus::Uint16;
using Pegasus::Uint32;
using Pegasus::Uint64;

namespace {

Array<CIMInstance> readInstances(CIMClient& client, const char* className) {
  const bool deepInheritance = true;
  const bool localOnly = true;
  const bool includeQualifiers = false;
  const bool includeClassOrigin = false;
  return client.enumerateInstances(cimNamespace, String(className), deepInheritance, localOnly,
                                   includeQualifiers, includeClassOrigin, CIMPropertyList());
}

// Throws when there is no such position, the not-found marker included.
CIMValue readValue(const CIMInstance& instance, Uint32 position) {
  return instance.getProperty(position).getValue();
}

CIMValue readValue(const CIMInstance& instance, const char* property) {
  return readValue(instance, instance.findProperty(String(property)));
}

// For compatibility both brackets are searched from the start: where the first "]" is before the
// first "[", the length wraps to a very large one, and everything after the "[" is kept.
String cutBetweenBrackets(const String& model) {
  const Uint32 open = findFrom(model, 0, '[');
  const Uint32 close = findFrom(model, 0, ']');
  if (open == PEG_NOT_FOUND || close == PEG_NOT_FOUND) {
    return model;
  }
  return cut(model, open + 1, close - open - 1);
}

String toMegabytesText(Uint64 bytes) {
  const auto megabytes = static_cast<Uint32>(bytes >> 20);
  // Holds any 32-bit integer with its sign and the terminating zero.
  char digits[12];
  std::snprintf(digits, sizeof digits, "%d", static_cast<int>(megabytes));
  return {digits};
}

// The number that a text of nothing but decimal digits stands for.
std::optional<Uint32> numberIn(const String& text) {
  Uint64 number = 0;
  for (Uint32 i = 0; i < text.size(); i++) {
    const Uint16 digit = text[i];
    if (digit < '0' || digit > '9') {
      return std::nullopt;
    }
    number = number * 10 + (digit - Uint64{'0'});
    if (number > std::numeric_limits<Uint32>::max()) {
      return std::nullopt;
    }
  }
  return static_cast<Uint32>(number);
}

}  // namespace

int getMachineType(CIMClient& client, String& machineType) {
  try {
    const Array<CIMInstance> systems = readSystems(client);
    if (systems.size() == 0) {
      return 1;
    }
    const Uint32 position = systems[0].findProperty(String("model"));
    // For compatibility position 0 counts as "no model": a model that is the first property is
    // ignored without a failure, while one that is missing altogether fails in the next step.
    if (position == 0) {
      return 1;
    }
    machineType = readValue(systems[0], position).toString();
    machineType = cutBetweenBrackets(machineType);
    // The cut is one of bytes, which are then read as text again.
    machineType = toText(toNarrowText(machineType).substr(0, 4));
    return 1;
  } catch (...) {
    return 0;
  }
}

Array<CIMInstance> readSystems(CIMClient& client) {
  return readInstances(client, "KVAXDT_ComputerSystemDetails");
}

Array<CIMInstance> readProcessors(CIMClient& client) {
  return readInstances(client, "KVAXDT_Processor");
}

Array<CIMInstance> readMemoryModules(CIMClient& client) {
  return readInstances(client, "KVAXDT_PhysicalMemory");
}

String modelText(const CIMInstance& system) {
  return readValue(system, "model").toString();
}

String clockText(const CIMInstance& processor) {
  const CIMValue clock = readValue(processor, "CurrentClockSpeed");
  // Only checks the type; the comparison is one of texts.
  Uint32 megahertz = 0;
  clock.get(megahertz);
  return clock.toString();
}

String memorySizeText(const CIMInstance& module) {
  Uint64 bytes = 0;
  readValue(module, "Capacity").get(bytes);
  return toMegabytesText(bytes);
}

String languageCode() {
  const char* variable = std::getenv("LANG");
  return languageCodeOf(variable == nullptr ? "" : variable);
}

String languageCodeOf(std::string_view language) {
  String firstTwo = toText(language.substr(0, 2));
  String firstFour = toText(language.substr(0, 4));
  for (const char* code : {"EN", "DE", "FR", "IT", "JA", "KO"}) {
    if (String::equalNoCase(firstTwo, code)) {
      return firstTwo;
    }
  }
  // Four characters never equal five, so this loop finds nothing: a Chinese LANG has no code. Kept
  // for compatibility.
  for (const char* code : {"ZH_CN", "ZH_TW"}) {
    if (String::equalNoCase(firstFour, code)) {
      return firstFour;
    }
  }
  return String::EMPTY;
}

bool canBeClock(const String& text) {
  const auto megahertz = numberIn(text);
  return megahertz && CIMValue(*megahertz).toString() == text;
}

bool canBeMemorySize(const String& text) {
  const auto megabytes = numberIn(text);
  return megabytes && toMegabytesText(Uint64{*megabytes} << 20) == text;
}

bool canBeLanguage(const String& text) {
  std::string language;
  for (Uint32 i = 0; i < text.size(); i++) {
    const Uint16 character = text[i];
    if (character > 0x7F) {
      return false;
    }
    language += static_cast<char>(character);
  }
  return languageCodeOf(language) == text;
}
