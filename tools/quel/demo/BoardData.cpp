#include "demo/BoardData.h"

#include <cstdint>
#include <nlohmann/json.hpp>

#include "files/Failure.h"
#include "files/Files.h"

namespace queltool {

namespace {

constexpr std::uintmax_t kMaxFileSize = 64u << 20;

}  // namespace

std::vector<Corner> readCorners(const std::filesystem::path& file) {
  const std::string text = readWholeFile(file, kMaxFileSize);
  try {
    const nlohmann::json document = nlohmann::json::parse(text);
    std::vector<Corner> corners;
    for (const nlohmann::json& each : document.at("corners")) {
      corners.push_back(
          {each.at("board").get<Vec3>(), each.at("check").get<bool>(), each.at("pixels").get<std::array<Vec2, 3>>()});
    }
    if (corners.size() < 4) throw Failure(file.string() + ": corners: must hold 4 corners or more");
    return corners;
  } catch (const nlohmann::json::exception& bad) {
    throw Failure(file.string() + ": corners: " + bad.what());
  }
}

}  // namespace queltool
