// Operation files: what a project has been through.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "quel/base/Result.h"

namespace quel {

#pragma GCC visibility push(default)

/// One operation; texts are as they stand in the file.
struct Operation {
  std::string id;
  std::string type;   ///< "COP", or "Unknown" for a type that is not known.
  std::string tiles;  ///< Numbers, each followed by a blank.
};

/// What an operation file holds, in its order.
struct OperationList {
  std::string version;
  std::vector<Operation> operations;
};

/// Reads `file`. Fails, with file and cause, when it is no operation file.
Result<OperationList> readOperations(const std::filesystem::path& file);

#pragma GCC visibility pop

}  // namespace quel
