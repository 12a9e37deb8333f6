// The home directory, which files are read from and written to unless they are told otherwise.
#pragma once

#include <cstdint>
#include <string>

namespace quelplatform {

/// Makes `path` (UTF-8) the home directory of this process; empty text goes back to the environment's.
void chooseHome(const std::string& path);

/// The home directory in force (UTF-8): the chosen one, else QUEL_HOME, else $XDG_DATA_HOME/quelmetra, else
/// ~/.local/share/quelmetra; empty when there is none. Nothing is created.
std::string homePath();

/// Native path of the file `name` of the home directory; empty when there is no home directory.
std::string homeFile(const std::string& name);

/// Grows whenever `chooseHome` is called, so that what was opened in the old home can tell.
std::uint64_t homeGeneration() noexcept;

}  // namespace quelplatform
