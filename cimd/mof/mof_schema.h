// Puts the qualifiers and classes of MOF files into a repository.
#pragma once

#include <Pegasus/Common/Exception.h>

#include "model/repository.h"
#include "mof/mof_reader.h"

namespace cimd::mof {

// Defines each class after its superclass, in any order of the files. Returns a warning for each
// class that a reference points to and no file declares. Throws MofError.
std::vector<std::string> loadSchema(const MofContents& contents, Repository& repository);

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
