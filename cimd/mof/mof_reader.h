// Reads MOF files with all that they include.
#pragma once

#include <Pegasus/Common/String.h>

#include <filesystem>
#include <vector>

#include "mof/mof_tree.h"

namespace cimd::mof {

struct PlacedQualifier {
  Pegasus::String nameSpace;
  QualifierType declaration;
};

struct PlacedClass {
  Pegasus::String nameSpace;
  Class declaration;
  std::size_t qualifiersBefore;
};

struct PlacedInstance {
  Pegasus::String nameSpace;
  // Which of the files that were asked for it came with: the realm of its alias and those it uses.
  std::size_t unit;
  Instance declaration;
};

// Everything declared, in the order of the files. A class was read after the first
// `qualifiersBefore` of the qualifiers.
struct MofContents {
  std::vector<PlacedQualifier> qualifiers;
  std::vector<PlacedClass> classes;
  std::vector<PlacedInstance> instances;
};

// `nameSpace` is where declarations go until a pragma names another one. An include is looked for
// in the directory of the file that it is in, then in that of the file of `files` that all began
// with, then in the `includeDirectories`. Throws MofError for files that cannot be read or are not
// MOF, for includes in a circle, too deep or too many.
MofContents readMof(const std::vector<std::filesystem::path>& files,
                    const std::vector<std::filesystem::path>& includeDirectories,
                    const Pegasus::String& nameSpace);

}  // namespace cimd::mof
