// An operation of the client library, to be measured: enumerates a class again and again.
//
//     client HOST:PORT NAMESPACE CLASS COUNT
#include <Pegasus/Client/CIMClient.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
  if (argc != 5) {
    std::fputs("usage: client HOST:PORT NAMESPACE CLASS COUNT\n", stderr);
    return 2;
  }
  try {
    Pegasus::CIMClient client(20000);
    client.connect(argv[1], "", "");
    for (long left = std::strtol(argv[4], nullptr, 10); left > 0; --left) {
      client.enumerateInstances(argv[2], argv[3]);
    }
  } catch (const Pegasus::Exception& error) {
    std::fprintf(stderr, "client: %s\n", error.getMessage().toUtf8().c_str());
    return 1;
  }
  return 0;
}
