// Runs the benchmarks and prints, behind Google Benchmark's own report, a table that sets ours beside the
// peers.
//
// A benchmark is named "subject/implementation/case": all rows that share subject and case belong together,
// and the row whose implementation is "vq" is ours. Run with repetitions and interleaving, so that a spell of
// a slow machine meets all rows alike:
//
//   vqbench --benchmark_filter=^scan/ --benchmark_repetitions=9 --benchmark_enable_random_interleaving=true
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace {

struct Row {
  std::vector<double> nanoseconds;
  double median() {
    auto middle = nanoseconds.begin() + static_cast<std::ptrdiff_t>(nanoseconds.size() / 2);
    std::nth_element(nanoseconds.begin(), middle, nanoseconds.end());
    return *middle;
  }
};

// Collects every repetition; the table is printed at the end.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
      const std::string name = run.benchmark_name();
      const auto first = name.find('/');
      if (first == std::string::npos) continue;
      const auto second = name.find('/', first + 1);
      std::string subject = name.substr(0, first);
      std::string peer = name.substr(first + 1, second == std::string::npos ? second : second - first - 1);
      std::string which = second == std::string::npos ? "" : name.substr(second + 1);
      if (const auto repeats = which.find("/repeats:"); repeats != std::string::npos) which.resize(repeats);
      rows_[subject + "/" + which][peer].nanoseconds.push_back(run.GetAdjustedRealTime());
    }
  }

  void Finalize() override {
    std::printf("\n%-52s %12s  %s\n", "subject/case", "vq ns", "peer ns (speed of vq: 2.00 = twice as fast)");
    for (auto& [key, peers] : rows_) {
      const auto ours = peers.find("vq");
      if (ours == peers.end()) continue;
      const double mine = ours->second.median();
      std::printf("%-52s %12.1f ", key.c_str(), mine);
      for (auto& [peer, row] : peers) {
        if (peer == "vq") continue;
        const double theirs = row.median();
        std::printf("  %s %.1f (%.2f)", peer.c_str(), theirs, theirs / mine);
      }
      std::printf("\n");
    }
  }

 private:
  std::map<std::string, std::map<std::string, Row>> rows_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}
