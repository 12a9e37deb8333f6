// Pictures of features: points coloured by how far they are off, beside the scale of colours. As PNG or SVG by the name
// of `file`; they throw `Failure` when the file cannot be written.
#pragma once

#include <functional>
#include <string>

#include "models/FeatureRun.h"
#include "pictures/Picture.h"

namespace queltool {

/// How points are coloured by their deviation, with the legend that says so.
struct PointColours {
  std::string subtitle;
  std::function<Colour(double deviation)> colourOf;
  std::function<void(Picture& picture, const Box& box)> drawLegend;
};

/// The points as seen along the normal, within the outline of the plane.
void drawPlane(const OutputFile& file, const PlaneFeature& feature, const std::string& title,
               const PointColours& colours);

/// The same, coloured by a scale that fits the deviations.
void drawPlane(const OutputFile& file, const PlaneFeature& feature, const std::string& title);

/// The points along the line, and how far they are off across it, enlarged.
void drawLine(const OutputFile& file, const LineFeature& feature, const std::string& title);

}  // namespace queltool
