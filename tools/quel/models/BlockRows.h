// What a block says, in the words of people.
#pragma once

#include <string>
#include <vector>

#include "quelcore/records/qmReconsTensorData.h"

namespace queltool {

/// A value may have several lines.
struct BlockRow {
  std::string name;
  std::string value;
};

using BlockRows = std::vector<BlockRow>;

BlockRows identityRows(const tag_qmReconsTensorData& tensor);
BlockRows headRows(const tag_qmReconsTensorData& tensor);
BlockRows cameraRows(const tag_qmReconsTensorData& tensor, int camera);

/// Three numbers to four decimals, without the sign of a zero.
std::string threeNumbers(const double (&v)[3], const char* unit);

}  // namespace queltool
