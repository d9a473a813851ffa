#include "import/selected.h"

#include "cim/selection.h"

using Pegasus::Boolean;
using Pegasus::CIMClient;
using Pegasus::String;

// For compatibility the rules are uneven: three categories are matched against the machine, of two
// the first entry that succeeds wins, and of the rest every line is published.
Boolean isSelected(CIMClient& client, Category category, const String& line,
                   const Publication& publication) {
  switch (category) {
    case Category::processor:
      return getProcessorSpeedQualifier(client, line);
    case Category::memory:
      return getMemorySizeQualifier(client, line);
    case Category::keyboard:
      return getLanguageQualifier(line);
    case Category::planar:
      return !publication.planarPublished;
    case Category::cdrom:
      return !publication.cdromPublished;
    case Category::floppy:
    case Category::optionsp:
    case Category::fan:
    case Category::backplane:
      break;
  }
  return true;
}
