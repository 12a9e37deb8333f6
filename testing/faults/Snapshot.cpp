#include "testing/faults/Snapshot.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>
#include <stdexcept>
#include <string_view>

namespace quel::faults {

namespace fs = std::filesystem;

namespace {

bool isLeftover(const fs::path& path) { return path.filename().string().starts_with(".quel-"); }

std::string contentOf(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// When a file was written is another thing at each trial.
std::string withoutTimes(const std::string& content) {
  static const std::regex times("(LastUpdate|TimeStamp)=\"[^\"]*\"");
  return std::regex_replace(content, times, "$1");
}

// What stands where one text begins to differ from another, in printable letters.
std::string beginOfDifference(const std::string& text, const std::string& other) {
  constexpr std::size_t kShown = 24;
  const auto at = std::mismatch(text.begin(), text.end(), other.begin(), other.end()).first;
  std::string shown = std::to_string(at - text.begin()) + " on: ";
  for (const char c : text.substr(static_cast<std::size_t>(at - text.begin()), kShown)) {
    shown.push_back(c >= ' ' && c <= '~' ? c : '.');
  }
  return shown;
}

template <typename Visit>
void visitFiles(const fs::path& directory, Visit visit) {
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(directory)) {
    const std::string name = entry.path().lexically_relative(directory).string();
    if (entry.is_regular_file() && !std::string_view(name).starts_with("log/")) visit(entry.path(), name);
  }
}

}  // namespace

Snapshot snapshotOf(const fs::path& directory) {
  Snapshot result;
  visitFiles(directory, [&](const fs::path& path, const std::string& name) {
    if (!isLeftover(path)) result[name] = contentOf(path);
  });
  return result;
}

void restore(const fs::path& directory, const Snapshot& snapshot) {
  for (const fs::directory_entry& entry : fs::directory_iterator(directory)) fs::remove_all(entry.path());
  for (const auto& [name, content] : snapshot) {
    fs::create_directories((directory / name).parent_path());
    std::ofstream out(directory / name, std::ios::binary);
    out << content;
    if (!out.flush()) throw std::runtime_error("cannot write " + name);
  }
}

std::string leftovers(const fs::path& directory) {
  std::string result;
  visitFiles(directory, [&](const fs::path& path, const std::string& name) {
    if (isLeftover(path) && path.extension() == ".tmp") result += name + " ";
  });
  return result;
}

bool areSame(const Snapshot& a, const Snapshot& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& one, const auto& other) {
    return one.first == other.first &&
           (one.second == other.second || withoutTimes(one.second) == withoutTimes(other.second));
  });
}

std::string difference(const Snapshot& a, const Snapshot& b) {
  std::string result;
  for (const auto& [name, content] : a) {
    const auto other = b.find(name);
    if (other == b.end()) {
      result += name + " is missing; ";
    } else if (other->second != content) {
      result += name + " differs (" + std::to_string(other->second.size()) + " instead of " +
                std::to_string(content.size()) + " bytes, from " + beginOfDifference(other->second, content) + "); ";
    }
  }
  for (const auto& [name, content] : b) {
    if (!a.contains(name)) result += name + " is too many; ";
  }
  return result;
}

}  // namespace quel::faults
