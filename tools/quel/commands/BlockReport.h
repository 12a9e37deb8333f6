// What `quel info` tells of a block: for people, and for machines.
#pragma once

#include <string>
#include <vector>

#include "files/Json.h"
#include "models/Health.h"
#include "quelcore/records/qmReconsTensorData.h"

namespace queltool {

/// What a block says, in the words of people; values may have several lines.
struct BlockRow {
  std::string name;
  std::string value;
};

using BlockRows = std::vector<BlockRow>;

BlockRows identityRows(const tag_qmReconsTensorData& tensor);
BlockRows headRows(const tag_qmReconsTensorData& tensor);
BlockRows cameraRows(const tag_qmReconsTensorData& tensor, int camera);

/// Prints every group of the tensor and the findings of its checks.
void printBlock(const tag_qmReconsTensorData& tensor, const std::vector<Check>& checks);

/// The same with every number in full.
Json jsonOfBlock(const tag_qmReconsTensorData& tensor, const std::vector<Check>& checks);

/// A projection taken apart.
struct View {
  double k[3][3];
  double kInverse[3][3];
  double r[3][3];
  double t[3];
  bool valid;
};

View viewOf(const tag_qmReconsTensorData& tensor, int camera);

}  // namespace queltool
