// The home directory as the platform's own parts see it.
#pragma once

#include <cstdint>
#include <string>

namespace quelplatform {

/// Native path of the file `name` of the home directory; empty when there is no home directory.
std::string homeFile(const std::string& name);

/// Grows whenever `setHomeDirectory` is called, so that what was opened in the old home can tell.
std::uint64_t homeGeneration() noexcept;

}  // namespace quelplatform
