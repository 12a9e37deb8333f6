// Walking a part with many directories, and a setup map with many lines.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "benchmarks/BenchmarkCloud.h"
#include "quelcore/project/QmProjectInfo.h"
#include "quelcore/project/QmSetupNumbersManager.h"
#include "quelplatform/qmEnv/QmWorkPlaceEmbedded.h"
#include "quelplatform/qmEnv/qmLogEmbedded.h"

namespace {

using namespace quel;
using benchmarks::demand;
namespace fs = std::filesystem;

/// A home directory that is removed at the end.
struct Home {
  Home() : directory(fs::temp_directory_path() / "quel-benchmark") {
    fs::create_directories(directory);
    quelplatform::setHomeDirectory(directory.string());
    quelplatform::enableLogFile(false);
  }
  ~Home() { fs::remove_all(directory); }
  Home(const Home&) = delete;
  Home& operator=(const Home&) = delete;

  fs::path directory;
};

void touch(const fs::path& file) { std::ofstream out(file); }

/// A part of which every hundredth directory is a setup.
void WalkPart(benchmark::State& state) {
  const Home home;
  const fs::path root = home.directory / "projects", part = root / "project" / "part";
  fs::create_directories(part);
  touch(part / "part.qmp");
  const auto directories = static_cast<std::uint32_t>(state.range(0));
  for (std::uint32_t i = 0; i < directories; ++i) {
    fs::create_directory(part / std::to_string(i));
    if (i % 100 == 0) touch(part / std::to_string(i) / "setup.qms");
  }
  for (auto _ : state) {
    QmProjectInfo info;
    demand(info.InitFromDir(root.u16string().c_str(), QmProjectInfo::FS_SETUP) == QmProjectInfo::RC_OK, "no walk");
    demand(info.GetNumSetups() == directories / 100, "the walk misses setups");
  }
  state.SetItemsProcessed(state.iterations() * directories);
}
BENCHMARK(WalkPart)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);

void writeMap(const fs::path& file, std::int64_t lines) {
  std::ofstream out(file);
  for (std::int64_t i = 0; i < lines; ++i) {
    std::string number = std::to_string(i + 3);
    number.resize(10, ' ');
    out << number << "-1        /data/projects/project/part/setup-" << i << '\n';
  }
}

void ReadSetupMap(benchmark::State& state) {
  const Home home;
  writeMap(home.directory / "SetupMap.txt", state.range(0));
  for (auto _ : state) {
    QmSetupNumbersManager numbers;
    demand(numbers.Initialize() == 0 && numbers.GetItemCount() == state.range(0), "the map is not read");
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(ReadSetupMap)->Arg(1000)->Arg(1000000)->Unit(benchmark::kMillisecond);

void SaveSetupMap(benchmark::State& state) {
  const Home home;
  writeMap(home.directory / "SetupMap.txt", state.range(0));
  QmSetupNumbersManager numbers;
  const std::int32_t number = 2;
  demand(numbers.Initialize() == 0 && numbers.UpdateItem(0, &number, nullptr, nullptr) == 0, "the map is not read");
  for (auto _ : state) demand(numbers.SaveSetupList() == 0, "the map is not saved");
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(SaveSetupMap)->Arg(1000)->Arg(1000000)->Unit(benchmark::kMillisecond);

}  // namespace
