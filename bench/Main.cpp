// Runs the benchmarks (Google Benchmark's usual flags apply) and ends with a table that sets each
// measurement of the baseline design beside the component's, with their ratio.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

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
  }

 private:
  std::vector<std::string> names_;
  std::map<std::string, std::size_t> order_;
  std::map<std::string, std::map<std::string, Figure>> figures_;
};

}  // namespace

int main(int argc, char** argv) {
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
