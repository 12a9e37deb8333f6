#include "fuzz/support/Fuzzing.h"

#include <fcntl.h>
#include <omp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "quelplatform/qmEnv/QmWorkPlaceEmbedded.h"
#include "quelplatform/qmEnv/qmLogEmbedded.h"
#include "quelplatform/qmEnv/qmText.h"

namespace quelfuzz {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const char* claim) {
  std::fprintf(stderr, "this does not hold: %s\n", claim);
  std::abort();
}

/// The folder of this process: home directory of the library, and of the user.
class Home {
 public:
  static const Home& instance() {
    static const Home home;
    return home;
  }

  std::string path(std::string_view name) const { return path_ + '/' + std::string(name); }

 private:
  Home() {
    std::string pattern = (fs::temp_directory_path() / "quel-fuzz-").string() + std::string(6, 'X');
    if (mkdtemp(pattern.data()) == nullptr) fail("there is a folder for temporary files");
    path_ = pattern;
    setenv("HOME", path_.c_str(), 1);
    setenv("XDG_DATA_HOME", path_.c_str(), 1);
    unsetenv("QUEL_HOME");
    quelplatform::setHomeDirectory(path_);
    for (const char* folder : {"legends", "multistage", "projects"}) fs::create_directory(path(folder));
  }
  ~Home() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }

  std::string path_;
};

/// A descriptor for the time of a block.
struct OpenFile {
  int descriptor;

  OpenFile(const std::string& path, int flags) : descriptor(open(path.c_str(), flags | O_CLOEXEC, 0644)) {}
  ~OpenFile() {
    if (descriptor >= 0) close(descriptor);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
};

}  // namespace

void require(bool holds, const char* claim) {
  if (!holds) fail(claim);
}

qmWString unitsOf(std::string_view bytes) {
  qmWString units(bytes.size() / 2, u'\0');
  std::memcpy(units.data(), bytes.data(), units.size() * 2);
  return units.substr(0, units.find(u'\0'));
}

qmWString pathOf(std::string_view name) { return toWide(Home::instance().path(name).c_str()); }

qmWString makeFile(std::string_view name, std::string_view content) {
  const OpenFile file(Home::instance().path(name), O_WRONLY | O_CREAT | O_TRUNC);
  const ssize_t written = write(file.descriptor, content.data(), content.size());
  if (written != static_cast<ssize_t>(content.size())) fail("the input can be written to a file");
  return pathOf(name);
}

std::string contentOf(std::string_view name) {
  const OpenFile file(Home::instance().path(name), O_RDONLY);
  struct stat status = {};
  if (file.descriptor < 0 || fstat(file.descriptor, &status) != 0) return {};
  std::string content(static_cast<std::size_t>(status.st_size), '\0');
  const ssize_t size = read(file.descriptor, content.data(), content.size());
  content.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
  return content;
}

void removeFile(std::string_view name) { unlink(Home::instance().path(name).c_str()); }

void makeReadOnly(std::string_view name) { chmod(Home::instance().path(name).c_str(), 0444); }

void makeFolder(std::string_view name) { fs::create_directory(Home::instance().path(name)); }

void removeFolder(std::string_view name) { fs::remove_all(Home::instance().path(name)); }

std::uint64_t Input::take(std::size_t size) {
  std::uint64_t value = 0;
  const std::size_t there = std::min(size, rest_.size());
  std::memcpy(&value, rest_.data(), there);
  rest_.remove_prefix(there);
  return value;
}

std::uint8_t Input::byte() { return static_cast<std::uint8_t>(take(1)); }

std::uint32_t Input::word() { return static_cast<std::uint32_t>(take(4)); }

double Input::real() {
  const std::uint64_t bits = take(8);
  double value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

std::string_view Input::text() {
  const std::string_view text = rest_.substr(0, rest_.find('\0'));
  rest_.remove_prefix(std::min(text.size() + 1, rest_.size()));
  return text;
}

}  // namespace quelfuzz

// Called once by the engine, and by the replayer: the library is set up before the first input.
extern "C" int LLVMFuzzerInitialize(int*, char***);
extern "C" int LLVMFuzzerInitialize(int*, char***) {
  omp_set_num_threads(1);
  quelplatform::setConsoleLogLevel(6);
  quelplatform::enableLogFile(false);
  quelfuzz::pathOf("");
  return 0;
}

// An allocation that is too large gives null, as it does everywhere else; of freed memory little is kept back, so that
// files of claims do not fill the machine.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
  return "allocator_may_return_null=1:quarantine_size_mb=16:detect_leaks=1";
}

// The OpenMP runtime of Clang keeps what it made for its threads.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libomp"; }
extern "C" const char* __lsan_default_options();
extern "C" const char* __lsan_default_options() { return "print_suppressions=0"; }
