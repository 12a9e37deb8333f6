// Runs a target on files, where no engine drives it: all that are named, and all in the folders that are named. A
// folder that is not there holds none.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesOf(const fs::path& path) {
  std::vector<fs::path> files;
  if (!fs::exists(path)) return files;
  if (!fs::is_directory(path)) return {path};
  for (const auto& entry : fs::recursive_directory_iterator(path)) {
    if (entry.is_regular_file()) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

bool replay(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  const std::string content{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  if (!in) {
    std::fprintf(stderr, "%s cannot be read\n", file.c_str());
    return false;
  }
  std::fprintf(stderr, "%s\n", file.c_str());  // The last one that is told is the one that fails.
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  LLVMFuzzerInitialize(&argc, &argv);
  std::size_t count = 0;
  for (int i = 1; i < argc; ++i) {
    for (const fs::path& file : filesOf(argv[i])) {
      if (!replay(file)) return 1;
      ++count;
    }
  }
  std::printf("%zu files\n", count);
  return count == 0 ? 1 : 0;
}
