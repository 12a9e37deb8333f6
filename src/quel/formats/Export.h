// The cameras of a head as other programs read them.
//
//   json     cameras.json, which this library reads: every lens as it is, but LUTs
//   opencv   NAME.yml for each camera, with R and T from the head's world, and stereo-0-1.yml and stereo-0-2.yml
//   ros      NAME.yaml for each camera, and poses.json beside them
//   mrcal    NAME.cameramodel for each camera
//   kalibr   camchain.yaml
//   colmap   cameras.txt, images.txt and an empty points3D.txt
//
// Lengths are millimetres, metres for mrcal and Kalibr. What a format holds exactly is written exactly; what it does
// not hold (LUTs, distortion from distorted to ideal pixels, skew, the further coefficients) is fitted, over the image,
// by the fewest coefficients of the format that come within 0.005 px.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "quel/base/Result.h"
#include "quel/formats/Import.h"
#include "quel/head/Head.h"

namespace quel {

#pragma GCC visibility push(default)

struct ExportOptions {
  std::vector<std::string> names = {};  ///< Of the three cameras; else the head's.
  bool allowResidual = false;           ///< A fit may be worse than 0.005 px.
};

struct ExportedCameras {
  std::vector<NamedText> files;      ///< Their names alone, without a folder.
  std::vector<std::string> remarks;  ///< How each lens was written, a sentence each.
  double residualPx = 0.0;           ///< The largest error of a fit; 0 where all is exact.
};

/// The files of `format` for `head`. Fails when the head holds no projections or no image size, when names are not
/// three different ones, when two files would have one name, when a lens cannot be followed over its image, and when a
/// fit is worse than 0.005 px and may not be.
Result<ExportedCameras> exportTexts(CalibrationFormat format, const Head& head, const ExportOptions& options = {});

/// Writes them into `folder`, which is made if need be; files of their names are replaced one by one, each as a whole.
/// Returns what was written, with whole paths and without the texts.
Result<ExportedCameras> exportCameras(CalibrationFormat format, const Head& head, const std::filesystem::path& folder,
                                      const ExportOptions& options = {});

#pragma GCC visibility pop

}  // namespace quel
