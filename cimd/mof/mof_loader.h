// Puts what MOF files declare into a repository.
#pragma once

#include <filesystem>
#include <vector>

#include "model/repository.h"
#include "mof/mof_error.h"

namespace cimd::mof {

// All files together are one load: a class may stand behind the classes and instances that need it,
// in another file too. #pragma include names a file relative to the one it stands in, #pragma
// namespace the namespace for the rest of its file; other pragmas mean nothing here. Qualifiers
// need no declaration, classes do: also those that references point to. Aliases are known in the
// file given here and what it includes.
//
// Throws MofError for the first error, with the place where it is; the repository is of no use
// then.
void loadMof(const std::vector<std::filesystem::path>& files, Repository& repository);

}  // namespace cimd::mof
