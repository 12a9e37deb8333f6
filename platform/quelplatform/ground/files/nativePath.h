// From the system's wide paths to paths of the operating system.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quelplatform {

/// True for the two characters that separate in a wide path: '\' and '/'.
constexpr bool isSeparator(char16_t unit) { return unit == u'\\' || unit == u'/'; }

/// Where the name in a wide path begins: behind its last separator.
constexpr std::size_t startOfName(std::u16string_view path) { return path.find_last_of(u"\\/") + 1; }

/// The path of the operating system, UTF-8, for a wide path. Both separators become '/'. A path that begins with '\' is
/// rooted in the home directory; one that begins with '/' is absolute as it stands. Empty, which no file answers to,
/// for the empty path and for a path rooted in the home directory when there is none.
std::string nativePath(std::u16string_view path);

/// The directory part of a path of the operating system: "." for a bare name, "/" for a name in the root.
std::string directoryOf(const std::string& path);

/// True for a directory of the operating system that is there.
bool isDirectory(const std::string& path);

/// Makes a directory and its parents. Returns 0, or the `errno` of the failure; 0 for a directory that is there.
int makeDirectories(const std::string& path);

/// Makes the home directory if `path` lies in it and it is not there yet. True when it was made.
bool makeHomeOf(const std::string& path);

/// Makes the directory of `path` if that lies in the home directory and is not there yet. Who opens a file there finds
/// out whether it could be made.
void makeFolderInHome(const std::string& path);

}  // namespace quelplatform
