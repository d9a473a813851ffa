// Puts the qualifiers and classes of MOF files into a repository.
#pragma once

#include <Pegasus/Common/String.h>

#include <string>
#include <vector>

#include "model/repository.h"
#include "mof/parser.h"

namespace cimd::mof {

struct PlacedQualifier {
  Pegasus::String nameSpace;
  QualifierDeclarationSyntax declaration;
};

struct PlacedClass {
  Pegasus::String nameSpace;
  ClassSyntax declaration;
  // How many of the qualifier declarations come before the class.
  std::size_t qualifiersBefore;
};

// Both lists are in the order of the files. Classes may come in any order: each is defined after
// its superclass. A qualifier that is declared again has its new declaration from there on. Returns
// a warning, a messageAt() a position, for each class that a reference points to and nothing
// declares. Throws MofError.
std::vector<std::string> loadSchema(const std::vector<PlacedQualifier>& qualifiers,
                                    const std::vector<PlacedClass>& classes,
                                    Repository& repository);

}  // namespace cimd::mof
