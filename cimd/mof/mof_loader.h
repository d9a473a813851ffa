// Puts what MOF files declare into a repository.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "model/repository.h"
#include "mof/mof_error.h"

namespace cimd::mof {

// All files together are one load: a class may come after the classes and instances that need it,
// in another file too. #pragma namespace names the namespace for the rest of its file. #pragma
// include names a file, relative to the directory of the file that it is in, to that of the file in
// `files` that all began with, or to one of the `includeDirectories`, whichever has it first. Other
// pragmas are ignored. Classes must be declared, qualifiers need not be; aliases are known in one
// of `files` and what it includes.
//
// Returns warnings, "file:line:column: warning: ...": one for each class that a reference points to
// and no file declares. Throws MofError for the first error; the repository is of no use then.
std::vector<std::string> loadMof(const std::vector<std::filesystem::path>& files,
                                 Repository& repository,
                                 const std::vector<std::filesystem::path>& includeDirectories = {});

}  // namespace cimd::mof
