#include "cim/machine_texts.h"

#include <cstdio>
#include <cstdlib>

#include "cim/reading.h"

using Pegasus::Array;
using Pegasus::CIMClient;
using Pegasus::CIMInstance;
using Pegasus::CIMValue;
using Pegasus::String;
using Pegasus::Uint32;
using Pegasus::Uint64;

namespace {

String toMegabytesText(Uint64 bytes) {
  const auto megabytes = static_cast<Uint32>(bytes >> 20);
  // Holds any 32-bit integer with its sign and the terminating zero.
  char digits[12];
  std::snprintf(digits, sizeof digits, "%d", static_cast<int>(megabytes));
  return {digits};
}

}  // namespace

Array<CIMInstance> readProcessors(CIMClient& client) {
  return readInstances(client, "KVAXDT_Processor");
}

Array<CIMInstance> readMemoryModules(CIMClient& client) {
  return readInstances(client, "KVAXDT_PhysicalMemory");
}

Uint32 findClock(const CIMInstance& processor) {
  return processor.findProperty("CurrentClockSpeed");
}

Uint32 findMemorySize(const CIMInstance& module) {
  return module.findProperty("Capacity");
}

String clockText(const CIMInstance& processor, Uint32 position) {
  const CIMValue clock = readValue(processor, position);
  // Only checks the type; the comparison is one of texts.
  Uint32 megahertz = 0;
  clock.get(megahertz);
  return clock.toString();
}

String memorySizeText(const CIMInstance& module, Uint32 position) {
  Uint64 bytes = 0;
  readValue(module, position).get(bytes);
  return toMegabytesText(bytes);
}

String languageCode() {
  const char* language = std::getenv("LANG");
  if (language == nullptr) {
    language = "";
  }
  String firstTwo;
  String firstFour;
  firstTwo.assign(language, 2);
  firstFour.assign(language, 4);
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
