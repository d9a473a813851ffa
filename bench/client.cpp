// Measures an operation of the client library: enumerates a class again and again.
//
//     client HOST:PORT NAMESPACE CLASS COUNT
//
// Prints microseconds of wall-clock and CPU time per enumeration, the instances in the last answer,
// and the peak memory in KiB.
#include <Pegasus/Client/CIMClient.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace {

double cpuMicroseconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto micros = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
  };
  return micros(usage.ru_utime) + micros(usage.ru_stime);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    std::fputs("usage: client HOST:PORT NAMESPACE CLASS COUNT\n", stderr);
    return 2;
  }
  try {
    Pegasus::CIMClient client(20000);
    client.connect(argv[1], "", "");
    const long count = std::strtol(argv[4], nullptr, 10);
    Pegasus::Uint32 instances = 0;
    const double cpu = cpuMicroseconds();
    const auto start = std::chrono::steady_clock::now();
    for (long i = 0; i < count; ++i) {
      instances = client.enumerateInstances(argv[2], argv[3]).size();
    }
    const std::chrono::duration<double, std::micro> passed =
        std::chrono::steady_clock::now() - start;
    const double used = cpuMicroseconds() - cpu;
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto operations = static_cast<double>(count);
    std::printf("%.1f %.1f %u %ld\n", passed.count() / operations, used / operations, instances,
                usage.ru_maxrss);
  } catch (const Pegasus::Exception& error) {
    std::fprintf(stderr, "client: %s\n", error.getMessage().toUtf8().c_str());
    return 1;
  }
  return 0;
}
