// Standard output, which a command may need for its data, and whose end is checked.
#pragma once

#include <string_view>

namespace queltool {

/// From now on standard output is for `writeData` alone: what is printed goes to standard error. Throws `Failure`.
void keepStandardOutputForData();

/// Writes to standard output. Throws `Failure`.
void writeData(std::string_view data);

/// Sends all that was printed on its way; throws `Failure` where it did not arrive, as on a full disk.
void finishStandardOutput();

}  // namespace queltool
