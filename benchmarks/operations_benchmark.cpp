// Loading a file of operations, beside pugixml itself on the same file: parsing it and looking at each operation's
// kind, without a look at whether the file is in order.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <pugixml.hpp>
#include <string>
#include <string_view>

#include "benchmarks/BenchmarkCloud.h"
#include "quelcore/operations/OperationManagerBase.h"
#include "quelplatform/qmEnv/qmLogEmbedded.h"

namespace {

using quel::benchmarks::demand;
namespace fs = std::filesystem;

/// A file of operations, removed at the end.
struct OperationsFile {
  explicit OperationsFile(std::int64_t operations) : path(fs::temp_directory_path() / "quel-operations.xml") {
    quelplatform::enableLogFile(false);
    std::ofstream out(path);
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n<QuelmetraDataFile VersionFile=\"1.00\">\r\n";
    for (std::int64_t i = 0; i < operations; ++i) {
      out << "  <Operation ID=\"" << i << "\" Type=\"COP\">\r\n    <Tiles Size=\"3\">" << i << ' ' << i + 1 << ' '
          << i + 2 << " </Tiles>\r\n  </Operation>\r\n";
    }
    out << "</QuelmetraDataFile>\r\n";
  }
  ~OperationsFile() { fs::remove(path); }
  OperationsFile(const OperationsFile&) = delete;
  OperationsFile& operator=(const OperationsFile&) = delete;

  fs::path path;
};

struct Manager : OperationManagerBase {
  std::int64_t operations() const { return static_cast<std::int64_t>(undoList_.size()); }
};

void LoadOperations(benchmark::State& state) {
  const OperationsFile file(state.range(0));
  const std::u16string path = file.path.u16string();
  for (auto _ : state) {
    Manager manager;
    manager.load(path.c_str(), true);
    demand(manager.operations() == state.range(0), "operations are missing");
  }
}

template <unsigned parse>
void ByPugixml(benchmark::State& state) {
  const OperationsFile file(state.range(0));
  for (auto _ : state) {
    pugi::xml_document document;
    demand(document.load_file(file.path.c_str(), parse), "no document");
    std::int64_t known = 0;
    for (const pugi::xml_node operation : document.document_element().children("Operation")) {
      known += std::string_view(operation.attribute("Type").value()) == "COP" ? 1 : 0;
    }
    demand(known == state.range(0), "operations are missing");
  }
}

BENCHMARK(LoadOperations)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(ByPugixml<pugi::parse_default>)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);
BENCHMARK(ByPugixml<pugi::parse_default | pugi::parse_ws_pcdata>)
    ->Arg(1000)
    ->Arg(100000)
    ->Unit(benchmark::kMicrosecond)
    ->Name("ByPugixmlWithBlanks");

}  // namespace
