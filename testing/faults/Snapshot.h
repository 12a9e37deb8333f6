// The files below a directory as values.
#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace quel::faults {

/// Contents by path below the directory. Left out: the log, locks and what writers were still making.
using Snapshot = std::map<std::string, std::string>;

Snapshot snapshotOf(const std::filesystem::path& directory);

/// Makes the directory hold just these files.
void restore(const std::filesystem::path& directory, const Snapshot& snapshot);

/// Names of unfinished files below the directory. A lock file that nobody holds hinders nobody.
std::string leftovers(const std::filesystem::path& directory);

/// Whether the same files have the same contents, but for the times that some name.
bool areSame(const Snapshot& a, const Snapshot& b);

/// Where two snapshots differ, for messages.
std::string difference(const Snapshot& a, const Snapshot& b);

}  // namespace quel::faults
