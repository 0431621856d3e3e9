// Runs the benchmarks (Google Benchmark's usual flags apply) and ends with a table that sets each
// measurement of the baseline design beside the component's, with their ratio, and a table of the
// per-event figures of one FAP by its number of MACsec subinterfaces.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "bench/SteadyState.h"

namespace {

struct Figure {
  double value = 0;
  std::string unit;
};

// Prints as the console reporter does, and keeps every figure by its benchmark's name.
class PairingReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(std::vector<Run> const& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (Run const& run : runs) {
      keepPerEvent(run);
      std::string name = run.benchmark_name();
      std::string design;
      for (char const* const candidate : {"/baseline", "/ours"}) {
        auto const at = name.find(candidate);
        if (at != std::string::npos) {
          design = candidate + 1;
          name.erase(at, std::string(candidate).size());
        }
      }
      if (design.empty()) {
        continue;
      }
      auto const iterations = name.find("/iterations:");
      if (iterations != std::string::npos) {
        name.erase(iterations);
      }
      Figure figure;
      auto const bytes = run.counters.find("bytes/interface");
      if (bytes != run.counters.end()) {
        figure = {bytes->second.value, "B"};
      } else {
        figure = {run.GetAdjustedRealTime(), benchmark::GetTimeUnitString(run.time_unit)};
      }
      if (order_.count(name) == 0) {
        order_[name] = names_.size();
        names_.push_back(name);
      }
      figures_[name][design] = figure;
    }
  }

  void printTable() const {
    std::printf("\n| measurement | baseline | ours | baseline / ours |\n|---|---:|---:|---:|\n");
    for (std::string const& name : names_) {
      auto const& pair = figures_.at(name);
      auto const baseline = pair.find("baseline");
      auto const ours = pair.find("ours");
      if (baseline == pair.end() || ours == pair.end()) {
        continue;
      }
      std::printf("| %s | %.4g %s | %.4g %s | %.3g |\n", name.c_str(), baseline->second.value,
                  baseline->second.unit.c_str(), ours->second.value, ours->second.unit.c_str(),
                  ours->second.value != 0 ? baseline->second.value / ours->second.value : 0.0);
    }
    printPerEventTable();
  }

 private:
  // Figures of runs that count their events, one row per benchmark and counter, one column per
  // number of subinterfaces.
  // Of repeated runs, the median is kept (it is reported after the runs).
  void keepPerEvent(Run const& run) {
    auto const subinterfaces = run.counters.find("subinterfaces");
    if (subinterfaces == run.counters.end()) {
      return;
    }
    if (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median") {
      return;
    }
    std::string name = run.run_name.str();
    auto const arg = name.find("/subinterfaces:");
    if (arg != std::string::npos) {
      name.erase(arg, name.find('/', arg + 1) - arg);
    }
    for (char const* const part : {"/iterations:", "/manual_time"}) {
      auto const at = name.find(part);
      if (at != std::string::npos) {
        name.erase(at, name.find('/', at + 1) - at);
      }
    }
    for (auto const& [arg, chip] :
         {std::pair{"/perPortDisabled:0", ", shared disabled index"},
          std::pair{"/perPortDisabled:1", ", per-port disabled entries"}}) {
      auto const at = name.find(arg);
      if (at != std::string::npos) {
        name.replace(at, std::string(arg).size(), chip);
      }
    }
    for (char const* const counter : {"ns/event", "faults/1k events"}) {
      auto const found = run.counters.find(counter);
      if (found == run.counters.end()) {
        continue;
      }
      std::string const row = name + ", " + counter;
      if (perEvent_.count(row) == 0) {
        perEventRows_.push_back(row);
      }
      auto const column = long(subinterfaces->second.value);
      perEvent_[row][column] = found->second.value;
      perEventColumns_.insert(column);
    }
  }

  void printPerEventTable() const {
    if (perEventRows_.empty()) {
      return;
    }
    std::printf("\n| measurement |");
    for (long const column : perEventColumns_) {
      std::printf(" %ld |", column);
    }
    std::printf(" 16384 / 1024 |\n|---|");
    for (std::size_t i = 0; i <= perEventColumns_.size(); ++i) {
      std::printf("---:|");
    }
    std::printf("\n");
    for (std::string const& row : perEventRows_) {
      auto const& figures = perEvent_.at(row);
      std::printf("| %s |", row.c_str());
      for (long const column : perEventColumns_) {
        auto const figure = figures.find(column);
        if (figure == figures.end()) {
          std::printf(" |");
        } else {
          std::printf(" %.4g |", figure->second);
        }
      }
      auto const small = figures.find(1024);
      auto const large = figures.find(16384);
      bool const timed = row.find("ns/event") != std::string::npos;
      if (timed && small != figures.end() && large != figures.end() && small->second != 0) {
        std::printf(" %.3g |\n", large->second / small->second);
      } else {
        std::printf(" |\n");
      }
    }
  }

  std::vector<std::string> perEventRows_;
  std::map<std::string, std::map<long, double>> perEvent_;
  std::set<long> perEventColumns_;

  std::vector<std::string> names_;
  std::map<std::string, std::size_t> order_;
  std::map<std::string, std::map<std::string, Figure>> figures_;
};

}  // namespace

int main(int argc, char** argv) {
  bench::registerSteadyStateBenchmarks();
  bench::registerCollectionBenchmarks();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 1;
  }
  PairingReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.printTable();
  benchmark::Shutdown();
  return 0;
}
