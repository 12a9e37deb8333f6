// How uncertain points are that a head measures in its volume.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

#include "files/Values.h"
#include "quel/head/Head.h"
#include "quel/measure/Triangulation.h"

namespace queltool {

/// A box of the world, millimetres.
struct Volume {
  Vec3 centre;
  Vec3 size;

  /// From -0.5 to 0.5 along each axis.
  Vec3 at(const Vec3& share) const;
};

/// A place in millimetres as people read it: rounded to a micrometre, and never -0.
double toMicrometre(double place);

/// The volume in which a head measures; nothing where it does not tell.
std::optional<Volume> volumeOf(const tag_qmReconsTensorData& head);

/// Standard deviations of a point, millimetres: along X, Y and Z, and of the point, the root of their squared sum.
using StandardDeviations = std::array<double, 4>;

/// Standard deviations of points in a section of the volume through its centre, row by row, `u` the axis along rows and
/// `v` the axis across; NaN where a camera does not see the point.
struct Section {
  std::size_t u, v;
  std::size_t columns, rows;
  std::vector<double> point;
};

struct Uncertainty {
  Volume volume;
  std::size_t places;                        ///< Of a grid over the whole volume, its faces included.
  std::size_t seen;                          ///< Those that every camera used sees.
  std::optional<StandardDeviations> centre;  ///< Nothing where the centre is not seen.
  StandardDeviations rms;                    ///< Over what is seen, each by itself; so are these:
  StandardDeviations least;
  StandardDeviations greatest;
  std::array<Section, 3> sections;  ///< Across Z, across Y, across X.
};

/// The largest scale, units of a picture per millimetre, at which all three sections stand side by side in that room.
double sideBySide(const Uncertainty& uncertainty, double width, double height);

/// Throws `Failure` when the head cannot measure by `options`, whose noise is given, or no place of the volume is seen.
Uncertainty uncertaintyOf(const quel::Head& head, const Volume& volume, const quel::TriangulateOptions& options);

}  // namespace queltool
