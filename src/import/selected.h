#pragma once

#include <Pegasus/Client/CIMClient.h>

#include "import/categories.h"
#include "import/publication.h"

// Whether the line of this category is to be published, after what has been published before it.
// Asks the server where the category is matched against the machine. Throws what the comparison
// lets pass.
Pegasus::Boolean isSelected(Pegasus::CIMClient& client, Category category,
                            const Pegasus::String& line, const Publication& publication);
