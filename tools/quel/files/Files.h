// Files and folders as the subcommands use them. Everything here throws `Failure` with the file's name and the reason.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace queltool {

/// Makes `folder` and its parents unless it is there.
void makeFolder(const std::filesystem::path& folder);

/// Writes `content` as the whole of `file`, whose rights stay: a failure, or a stop, leaves the old file or none. A
/// link stands for what it leads to; what is there and no regular file, such as a terminal, is written to as it stands.
void writeWholeFile(const std::filesystem::path& file, std::string_view content);

/// True for a file that is replaced as a whole, false for what is there and no regular file. Throws `Failure` for a
/// path that the libraries would take for another one.
bool isReplacedWhole(const std::filesystem::path& file);

/// The whole content of a regular file of at most `limit` bytes.
std::string readWholeFile(const std::filesystem::path& file, std::uintmax_t limit);

/// The same, also of a pipe, or of standard input for `-`.
std::string readInput(const std::filesystem::path& file, std::uintmax_t limit);

/// Refuses a regular file of more than `limit` bytes.
void refuseLarger(const std::filesystem::path& file, std::uintmax_t limit);

/// The wide form of a path, as the libraries take it.
std::u16string widePath(const std::filesystem::path& path);

}  // namespace queltool
