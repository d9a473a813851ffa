#include "machine.h"

#include <algorithm>
#include <functional>

#include "cim/machine.h"

using Pegasus::Array;
using Pegasus::CIMClient;
using Pegasus::CIMException;
using Pegasus::CIMInstance;
using Pegasus::Exception;
using Pegasus::String;

namespace show {

namespace {

std::optional<String> valueOf(const CIMInstance& instance,
                              const std::function<String(const CIMInstance&)>& text) {
  try {
    return text(instance);
  } catch (const Exception&) {
    return std::nullopt;
  }
}

Answers ask(const std::function<Array<CIMInstance>()>& read,
            const std::function<String(const CIMInstance&)>& text) {
  Answers answers;
  try {
    for (const CIMInstance& instance : read()) {
      answers.values.push_back(valueOf(instance, text));
    }
  } catch (const CIMException& refusal) {
    answers.refusal = refusal.getMessage();
  }
  return answers;
}

}  // namespace

bool Answers::has(const String& value) const {
  const auto end = std::find(values.begin(), values.end(), std::nullopt);
  return std::find(values.begin(), end, value) != end;
}

bool Answers::isBroken() const {
  return std::find(values.begin(), values.end(), std::nullopt) != values.end();
}

Machine readMachine(CIMClient& client) {
  Machine machine;
  machine.models = ask([&] { return readSystems(client); }, modelText);
  String machineType;
  if (getMachineType(client, machineType) == 1) {
    machine.machineType = machineType;
  }
  machine.clocks = ask([&] { return readProcessors(client); }, clockText);
  machine.memorySizes = ask([&] { return readMemoryModules(client); }, memorySizeText);
  machine.languageCode = languageCode();
  return machine;
}

}  // namespace show
