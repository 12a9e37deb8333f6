// The numbers of setups that a site works with: SetupMap.txt of the home directory, seen through QmSetupNumbersManager.
//
// Every change is read back from the file before it counts as done. Everything here throws `Failure` with the file's
// name and the reason.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace queltool {

struct ListedSetup {
  std::int32_t number;
  std::int32_t cycle;  ///< -1: none.
  std::string path;

  bool operator==(const ListedSetup&) const = default;
};

/// What a change sets; nothing where a value stays.
struct SetupChange {
  std::optional<std::int32_t> number;
  std::optional<std::int32_t> cycle;
  std::optional<std::string> path;
};

/// Numbers that a setup may have: those below are reserved, those above would not be read back.
inline constexpr std::int32_t kFirstSetupNumber = 3;
inline constexpr std::int32_t kLastSetupNumber = 999999999;

/// Where the map is kept.
std::filesystem::path setupMapFile();

/// The map in its order; empty where nobody has made one yet.
std::vector<ListedSetup> listSetups();

void addSetup(const ListedSetup& setup);
void updateSetup(std::int32_t number, const SetupChange& change);
/// Removes every line of that number.
void removeSetup(std::int32_t number);

/// What keeps `path` from standing in the map; empty when nothing does.
std::string whyNoSetupPath(const std::string& path);

}  // namespace queltool
