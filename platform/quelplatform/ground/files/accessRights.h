// Who may do what with a file, and how a file that takes another's place, or serves those of a folder, is given no
// more.
#pragma once

#include <sys/stat.h>

#include <string>

namespace quelplatform {

/// The bits of a mode that are rights. What makes a program run as its owner is never handed on: who writes a file has
/// not been trusted with the name of its owner.
inline constexpr mode_t kRights = 0777;

/// Gives the new, empty file `descriptor`, which nobody but its owner may use yet, the owner, group, rights and access
/// list of the file at `path` that it is to replace, which `old` describes. Where this process may not give it the
/// owner it stays its own: the content is, too. Returns 0, or the `errno` of a failure: EPERM where somebody could do
/// more with the new file than with the old, which is where it cannot have the old group and the rights of the group
/// are not those of all others, or there is an access list; and where the file system does not take the rights away.
int takeOverRights(int descriptor, const std::string& path, const struct stat& old) noexcept;

/// Lets those read and write the new, empty file `descriptor` who may write in `folder`, and nobody else; its owner in
/// any case. As far as the file system has rights.
void followFolder(int descriptor, const std::string& folder) noexcept;

}  // namespace quelplatform
