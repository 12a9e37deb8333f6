// Temporary files beside the files that they are to replace, and the removal of those whose writer died.
//
// A temporary file is locked by who writes it, for as long as that one has it open, and so tells of itself whether
// anybody is still at work on it.
#pragma once

#include <sys/types.h>

#include <string>

#include "quelplatform/ground/files/openFile.h"

namespace quelplatform {

/// Makes an empty file of a new name in `directory`, open for writing and locked: `path` is its path. Returns 0 or the
/// `errno` of the failure. Throws std::bad_alloc.
int makeTemporaryFile(const std::string& directory, mode_t mode, std::string& path, Descriptor& file);

/// Gives the file at `temporary` the name `target` unless something has that name (EEXIST); `temporary` is then empty,
/// or, on file systems where that takes two steps, still a name of the file, to be removed. Returns 0 or the `errno` of
/// the failure.
int nameIfAbsent(std::string& temporary, const std::string& target) noexcept;

/// Removes the temporary files in `directory` that nobody has locked any more, as far as this process may list it and
/// remove them. Looks once in a while only where a process writes file upon file in one directory.
void removeAbandonedFiles(const std::string& directory) noexcept;

}  // namespace quelplatform
