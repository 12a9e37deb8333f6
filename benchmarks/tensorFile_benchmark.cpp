// Loading and storing a tensor file of the newest version, with the part of the load that makes the distortion images
// apart.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <filesystem>

#include "benchmarks/BenchmarkCloud.h"
#include "quelcore/tensor/QmReconsTensor.h"
#include "quelcore/tensor/QmReconsTensorIO.h"
#include "quelplatform/qmEnv/QmWorkPlaceEmbedded.h"
#include "quelplatform/qmEnv/qmLogEmbedded.h"

namespace {

using namespace quel;
using benchmarks::demand;

/// A directory with one stored tensor; its home directory stays empty, and nothing is logged to a file.
struct Scene {
  explicit Scene(bool hasImages = true) : directory(std::filesystem::temp_directory_path() / "quel-benchmark") {
    std::filesystem::create_directories(directory);
    quelplatform::setHomeDirectory(directory.string());
    quelplatform::enableLogFile(false);
    path = (directory / "block.tns").u16string();
    constexpr std::int32_t kUnknownCamera = 999;  // whose images have no size
    if (!hasImages) head.tensor()->ohType = kUnknownCamera;
    demand(qmTensorDataStore(path.c_str(), head.tensor()) == 1, "the tensor cannot be stored");
  }
  ~Scene() { std::filesystem::remove_all(directory); }

  testing::SampleHead head;
  std::filesystem::path directory;
  std::u16string path;
};

void Load(benchmark::State& state) {
  const Scene s;
  QmReconsTensor tensor;
  for (auto _ : state) demand(tensor.LoadFromFile(s.path.c_str()), "the tensor does not load");
}
BENCHMARK(Load)->Unit(benchmark::kMicrosecond);

// Of cameras of an unknown type, so that there are no distortion images to make: what is left is the file.
void LoadWithoutImages(benchmark::State& state) {
  const Scene s(false);
  QmReconsTensor tensor;
  demand(tensor.LoadFromFile(s.path.c_str()) && tensor.distortTables[0].xCols == 1, "there are distortion images");
  for (auto _ : state) demand(tensor.LoadFromFile(s.path.c_str()), "the tensor does not load");
}
BENCHMARK(LoadWithoutImages)->Unit(benchmark::kMicrosecond);

void DistortionImagesOfALoad(benchmark::State& state) {
  const Scene s;
  QmReconsTensor tensor;
  demand(tensor.LoadFromFile(s.path.c_str()), "the tensor does not load");
  for (auto _ : state) calcDistortTables(tensor);
}
BENCHMARK(DistortionImagesOfALoad)->Unit(benchmark::kMicrosecond);

void Store(benchmark::State& state) {
  Scene s;
  for (auto _ : state) demand(qmTensorDataStore(s.path.c_str(), s.head.tensor()) == 1, "the tensor cannot be stored");
}
BENCHMARK(Store)->Unit(benchmark::kMicrosecond);

}  // namespace
