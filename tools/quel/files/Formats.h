// The formats of the files that the subcommands read and write, by their endings.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace queltool {

enum class Format { Csv, Ply, Png, Svg, Xml, Pcd, Stl, Obj, Off, Pts, Xyz };

/// The name of a format: its ending without the point.
const char* nameOf(Format format);

/// The names of formats in a row, "csv, ply or png".
std::string namesOf(const std::vector<Format>& formats);

/// The ending of a file's name in small letters, with its point; empty where it has none.
std::string endingOf(const std::filesystem::path& file);

/// The one of `formats` that `name` is the name of, whatever the case of its letters.
std::optional<Format> formatNamed(const std::string& name, const std::vector<Format>& formats);

/// The one of `formats` that the ending of `file` says.
std::optional<Format> formatByEnding(const std::filesystem::path& file, const std::vector<Format>& formats);

}  // namespace queltool
