#include "testing/TempHome.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "quelplatform/qmEnv/QmWorkPlaceEmbedded.h"

namespace quel::testing {

namespace fs = std::filesystem;

TempDir::TempDir() {
  std::string pattern = (fs::temp_directory_path() / "quel-").string() + std::string(6, 'X');
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary directory: " + pattern);
  path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::u16string TempDir::wide(const std::string& name) const { return (path_ / name).u16string(); }

TempHome::TempHome() : before_(quelplatform::homeDirectory()) { quelplatform::setHomeDirectory(path().string()); }

TempHome::~TempHome() { quelplatform::setHomeDirectory(before_); }

std::string readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void writeFile(const fs::path& path, const std::string& content) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << content;
  if (!out.flush()) throw std::runtime_error("cannot write " + path.string());
}

void makeManyFiles(const fs::path& directory, int count) {
  constexpr int kNames = 30000;  // File systems limit the names of one file.
  fs::path first;
  for (int i = 0; i < count; ++i) {
    const fs::path file = directory / ("e" + std::to_string(i));
    if (i % kNames == 0) {
      writeFile(file, "");
      first = file;
    } else {
      fs::create_hard_link(first, file);
    }
  }
}

}  // namespace quel::testing
