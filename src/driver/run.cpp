#include "driver/run.h"

#include <iostream>

#include "cim/client.h"
#include "import/import.h"
#include "retrieval/download.h"
#include "retrieval/work_files.h"

using Pegasus::CIMClient;

namespace {

// Unlike a fetched file this one stays: it is the user's, and later runs need it too.
void importLocalFile(CIMClient& client) {
  if (canBeRead("fru.txt")) {
    std::cout << "\nA local copy of fru.txt is detected. MORVIK will run base on this file."
              << std::endl;
    importFruFile(client);
  } else {
    std::cout << "Either FRU is not supported or this system does not have access to FRU file."
              << std::endl;
    std::cout << "Please run man morvik for help. " << std::endl;
  }
}

}  // namespace

void run(const char* server, const char* directory) {
  const std::unique_ptr<CIMClient> owner = makeClient();
  CIMClient& client = *owner;
  connectToLocalServer(client);
  if (downloadFruFile(client, server, directory)) {
    importFruFile(client);
    // Removed without a check whether it exists, unlike fru.log below. The two blanks in both
    // command texts stay for compatibility.
    runShellCommand("rm -f  fru.txt");
  } else {
    importLocalFile(client);
  }
  if (canBeRead("fru.log")) {
    runShellCommand("rm -f  fru.log");
  }
  client.disconnect();
}
