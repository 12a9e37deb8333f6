// Tensor files as applications load them: by the class, with the LUT file beside. Input: a file.
#include <array>
#include <cmath>
#include <cstring>

#include "fuzz/support/Fuzzing.h"
#include "fuzz/support/TensorTrip.h"
#include "quelcore/blocks/QmBlockNames.h"
#include "quelcore/tensor/QmReconsTensor.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"

namespace {

/// The LUT file of the block QUEL0001-1, with a small set for each camera.
void makeLutsFile() {
  DistortLutsManager::LutList list;
  for (int camera = 0; camera < 3; ++camera) {
    const quelplatform::LutGrid grid = {{0, 0}, {512, 512}, 2, 2, {0.0F}, 1 + camera};
    std::string id;
    GetLutsId("QUEL0001", 1, 0, camera, id);
    list.emplace_back(id, quelplatform::makeDistortLuts(id, grid, [](double, double, double, float displacement[2]) {
                        displacement[0] = 0.25F;
                        displacement[1] = -0.5F;
                      }));
  }
  qmWString name;
  GetLutsFileName("QUEL0001", 1, name);
  const bool stored = DistortLutsManager::storeLutsFile(list, (quelfuzz::pathOf("") + name).c_str(), false);
  quelfuzz::require(stored, "the LUT file can be made");
  DistortLutsManager::getManager().releaseAllDistortLuts();
}

std::uint64_t bitsOf(double value) {
  std::uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

/// Where a head sees a point, as bits; with the result.
std::array<std::uint64_t, 9> viewOf(const QmReconsTensor& head) {
  std::array<std::uint64_t, 9> view = {};
  for (int camera = 0; camera < 3; ++camera) {
    const double point[3] = {10.0, 20.0, 5.0};
    double pixel[2] = {};
    view[3 * camera] = qmRTProjectPointtoImage(head, point, camera, PROJECT_EXACT_OR_WITHOUT_DEPTH, pixel);
    for (int axis = 0; axis < 2; ++axis) {
      view[3 * camera + 1 + axis] = std::isnan(pixel[axis]) ? 0 : bitsOf(pixel[axis]);
    }
  }
  return view;
}

/// Files that are not there, and calls without one.
void requireRefusals() {
  QmReconsTensor head;
  const qmWString nowhere = quelfuzz::pathOf("nowhere/head.tns");
  quelfuzz::require(!head.LoadFromFile(nullptr) && !head.LoadFromFile(nowhere.c_str()), "no file is loaded");
  quelfuzz::require(!head.LoadFromFile(quelfuzz::pathOf("legends").c_str(), nowhere.c_str()), "a folder is no file");
  quelfuzz::require(!head.LoadFromFile(u"no head.tns") && !head.LoadFromFile(u"/"), "nor is one that is not there");
  quelfuzz::require(!head.StoreToFile(nullptr) && !head.StoreToFile(nowhere.c_str()), "no file is stored");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quelfuzz::atFirst([] {
    makeLutsFile();
    requireRefusals();
  });
  const std::string bytes = quelfuzz::withTinyImages(quelfuzz::bytesOf(data, size));
  const qmWString path = quelfuzz::makeFile("QUEL0001-1.tns", bytes);
  QmReconsTensor head;
  bool loaded = false;
  {
    const quelfuzz::MemoryWatch watch;
    loaded = head.LoadFromFile(path.c_str());
    watch.requireAtMost(quelfuzz::kTimesFile, 4, size);
  }
  if (!loaded) return 0;
  const auto view = viewOf(head);
  QmReconsTensor copy(head);
  quelfuzz::requireTensorTrip(bytes, copy);
  quelfuzz::require(viewOf(copy) == view, "a copy projects as its source");
  return 0;
}
