#include "series.h"

#include <algorithm>
#include <chrono>

#include "process.h"

namespace bench {

namespace {

constexpr std::size_t one = 1;
constexpr std::size_t eight = 8;

using Clock = std::chrono::steady_clock;

Clock::time_point after(double seconds) {
  return Clock::now() +
         std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

double median(std::vector<double> values) {
  if (values.empty()) {
    return 0;
  }
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace

// One operation, a value for each round.
struct Series::Figures {
  std::string operation;
  std::vector<double> overOne = {};
  std::vector<double> overEight = {};
  std::vector<double> processorTime = {};
  // To something else that was measured in the same round.
  std::vector<double> ratios = {};

  void addOne(const LoadResult& result, double used) {
    overOne.push_back(result.perSecond());
    processorTime.push_back(used / static_cast<double>(result.answers));
  }
  void addEight(const LoadResult& result) { overEight.push_back(result.perSecond()); }
  Row row() const { return {operation, median(overOne), median(overEight), median(processorTime)}; }
};

Series::Series(std::uint16_t port, pid_t server, Rounds rounds, const Disk* disk)
    : port_(port), server_(server), rounds_(rounds), disk_(disk) {}

LoadResult Series::run(std::size_t connections, const RequestSource& source) const {
  return Load(port_, connections).run(source);
}

void Series::growTo(std::uint32_t stored) {
  run(eight, [&] { return stored_ < stored ? create_.withNumber(stored_++) : std::string_view(); });
}

LoadResult Series::createFor(std::size_t connections, double seconds) {
  const auto end = after(seconds);
  return run(connections, [&] {
    return Clock::now() < end ? create_.withNumber(stored_++) : std::string_view();
  });
}

// The last ones first.
LoadResult Series::deleteBack(std::size_t connections, std::uint32_t count) {
  const std::uint32_t end = stored_ - count;
  return run(connections,
             [&] { return stored_ > end ? delete_.withNumber(--stored_) : std::string_view(); });
}

RequestSource Series::repeated(const std::string& request) const {
  return [&request, end = after(rounds_.seconds)] {
    return Clock::now() < end ? std::string_view(request) : std::string_view();
  };
}

// Of units all over the store: a step that has no divisor in common with any size here.
RequestSource Series::propertyReads() {
  constexpr std::uint32_t step = 7919;
  return [this, end = after(rounds_.seconds), unit = std::uint32_t{0}]() mutable {
    unit = (unit + step) % stored_;
    return Clock::now() < end ? read_.withNumber(unit) : std::string_view();
  };
}

// Disks of virtual machines are fast for a moment and slow for long, as their host allows. So the
// server and the bare disk take turns, with as many writes each.
LoadResult Series::createBesideDisk(LoadResult& syncs) {
  constexpr int turns = 10;
  LoadResult created;
  for (int turn = 0; turn < turns; ++turn) {
    const LoadResult result = createFor(one, rounds_.seconds / turns);
    created += result;
    if (disk_ != nullptr) {
      syncs += {result.answers, disk_->write(result.answers)};
    }
  }
  return created;
}

void Series::measureChanges(Figures& creations, Figures& deletions, Figures& syncs) {
  const double start = processorTime(server_);
  LoadResult written;
  const LoadResult created = createBesideDisk(written);
  const double middle = processorTime(server_);
  const LoadResult deleted = deleteBack(one, static_cast<std::uint32_t>(created.answers));
  creations.addOne(created, middle - start);
  if (disk_ != nullptr) {
    syncs.overOne.push_back(written.perSecond());
    syncs.ratios.push_back(created.perSecond() / written.perSecond());
  }
  deletions.addOne(deleted, processorTime(server_) - middle);
  const LoadResult more = createFor(eight, rounds_.seconds);
  creations.addEight(more);
  deletions.addEight(deleteBack(eight, static_cast<std::uint32_t>(more.answers)));
}

void Series::measureReads(Figures& figures, const std::function<RequestSource()>& source) {
  const double start = processorTime(server_);
  const LoadResult result = run(one, source());
  figures.addOne(result, processorTime(server_) - start);
  figures.addEight(run(eight, source()));
}

SizeResult Series::measure() {
  Figures creations{"create"};
  Figures deletions{"delete"};
  Figures large{"enumerate two large"};
  Figures properties{"read a property"};
  Figures listed{"enumerate all stored"};
  Figures syncs{"sync"};
  for (int round = 0; round < rounds_.count; ++round) {
    measureChanges(creations, deletions, syncs);
    measureReads(large, [this] { return repeated(enumerateLarge_); });
    measureReads(properties, [this] { return propertyReads(); });
    measureReads(listed, [this] { return repeated(enumerateStored_); });
  }
  return {{creations.row(), deletions.row(), large.row(), properties.row(), listed.row()},
          median(syncs.overOne),
          median(syncs.ratios)};
}

void Series::churn(double seconds) {
  constexpr double part = 0.1;
  const auto end = after(seconds);
  while (Clock::now() < end) {
    const LoadResult created = createFor(eight, part);
    deleteBack(eight, static_cast<std::uint32_t>(created.answers));
  }
}

}  // namespace bench
