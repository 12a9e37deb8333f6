// What an operations file lists.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace queltool {

/// Texts are as they stand in the file.
struct ListedOperation {
  std::string id;
  std::string type;
  std::string tiles;
};

struct OperationsFile {
  std::string version;
  std::vector<ListedOperation> operations;
};

/// Throws `Failure`.
OperationsFile readOperations(const std::filesystem::path& file);

}  // namespace queltool
