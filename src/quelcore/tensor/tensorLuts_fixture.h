// A tensor file with a LUT file beside it, for the tests of a tensor's LUTs.
#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "quelcore/tensor/DistortLuts.h"
#include "quelcore/tensor/QmReconsTensor.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"
#include "quelplatform/qmEnv/qmText.h"
#include "quelplatform/qmMath/qmMath.h"
#include "testing/SampleHead.h"
#include "testing/TempHome.h"
#include "testing/TensorFile.h"

namespace quel::testing {

inline constexpr const char* kId0 = "ABCD12340000000007000";
inline constexpr const char* kId2 = "ABCD12340000000007002";
inline constexpr const char* kId101 = "ABCD12340000000007101";

inline void setLut(tag_qmDistortLutsInfo& info, const std::string& id) {
  std::memset(&info, 0, sizeof(info));
  info.useLut = 1;
  id.copy(info.lutId, LUT_ID_SIZE - 1);
}

/// Writes a LUT file with one set per identifier, whose displacement in x is 1, 2, 3 ... pixels everywhere.
inline void writeLuts(const std::u16string& path, const std::vector<std::string>& ids, std::int32_t lutVersion = 2,
                      bool firstCellNaN = false) {
  DistortLutsManager::LutList list;
  float shift = 0.0F;
  for (const std::string& id : ids) {
    shift += 1.0F;
    const quelplatform::LutGrid grid = {{-1000.0, -1000.0}, {100.0, 100.0}, 40, 35, {-1000.0F, 1000.0F}, lutVersion};
    list.emplace_back(id, quelplatform::makeDistortLuts(id, grid, [&](double x, double, double, float d[2]) {
                        d[0] = firstCellNaN && x == -1000.0 ? std::numeric_limits<float>::quiet_NaN() : shift;
                        d[1] = 0.0F;
                      }));
  }
  ASSERT_TRUE(DistortLutsManager::storeLutsFile(list, path.c_str(), true));
  DistortLutsManager::getManager().releaseAllDistortLuts();
}

class TensorLutsTest : public ::testing::Test {
 protected:
  TensorLutsTest() {
    fillPreservedFields(content());
    const double identity[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
    qmMathCopyMat4ToMat4(identity, content().lutFrameTransform);
    setLut(content().distortLutsInfo[0], kId0);
    setLut(content().distortLutsInfo[2], kId2);
    setLut(content().distortLutsInfo2[1], kId101);
    writeTensor();
    writeLuts(dir_.wide("ABCD1234-7.lut"), {kId0, kId2, kId101});
  }
  ~TensorLutsTest() override { releaseAllDistortLuts(); }

  tag_qmReconsTensorData& content() { return *head_.tensor(); }
  void writeTensor() { writeFile(dir_.path() / "block.tns", tensorFileBytes(content(), -17)); }
  std::u16string tensorFile() const { return dir_.wide("block.tns"); }
  /// The bits of what every camera sees of some points, in every way of applying its distortion.
  std::vector<std::uint64_t> projectedBits(const QmReconsTensor& tensor) const {
    std::vector<std::uint64_t> bits;
    for (const double at : {-0.3, 0.0, 0.2}) {
      const quel::Vec3 point = head_.point(at, 0.5 * at + 0.1, at * at);
      for (int camera = 0; camera < 3; ++camera) {
        for (int mode = PROJECT_PINHOLE; mode <= PROJECT_FAST_WITHOUT_DEPTH; ++mode) {
          double pixel[2] = {0.0, 0.0};
          EXPECT_EQ(
              qmRTProjectPointtoImage(tensor, point.data(), camera, static_cast<_ProjectDistortMode>(mode), pixel), 1);
          for (const double coordinate : pixel) bits.push_back(std::bit_cast<std::uint64_t>(coordinate));
        }
      }
    }
    return bits;
  }

  std::string lutsFile() const { return toNarrow(dir_.path().u16string() + u"\\ABCD1234-7.lut"); }

  TempHome home_;
  TempDir dir_;
  SampleHead head_;
};

}  // namespace quel::testing
