// Puts what MOF files declare into a repository.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "model/repository.h"
#include "mof/error.h"

namespace cimd::mof {

// All files together are one load: a class may come after the classes and instances that need it,
// in another file too.
//
// #pragma namespace names the namespace for the rest of its file. #pragma include names a file; it
// is looked for in the directory of the file with the pragma, then in that of the one of `files`
// that the includes began with, then in each of `includeDirectories`. Other pragmas are ignored.
//
// Classes must be declared, qualifiers need not be. An alias is known in the one of `files` that
// has it and in what that includes.
//
// Returns warnings in the form of messageAt(): one for each class that a reference points to and no
// file declares. Throws MofError for the first error; the repository is of no use then.
std::vector<std::string> loadMof(const std::vector<std::filesystem::path>& files,
                                 Repository& repository,
                                 const std::vector<std::filesystem::path>& includeDirectories = {});

}  // namespace cimd::mof
