// Files and folders as the subcommands use them. Everything here throws `Failure` with the file's name and the reason.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace queltool {

/// Makes `folder` and its parents unless it is there.
void makeFolder(const std::filesystem::path& folder);

/// Writes `content` beside `file` and renames it over `file`, so that a failure leaves the old file.
void writeWholeFile(const std::filesystem::path& file, std::string_view content);

/// The whole content of a regular file of at most `limit` bytes.
std::string readWholeFile(const std::filesystem::path& file, std::uintmax_t limit);

/// The wide form of a path, as the libraries take it.
std::u16string widePath(const std::filesystem::path& path);

}  // namespace queltool
