#include "quel/cameras/HeadLuts.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "quel/cameras/Distortion.h"
#include "quelcore/blocks/QmBlockNames.h"

namespace quel {

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

// The grid reaches this share of the image's size beyond it, since ideal pixels of what is seen lie outside the image.
constexpr double kMargin = 0.5;
constexpr std::int32_t kLutType = 0;

quelplatform::LutGrid gridFor(const Camera& camera, const tag_qmReconsTensorData& tensor, const LutOptions& options) {
  quelplatform::LutGrid grid{};
  grid.lutVersion = options.lutVersion;
  const double size[2] = {static_cast<double>(camera.width), static_cast<double>(camera.height)};
  std::int32_t cells[2] = {};
  for (std::size_t i = 0; i < 2; ++i) {
    grid.origin[i] = -kMargin * size[i];
    grid.pitch[i] = options.pitch;
    cells[i] = static_cast<std::int32_t>(std::ceil((1.0 + 2.0 * kMargin) * size[i] / options.pitch)) + 1;
  }
  grid.columns = cells[0];
  grid.rows = cells[1];
  const double half = 1.5 * tensor.reconstBoxHalfSizeZ;
  for (std::int32_t layer = 0; layer < options.layers; ++layer) {
    const double share = options.layers == 1 ? 0.0 : 2.0 * layer / (options.layers - 1) - 1.0;
    grid.depths.push_back(static_cast<float>(tensor.reconstBoxCenterZ + share * half));
  }
  return grid;
}

quelplatform::LutDisplacement restOf(const Camera& camera, const tag_qmDistortParams& weak) {
  return [&camera, &weak](double x, double y, double, float displacement[2]) {
    const Vec2 ideal = {x, y};
    double polynomial[2] = {kNan, kNan};
    if (oneToOneAt(camera, ideal)) qmDistortDistortOnePt(ideal.data(), &weak, nullptr, polynomial);
    const Vec2 full = distortedPixel(camera, ideal);
    for (std::size_t i = 0; i < 2; ++i) displacement[i] = static_cast<float>(full[i] - polynomial[i]);
  };
}

}  // namespace

bool giveLuts(MadeHead& head, std::size_t i, const HeadOptions& options, const tag_qmDistortParams& params,
              const quelplatform::LutGrid& grid, const quelplatform::LutDisplacement& displacement) {
  std::string id;
  GetLutsId(options.machineId.c_str(), options.blockNumber, kLutType, static_cast<std::int32_t>(i), id);
  head.tensor.distortParams[i] = head.tensor.distortParams2[i] = params;
  head.luts[i].reset(quelplatform::makeDistortLuts(id, grid, displacement));
  if (!head.luts[i]) return false;
  head.tensor.distortParams[i].luts = head.luts[i].get();
  head.tensor.distortLutsInfo[i].useLut = 1;
  std::copy(id.begin(), id.end(), head.tensor.distortLutsInfo[i].lutId);
  return true;
}

bool moveIntoLuts(MadeHead& head, const Camera& camera, std::size_t i, const HeadOptions& options) {
  const tag_qmDistortParams params = weakDistortion(camera, head.distortion[i]);
  return giveLuts(head, i, options, params, gridFor(camera, head.tensor, *options.luts), restOf(camera, params));
}

}  // namespace quel
