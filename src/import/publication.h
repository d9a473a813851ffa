// The writing side of the import: what is removed from and created on the CIM server.
#pragma once

#include <Pegasus/Client/CIMClient.h>

#include "import/fru_file.h"

// The state of one import.
struct Publication {
  Pegasus::Uint32 processorCount = 0;
  Pegasus::Uint32 memoryCount = 0;
  Pegasus::Uint32 fanCount = 0;
  Pegasus::Uint32 backplaneCount = 0;
  bool planarPublished = false;
  bool cdromPublished = false;
};

// Whether an instance with this IdentifyingNumber is one of the program's own: it begins with the
// program's prefix, in any letter case.
bool isOurNumber(const Pegasus::String& identifyingNumber);

// Deletes the instances that an earlier run has published. Others are never touched. Throws what
// the client throws; what was deleted until then stays deleted.
void deleteEarlierInstances(Pegasus::CIMClient& client);

// Adds "FRUNumber", "Name" and "Description", cut out of the line, to the instance.
void addFruProperties(const Pegasus::String& line, Pegasus::CIMInstance& instance);

// Fills the fresh instance from the line, and counts in `publication`.
void fillInstance(Category category, const Pegasus::String& line, Pegasus::CIMInstance& instance,
                  Publication& publication);

// Marks a planar or CD-ROM as published.
void notePublished(Category category, Publication& publication);

// Fills the fresh instance and creates it on the server. Counts before the creation, so that a
// failed one leaves a gap in the numbers, and marks only after it. Throws what the client throws.
void publishEntry(Pegasus::CIMClient& client, Category category, const Pegasus::String& line,
                  Pegasus::CIMInstance& instance, Publication& publication);
