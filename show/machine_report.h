// What morvik would read of this machine, for people and for programs.
#pragma once

#include <ostream>

#include "json.h"
#include "machine.h"
#include "terminal.h"

namespace show {

void writeMachine(std::ostream& out, const Terminal& terminal, const Machine& machine);
// As one object.
void writeMachine(JsonWriter& json, const Machine& machine);

}  // namespace show
