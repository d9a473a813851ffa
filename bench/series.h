// The measurements on one server, with a growing number of instances stored.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "disk.h"
#include "load.h"
#include "requests.h"

namespace bench {

// Every figure is the median of this many rounds of this length. A round measures everything once,
// so that what disturbs the machine for a while does not hit one figure alone.
struct Rounds {
  int count = 5;
  double seconds = 0.3;
};

// All rates are per second.
struct Row {
  std::string operation;
  double overOne = 0;
  // 0 where it is not measured.
  double overEight = 0;
  // Processor time of the server for each, over one connection, in seconds.
  double processorTime = 0;
};

struct SizeResult {
  std::vector<Row> rows;
  // What the disk alone does; 0 without disk. `creationsPerSync` compares it with the creations
  // over one connection.
  double syncs = 0;
  double creationsPerSync = 0;
};

class Series {
 public:
  // `disk` may be null and must outlive the series. Throws std::runtime_error, as all functions
  // here, when an answer is not as expected.
  Series(std::uint16_t port, pid_t server, Rounds rounds, const Disk* disk);

  // Creates until this many are stored.
  void growTo(std::uint32_t stored);
  SizeResult measure();
  // Creates and deletes over eight connections for this time; as many are stored as before.
  void churn(double seconds);

 private:
  struct Figures;

  void measureChanges(Figures& creations, Figures& deletions, Figures& syncs);
  LoadResult createBesideDisk(LoadResult& syncs);
  // Over connections of its own: none is idle for so long that the server ends it.
  LoadResult run(std::size_t connections, const RequestSource& source) const;
  LoadResult createFor(std::size_t connections, double seconds);
  LoadResult deleteBack(std::size_t connections, std::uint32_t count);
  RequestSource propertyReads();
  // The same request again and again for the time of a round.
  RequestSource repeated(const std::string& request) const;
  void measureReads(Figures& figures, const std::function<RequestSource()>& source);

  std::uint16_t port_;
  pid_t server_;
  Rounds rounds_;
  const Disk* disk_;
  std::uint32_t stored_ = 0;
  NumberedRequest create_ = createUnit();
  NumberedRequest read_ = readUnitProperty();
  NumberedRequest delete_ = deleteUnit();
  const std::string enumerateLarge_ = enumerateInstances(largeClass);
  const std::string enumerateStored_ = enumerateInstances(unitClass);
};

}  // namespace bench
