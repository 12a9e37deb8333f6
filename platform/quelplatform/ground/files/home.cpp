#include "quelplatform/ground/files/home.h"

#include <pwd.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <vector>

#include "quelplatform/ground/files/Lasting.h"

namespace quelplatform {

namespace {

/// The home directory that the application set, if any.
struct ChosenHome {
  std::mutex mutex;
  std::string path;
  std::atomic<std::uint64_t> generation{0};
};

ChosenHome& chosenHome() noexcept {
  static Lasting<ChosenHome> home;  // The log asks for it until the very end.
  return home.get();
}

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

std::string userDirectory() {
  std::string home = environment("HOME");
  if (home.starts_with('/')) return home;  // A relative one would be another place for each working directory.
  passwd entry{};
  passwd* found = nullptr;
  std::vector<char> buffer(16384);
  if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) return {};
  const std::string directory = found->pw_dir == nullptr ? "" : found->pw_dir;
  return directory.starts_with('/') ? directory : std::string();
}

std::string environmentHome() {
  std::string home = environment("QUEL_HOME");
  if (!home.empty()) return home;
  home = environment("XDG_DATA_HOME");
  // A relative XDG_DATA_HOME is invalid and to be ignored, by the rules of those who define the variable.
  if (home.starts_with('/')) return home + "/quelmetra";
  home = userDirectory();
  return home.empty() ? home : home + "/.local/share/quelmetra";
}

}  // namespace

void chooseHome(const std::string& path) {
  ChosenHome& home = chosenHome();
  const std::lock_guard lock(home.mutex);
  home.path = path;
  ++home.generation;
}

std::string homePath() {
  ChosenHome& home = chosenHome();
  {
    const std::lock_guard lock(home.mutex);
    if (!home.path.empty()) return home.path;
  }
  return environmentHome();
}

std::uint64_t homeGeneration() noexcept { return chosenHome().generation.load(); }

std::string homeFile(const std::string& name) {
  std::string path = homePath();
  if (path.empty()) return path;
  if (!path.ends_with('/')) path += '/';
  return path + name;
}

}  // namespace quelplatform
