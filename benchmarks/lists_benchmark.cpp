// Lists that grow part by part: their cost must grow with what is in them, and not with its square.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "benchmarks/BenchmarkCloud.h"
#include "quelcore/patches/QmImage2COP_Data.h"
#include "quelcore/patches/SuspiciousPtsData.h"
#include "quelcore/project/QmSetupNumbersManager.h"

namespace {

using quel::benchmarks::demand;

void UnifySuspiciousPoints(benchmark::State& state) {
  SuspiciousPtsData one(1);
  one.addIndex(1, 0);
  for (auto _ : state) {
    SuspiciousPtsData all(1);
    for (std::int64_t n = 0; n < state.range(0); ++n) all.unify(one, static_cast<std::size_t>(n));
    demand(std::ssize(all.getSegment(1)) == state.range(0), "points are missing");
  }
}
BENCHMARK(UnifySuspiciousPoints)->Arg(1000)->Arg(40000)->Unit(benchmark::kMicrosecond);

void PointsOfParts(benchmark::State& state) {
  QmImage2COP_Data part;
  part.add3DPtData(QmVec3(1, 2, 3), true, QmVec2i());
  for (auto _ : state) {
    std::vector<QmVec3> all;
    for (std::int64_t n = 0; n < state.range(0); ++n) part.getReconsPts(all);
    demand(std::ssize(all) == state.range(0), "points are missing");
  }
}
BENCHMARK(PointsOfParts)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);

void AddSetups(benchmark::State& state) {
  std::vector<std::u16string> paths;
  for (std::int64_t n = 0; n < state.range(0); ++n) {
    const std::string path = "/projects/part/setup-" + std::to_string(n);
    paths.emplace_back(path.begin(), path.end());
  }
  for (auto _ : state) {
    QmSetupNumbersManager numbers;
    for (std::int64_t n = 0; n < state.range(0); ++n) {
      const auto number = static_cast<std::int32_t>(n + 10);
      demand(numbers.AddItem(number, paths[static_cast<std::size_t>(n)].c_str(), -1) == 0, "an item is refused");
    }
  }
}
BENCHMARK(AddSetups)->Arg(400)->Arg(4000)->Unit(benchmark::kMicrosecond);

}  // namespace
