#include "retrieval/download.h"

#include <string>

#include "cim/client.h"
#include "cim/machine.h"
#include "retrieval/work_files.h"

using Pegasus::CIMClient;
using Pegasus::String;

namespace {

// A script that an interrupted run has left is not emptied first: the lines are appended to it.
// For compatibility server and directory are not quoted: the shell acts on blanks and special
// characters in them.
void writeScript(const std::string& server, const std::string& directory,
                 const std::string& fileName) {
  runShellCommand("echo open " + server + " >> fruscript.scr");
  runShellCommand("echo user anonymous anonymous >> fruscript.scr");
  runShellCommand("echo bin >> fruscript.scr");
  runShellCommand("echo cd " + directory + " >> fruscript.scr");
  runShellCommand("echo get " + fileName + " >> fruscript.scr");
  runShellCommand("echo bye >> fruscript.scr");
}

// The `ftp` clients of the two families of systems are quietened in different ways. The blanks in
// the command texts, here and below, stay for compatibility.
void runScript() {
  if (canBeRead("/etc/redhat-release")) {
    runShellCommand("ftp -in < fruscript.scr  >> fru.log");
  } else {
    runShellCommand("ftp -inV < fruscript.scr >> fru.log");
  }
  runShellCommand("rm -f  fruscript.scr");
}

}  // namespace

bool downloadFruFile(CIMClient& client, const char* server, const char* directory) {
  String machineType;
  if (getMachineType(client, machineType) != 1) {
    return false;
  }
  const std::string fileName = toNarrowText(machineType) + "wpk.txt";
  writeScript(server, directory, fileName);
  runScript();
  if (!canBeRead(fileName)) {
    return false;
  }
  runShellCommand("mv -f " + fileName + " fru.txt");
  return true;
}
