#pragma once

#include <Pegasus/Client/CIMClient.h>

#include "import/publication.h"

// Replaces what an earlier run has published by the entries of "fru.txt" in the current directory
// that fit this machine. If the file cannot be opened it says so on standard output and changes
// nothing. Returns true whenever it returns, also when the file could not be opened: the result is
// part of the fixed signature and has no meaning. An entry that cannot be judged or created is
// dropped silently; a failure to delete earlier instances throws what the client throws.
bool importFruFile(Pegasus::CIMClient& client);

// Whether the line of this category is to be published, after what has been published before it.
// Asks the server where the category is matched against the machine. Throws what the comparison
// lets pass.
bool isSelected(Pegasus::CIMClient& client, Category category, const Pegasus::String& line,
                const Publication& publication);

// The part of it that no machine changes: whether another entry of the category is wanted after
// what has been published.
bool isStillWanted(Category category, const Publication& publication);
