// Motions that a shape leaves free: which they are, and their names.
#pragma once

#include <vector>

#include "nominal/Alignment.h"
#include "nominal/AlignmentSums.h"

namespace queltool {

/// Motions as columns, at right angles to each other.
using Motions = Eigen::Matrix<double, 6, Eigen::Dynamic, Eigen::ColMajor, 6, 6>;

/// All motions, by what they do to the distances.
struct Freedom {
  Motions free;   ///< They change no distance to speak of.
  Motions bound;  ///< The distances tell of these.
};

/// What `sums`, over the points that `taking` takes, leave free: the eigenvectors of the mean of J Jᵀ whose eigenvalue
/// is at most 1e-9 of the largest, where it is rounding alone; and those at most 2e-3 (a motion changes the distances
/// by a twentieth of its length) as far as no place of the surface stands steep to it. The latter are cylinders and
/// balls made of facets; a groove or a hole, though a small share of a surface, stands steep to what it stops.
Freedom freedomOf(const AlignmentView& view, const Pose& pose, const Taking& taking, const Sums& sums);

/// Free motions taken apart into shifts and turns: shifts first, each along the world axis nearest to what is free.
std::vector<FreeMotion> motionsOf(const Motions& free, const Pose& pose);

}  // namespace queltool
