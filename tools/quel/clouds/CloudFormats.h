// The formats of clouds that are read, and how a file tells which it has.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "files/Bytes.h"
#include "files/Formats.h"
#include "files/Values.h"

namespace queltool {

/// All of them, in the order in which messages name them. Csv and Xyz are text (see TextRows.h).
const std::vector<Format>& cloudFormats();

/// What the points of the format are called in a sentence, as in "scan.ply is a PLY file".
const char* titleOf(Format format);

/// The format of the cloud that `bytes` begin with, by their content; where that tells nothing, by `ending`, which the
/// name of the file has. Throws `Error` where it is none that is known, with the name of one that is known but not
/// read.
Format formatOfCloud(Bytes& bytes, const std::string& ending);

/// The points of a cloud in that format, which is not text. Throws `Error`, which says where it is damaged.
std::vector<Vec3> readCloud(Bytes& bytes, Format format);

/// The same of a content; the error is that of `readCloud`.
Result<std::vector<Vec3>> parseCloud(std::string_view content, Format format);

/// True for the formats that are lines of numbers, with or without names of their columns.
inline bool isText(Format format) { return format == Format::Csv || format == Format::Xyz; }

}  // namespace queltool
