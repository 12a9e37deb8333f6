// How each format is written. Hidden in the library.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "quel/cameras/Camera.h"
#include "quel/formats/Import.h"

namespace quel {

/// A camera to write: its lens is Brown-Conrady or OpenCV's, without skew, or any for the own file.
using ExportedThree = std::array<Camera, 3>;

/// The coefficients of OpenCV in its order: 5, or as many as are not 0 of 8, 12 or 14.
std::vector<double> openCvCoefficients(const Camera& camera);

/// A number as text that reads back to the same bits, with a point or an exponent.
std::string exactText(double value);

/// Numbers, with commas between them.
std::string listText(std::span<const double> values);

std::vector<NamedText> jsonFiles(const ExportedThree& cameras);
std::vector<NamedText> openCvFiles(const ExportedThree& cameras);
std::vector<NamedText> rosFiles(const ExportedThree& cameras);
std::vector<NamedText> mrcalFiles(const ExportedThree& cameras);
std::vector<NamedText> kalibrFiles(const ExportedThree& cameras);
std::vector<NamedText> colmapFiles(const ExportedThree& cameras);

}  // namespace quel
