// Measures a running morvik-cimd and prints a table. scripts/bench starts the servers.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <optional>

#include "process.h"
#include "series.h"

namespace {

struct Settings {
  std::uint16_t port = 0;
  pid_t process = 0;
  std::vector<std::uint32_t> sizes;
  bench::Rounds rounds;
  // Empty for a server that keeps everything in memory.
  std::string diskFolder;
  double churnSeconds = 0;
};

double mebibytes(std::size_t bytes) {
  return static_cast<double>(bytes) / (1 << 20);
}

void printHead() {
  std::printf("%8s  %-22s %14s %14s %12s\n", "stored", "operation", "1 connection", "8 connections",
              "server time");
}

void printSize(std::uint32_t stored, const bench::SizeResult& result) {
  for (const bench::Row& row : result.rows) {
    std::printf("%8u  %-22s %12.0f/s %12.0f/s %9.1f us\n", stored, row.operation.c_str(),
                row.overOne, row.overEight, row.processorTime * 1e6);
  }
  if (result.syncs > 0) {
    std::printf("%8u  the disk alone: %.0f syncs/s; creations are %.0f %% of that\n", stored,
                result.syncs, result.creationsPerSync * 100);
  }
}

void measureSizes(bench::Series& series, const Settings& settings) {
  printHead();
  for (const std::uint32_t size : settings.sizes) {
    series.growTo(size);
    const double memory = mebibytes(bench::residentMemory(settings.process));
    printSize(size, series.measure());
    std::printf("%8u  memory of the server: %.1f MiB\n", size, memory);
    std::fflush(stdout);
  }
}

void printChurn(bench::Series& series, const Settings& settings) {
  constexpr int parts = 6;
  std::printf("Creating and deleting for %.0f s; memory of the server in MiB:",
              settings.churnSeconds);
  for (int part = 0; part < parts; ++part) {
    series.churn(settings.churnSeconds / parts);
    std::printf(" %.1f", mebibytes(bench::residentMemory(settings.process)));
    std::fflush(stdout);
  }
  std::printf("\n");
}

void measure(const Settings& settings) {
  std::optional<bench::Disk> disk;
  if (!settings.diskFolder.empty()) {
    disk.emplace(settings.diskFolder);
  }
  bench::Series series(settings.port, settings.process, settings.rounds, disk ? &*disk : nullptr);
  measureSizes(series, settings);
  if (settings.churnSeconds > 0) {
    printChurn(series, settings);
  }
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"Measures a running morvik-cimd that has loaded kvaxdt.mof and bench/system.mof.",
               "bench_cimd"};
  Settings settings;
  app.add_option("--port", settings.port, "Port of the server on 127.0.0.1")->required();
  app.add_option("--process", settings.process, "Its process")->required();
  app.add_option("--sizes", settings.sizes, "Numbers of instances stored, ascending")
      ->delimiter(',')
      ->required();
  app.add_option("--rounds", settings.rounds.count, "Figures are the median of so many");
  app.add_option("--seconds", settings.rounds.seconds, "Length of one measurement in a round");
  app.add_option("--disk", settings.diskFolder, "Measure the disk of this folder as well");
  app.add_option("--churn", settings.churnSeconds,
                 "Then create and delete for so many seconds and tell the memory");
  CLI11_PARSE(app, argc, argv);
  try {
    measure(settings);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bench_cimd: %s\n", error.what());
    return 1;
  }
}
