// Puts the qualifiers and classes of MOF files into a repository.
#pragma once

#include <Pegasus/Common/Exception.h>

#include "model/repository.h"
#include "mof/mof_reader.h"

namespace cimd::mof {

// In any order of the files: qualifiers first, then each class after its superclass. A qualifier
// that is declared again takes its new declaration for the whole load. Throws MofError.
void loadSchema(const MofContents& contents, Repository& repository);

// Runs `action`, which works for the declaration at `position`: what the model refuses is an error
// there.
template <typename Action>
auto at(const Position& position, Action action) {
  try {
    return action();
  } catch (const Pegasus::CIMException& error) {
    throw MofError(position, error.getDescription().toUtf8());
  } catch (const Pegasus::Exception& error) {  // what cannot be sent to any client
    throw MofError(position, error.getMessage().toUtf8());
  }
}

}  // namespace cimd::mof
