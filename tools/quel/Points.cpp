#include "quel/Points.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <string>

#include "quel/Failure.h"
#include "quel/Files.h"
#include "quel/Ply.h"

namespace quel {

namespace {

constexpr std::uintmax_t kMaxFileSize = std::uintmax_t{4} << 30;

bool isSeparator(char c) { return c == ' ' || c == '\t' || c == '\r' || c == ',' || c == ';'; }

std::optional<Vec3> threeNumbers(std::string_view line) {
  Vec3 point{};
  const char* at = line.data();
  const char* const end = line.data() + line.size();
  for (double& value : point) {
    while (at != end && isSeparator(*at)) ++at;
    if (at != end && *at == '+') ++at;
    const auto [behind, error] = std::from_chars(at, end, value);
    if (error != std::errc() || (behind != end && !isSeparator(*behind))) return std::nullopt;
    at = behind;
  }
  return point;
}

}  // namespace

Result<std::vector<Vec3>> parseTextPoints(std::string_view content) {
  std::vector<Vec3> points;
  std::size_t number = 0;
  bool first = true;
  for (std::size_t at = 0; at < content.size();) {
    const std::size_t end = std::min(content.find('\n', at), content.size());
    std::string_view line = content.substr(at, end - at);
    at = end + 1;
    ++number;
    while (!line.empty() && isSeparator(line.front())) line.remove_prefix(1);
    if (line.empty() || line.front() == '#') continue;
    const std::optional<Vec3> point = threeNumbers(line);
    if (point) {
      points.push_back(*point);
    } else if (!first) {
      return Error{fmt::format("line {}: must begin with three numbers, and is \"{}\"", number, line.substr(0, 40))};
    }
    first = false;
  }
  if (points.empty()) return Error{"holds no points; give a PLY file, or text with x, y and z in each line"};
  return points;
}

std::vector<Vec3> readPoints(const std::filesystem::path& file) {
  const std::string content = readWholeFile(file, kMaxFileSize);
  Result<std::vector<Vec3>> points = looksLikePly(content) ? parsePly(content) : parseTextPoints(content);
  if (!points) throw Failure(file.string() + ": " + points.error());
  return std::move(points.value());
}

}  // namespace quel
