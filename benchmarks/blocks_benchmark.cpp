// Loading the table of calibration plates from blocks.ini. A file that was changed a moment ago is read anew at every
// question, so the benchmark waits until it has settled, as nearly every file has when a program starts.
#include <benchmark/benchmark.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "benchmarks/BenchmarkCloud.h"
#include "quelcore/blocks/QmBlockInfo.h"
#include "quelplatform/qmEnv/QmWorkPlaceEmbedded.h"
#include "quelplatform/qmEnv/qmLogEmbedded.h"

namespace {

using quel::benchmarks::demand;
namespace fs = std::filesystem;

/// A home directory with a table of so many plates, removed at the end.
struct Home {
  explicit Home(std::int64_t plates) : directory(fs::temp_directory_path() / "quel-benchmark") {
    fs::create_directories(directory);
    quelplatform::setHomeDirectory(directory.string());
    quelplatform::enableLogFile(false);
    std::ofstream out(directory / "blocks.ini");
    out << "[General]\r\nNumberOfBlocks=" << plates << "\r\nLastMappingID=0\r\nActiveBlockIndex=0\r\n";
    for (std::int64_t i = 1; i <= plates; ++i) {
      out << "[Block" << i << "]\r\nBlockName=plate " << i << "\r\nTargetType=1\r\nExpCoef=11\r\nBlockLens=35;50\r\n"
          << "MapFile=plate-" << i << ".map\r\n";
    }
    out.close();
    std::this_thread::sleep_for(std::chrono::milliseconds(2100));
  }
  ~Home() { fs::remove_all(directory); }
  Home(const Home&) = delete;
  Home& operator=(const Home&) = delete;

  fs::path directory;
};

void LoadBlocks(benchmark::State& state) {
  const Home home(state.range(0));
  for (auto _ : state) {
    QmBlockTable::FreeInstance();
    demand(QmBlockTable().GetBlockNumber() == state.range(0), "plates are missing");
  }
}
BENCHMARK(LoadBlocks)->Arg(8)->Arg(80)->Arg(800)->Arg(8000)->Unit(benchmark::kMillisecond);

}  // namespace
