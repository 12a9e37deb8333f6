// What `quel deviation` is asked for, and its parts: comparing, and telling what was found.
#pragma once

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "files/FileUses.h"
#include "models/DeviationRun.h"
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
  std::filesystem::path align;
  std::filesystem::path html;
  std::string block;
  bool json = false;

  /// `limits` are two.
  Tolerance tolerance() const { return {limits[0], limits[1], oneSided}; }
};

/// The numbers of a plane a x + b y + c z + d = 0, separated by commas; nothing for another text.
std::optional<std::array<double, 4>> planeNumbers(const std::string& text);

/// Reads the cloud and what it is compared with, aligns it if that is asked for, and compares; writes nothing. Throws
/// `Failure`.
DeviationRun compared(const DeviationArguments& arguments);

/// Prints the figures for people.
void printDeviations(const DeviationArguments& arguments, const DeviationRun& run);

/// Writes each point with its deviation and its band, in colour where the format has colours.
void writePoints(const OutputFile& file, const DeviationRun& run, const DeviationArguments& arguments);

}  // namespace queltool
