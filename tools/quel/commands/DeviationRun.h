// What `quel deviation` is asked for, what it finds, and how it tells of it.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "files/FileUses.h"
#include "files/Json.h"
#include "models/Deviations.h"
#include "models/FeatureRun.h"
#include "pictures/DeviationColours.h"

namespace queltool {

struct DeviationArguments {
  InputFile cloud;
  std::string plane = "fit";
  std::string reference;
  std::vector<double> viewpoint;
  std::string unit;
  std::vector<double> limits;
  bool oneSided = false;
  DeviationPalette palette = DeviationPalette::Table;
  OutputFile out;
  OutputFile picture;
  OutputFile figures;
  bool json = false;

  Tolerance tolerance() const { return {limits[0], limits[1], oneSided}; }
};

/// A cloud against what it was compared with.
struct DeviationRun {
  Deviations off;
  DeviationFigures figures;
  std::string nominal;                ///< What it is, for people.
  std::vector<std::string> remarks;   ///< What people must know of it.
  std::optional<PlaneFeature> plane;  ///< Where it is a plane.
};

/// Prints the figures for people.
void printDeviations(const DeviationArguments& arguments, const DeviationRun& run);

/// Every figure.
Json jsonOf(const DeviationArguments& arguments, const DeviationRun& run);

/// The figures as rows "name,value,unit".
std::string csvOf(const DeviationRun& run);

/// Writes each point with its deviation and its band, in colour where the format has colours.
void writePoints(const OutputFile& file, const DeviationRun& run, const DeviationArguments& arguments);

/// Draws the points that have a deviation, as they are seen along the plane's normal, or where they spread most.
void drawDeviations(const OutputFile& file, const DeviationRun& run, const DeviationArguments& arguments);

}  // namespace queltool
