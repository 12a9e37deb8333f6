// Point clouds and the points of meshes, in and out.
//
// Read are PLY, PCD, STL, OBJ, OFF, PTS and XYZ files and text with x, y and z in each line (see TextTable.h), by their
// content; of meshes the corners. Numbers are taken as they stand, or in the unit that the caller says, but for lengths
// of a text whose names have a unit: these become millimetres. Nothing is allocated by a count that a file's own size
// does not bear out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "quel/base/Result.h"
#include "quel/base/Vectors.h"
#include "quel/geometry/Colour.h"

namespace quel {

#pragma GCC visibility push(default)

/// Csv and Xyz are text.
enum class CloudFormat { Ply, Csv, Pcd, Stl, Obj, Off, Pts, Xyz };

/// All of them, in the order in which messages name them.
std::span<const CloudFormat> cloudFormats();

/// The ending without its point, such as "ply".
const char* nameOf(CloudFormat format);

/// What a file of the format is called in a sentence: "a PLY file", "a text".
const char* titleOf(CloudFormat format);

/// True for the formats that are lines of numbers, with or without names of their columns.
inline bool isText(CloudFormat format) { return format == CloudFormat::Csv || format == CloudFormat::Xyz; }

/// Which columns of a text hold x, y and z: three names, or places from 1 on. Nothing for the usual ones.
struct CloudColumns {
  std::vector<std::string> chosen = {};
  const char* choice = "columns";  ///< What who reads an error gives them by.
};

struct ReadCloudOptions {
  std::optional<CloudFormat> format = {};  ///< Where nothing is said, content and then name tell.
  CloudColumns columns = {};
  double millimetresPerUnit = 1.0;  ///< Of coordinates whose unit the file does not tell.
  std::function<void(std::uint64_t done, std::uint64_t size)> progress = {};  ///< Is told how many bytes were read.
};

/// The format of a cloud whose first bytes are `begin` (64 KiB of them suffice) and that has `size` bytes in all;
/// `ending` is that of its name (".ply"), which counts where the content tells nothing. Fails for what is no cloud that
/// is read, and says what it is where that is known.
Result<CloudFormat> cloudFormatOf(std::string_view begin, std::uint64_t size, const std::string& ending = "");
Result<CloudFormat> cloudFormatOf(const std::filesystem::path& file);

/// The N points of a file: a regular one, which is read bit by bit, or a pipe. Fails, with file, place and cause, when
/// it is missing, cannot be read, is no cloud, is damaged, holds no points and is text, or columns are chosen and it is
/// none.
Result<std::vector<Vec3>> readCloud(const std::filesystem::path& file, const ReadCloudOptions& options = {});

/// The same of a content in a format, whose coordinates are taken times `millimetresPerUnit` unless it tells their
/// unit.
Result<std::vector<Vec3>> parseCloud(std::string_view content, CloudFormat format, const CloudColumns& columns = {},
                                     double millimetresPerUnit = 1.0);

/// What goes with the points of a cloud that is written.
struct CloudExtras {
  /// A value of each point, under a name.
  struct Values {
    std::string name;
    std::span<const double> values;
  };
  std::vector<Values> values = {};
  std::span<const Colour> colours = {};  ///< One for each point, or none.
};

/// Writes N points to `file`: a binary little-endian PLY file for the ending .ply (x, y, z as doubles, then red, green
/// and blue as bytes, then the values as doubles), CSV with a line of names for .csv (no colours; NaN is an empty
/// field). The file takes its place as a whole: a failure leaves the old one. Fails, with file and cause, for another
/// ending, arrays of other lengths than the points, a name that is empty, stands twice or holds more than letters,
/// digits and '_', and where the file cannot be written.
Result<void> writeCloud(const std::filesystem::path& file, std::span<const Vec3> points,
                        const CloudExtras& extras = {});

/// The header of a binary little-endian PLY file of `count` elements "vertex" whose properties are doubles of these
/// names.
std::string plyHeader(const std::vector<std::string>& names, std::size_t count);

#pragma GCC visibility pop

}  // namespace quel
