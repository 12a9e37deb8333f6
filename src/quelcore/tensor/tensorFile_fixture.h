// A tensor file with known contents, for the tests that read one.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "quelcore/tensor/QmReconsTensorIO.h"
#include "quelcore/tensor/qmReconsTensorLifecycle.h"
#include "testing/SampleHead.h"
#include "testing/TempHome.h"
#include "testing/TensorFile.h"

namespace quel::testing {

/// A record that a test loads into, released at the end.
class Loaded {
 public:
  Loaded() { qmTensorInit(&tensor_); }
  ~Loaded() { qmTensorDestruct(&tensor_); }
  Loaded(const Loaded&) = delete;
  Loaded& operator=(const Loaded&) = delete;

  tag_qmReconsTensorData* operator&() { return &tensor_; }
  tag_qmReconsTensorData* operator->() { return &tensor_; }
  const tag_qmReconsTensorData& operator*() const { return tensor_; }

 private:
  tag_qmReconsTensorData tensor_;
};

class TensorFileTest : public ::testing::Test {
 protected:
  TensorFileTest() {
    fillPreservedFields(content());
    content().ohType = 4;
    content().lensType = 35.0;
    content().workingDistance = 1111.0;
    content().ccdPixelSize = 0.0085;
    useLut(content().distortLutsInfo[0], "ABCD12340000000007000");
    useLut(content().distortLutsInfo[2], "X");
    useLut(content().distortLutsInfo2[1], "ABCD12340000000007101");
    content().distortParams[1].distortExtra[4] = 0.5;
    for (int i = 0; i < 3; ++i) {
      content().distortParams[i].distortOption = 3;
      content().distortParams2[i] = content().distortParams[i];
    }
  }

  static void useLut(tag_qmDistortLutsInfo& info, const char* id) {
    std::memset(&info, 0, sizeof(info));
    info.useLut = 1;
    std::strncpy(info.lutId, id, LUT_ID_SIZE - 1);
  }

  tag_qmReconsTensorData& content() { return *head_.tensor(); }
  std::string path() const { return (dir_.path() / "block.tns").string(); }
  std::u16string widePath() const { return dir_.wide("block.tns"); }

  std::int32_t load(const std::string& bytes, Loaded& loaded, std::int32_t force = 0) {
    writeFile(path(), bytes);
    return qmTensorDataForceLoad(widePath().c_str(), &loaded, force);
  }

  SampleHead head_;
  TempDir dir_;
};

}  // namespace quel::testing
