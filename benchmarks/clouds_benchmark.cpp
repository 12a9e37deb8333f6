// Files of points as the tool reads and writes them: bytes a second of a cloud of a million points in each format.
#include <benchmark/benchmark.h>
#include <fmt/core.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "clouds/NumberTable.h"
#include "clouds/Points.h"

namespace {

namespace fs = std::filesystem;
using queltool::Vec3;

constexpr std::size_t kCount = 1000000;

// A wavy surface in the order of an image's rows, with numbers that floats hold.
const std::vector<Vec3>& cloud() {
  static const std::vector<Vec3> points = [] {
    std::vector<Vec3> made;
    for (std::size_t i = 0; i < kCount; ++i) {
      const double x = 0.1 * static_cast<double>(i % 1000), y = 0.1 * static_cast<double>(i / 1000);
      const double z = 5.0 * std::sin(0.1 * x) * std::cos(0.07 * y);
      made.push_back({static_cast<double>(static_cast<float>(x)), static_cast<double>(static_cast<float>(y)),
                      static_cast<double>(static_cast<float>(z))});
    }
    return made;
  }();
  return points;
}

std::string plyHead(const char* format, const char* type) {
  return fmt::format("ply\nformat {} 1.0\nelement vertex {}\nproperty {} x\nproperty {} y\nproperty {} z\nend_header\n",
                     format, kCount, type, type, type);
}

std::string lines(const char* separator) {
  std::string text;
  for (const Vec3& p : cloud()) text += fmt::format("{}{}{}{}{}\n", p[0], separator, p[1], separator, p[2]);
  return text;
}

template <typename T>
std::string rows() {
  std::string bytes;
  for (const Vec3& p : cloud()) {
    for (const double value : p) {
      const auto number = static_cast<T>(value);
      bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
    }
  }
  return bytes;
}

std::string pcdHead(const char* form) {
  return fmt::format("VERSION .7\nFIELDS x y z\nSIZE 4 4 4\nTYPE F F F\nPOINTS {}\nDATA {}\n", kCount, form);
}

/// A folder that goes with the program.
const fs::path& folder() {
  struct Folder {
    fs::path path = fs::temp_directory_path() / fmt::format("quel-clouds-{}", getpid());
    Folder() { fs::create_directory(path); }
    ~Folder() { fs::remove_all(path); }
  };
  static const Folder made;
  return made.path;
}

// What is read must be what was written, before anything is timed.
void read(benchmark::State& state, const std::string& name, const std::string& content) {
  const std::string file = (folder() / name).string();
  std::ofstream(file, std::ios::binary) << content;
  if (queltool::readPoints({file}) != cloud()) return state.SkipWithError("the points are not those of the file");
  for (auto _ : state) benchmark::DoNotOptimize(queltool::readPoints({file}));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * content.size()));
}

void write(benchmark::State& state, const std::string& name) {
  const std::string file = (folder() / name).string();
  const auto writeAll = [&] {
    queltool::TableWriter writer(queltool::OutputFile(fs::path(file)), {"x", "y", "z"}, kCount);
    for (const Vec3& p : cloud()) writer.add(p);
    writer.finish();
  };
  writeAll();
  if (queltool::readPoints({file}) != cloud()) return state.SkipWithError("the points are not those that were written");
  for (auto _ : state) writeAll();
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * fs::file_size(file)));
}

BENCHMARK_CAPTURE(read, ply_of_doubles, "d.ply", plyHead("binary_little_endian", "double") + rows<double>());
BENCHMARK_CAPTURE(read, ply_of_floats, "f.ply", plyHead("binary_little_endian", "float") + rows<float>());
BENCHMARK_CAPTURE(read, ply_ascii, "a.ply", plyHead("ascii", "float") + lines(" "));
BENCHMARK_CAPTURE(read, pcd_binary, "b.pcd", pcdHead("binary") + rows<float>());
BENCHMARK_CAPTURE(read, pcd_ascii, "a.pcd", pcdHead("ascii") + lines(" "));
BENCHMARK_CAPTURE(read, pts, "a.pts", fmt::format("{}\n", kCount) + lines(" "));
BENCHMARK_CAPTURE(read, csv, "a.csv", "x,y,z\n" + lines(","));
BENCHMARK_CAPTURE(read, xyz, "a.xyz", lines(" "));
BENCHMARK_CAPTURE(write, ply_of_doubles, "w.ply");
BENCHMARK_CAPTURE(write, csv, "w.csv");

}  // namespace
