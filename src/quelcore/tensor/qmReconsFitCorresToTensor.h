// Closed-form fits of one measured correspondence to the geometry of a head.
//
// A point seen at normalised (x, y) in the reference camera r lies in camera k at H[r][k] (x, y, 1) + l E[r][k]
// (homogeneous), with one unknown, its parallax l. Each fit finds the l that best explains where the other cameras see
// the point. Measured positions are undistorted pixels and are normalised as (x - imageCentre) / imageScale; results
// stay normalised, `error` is in squared pixels of camera b. `depth` is l in the unit of the pair (r, b).
//
// Nothing here allocates or keeps a state: any number of threads may fit against one tensor. No flag of the tensor is
// looked at: tables that were never filled are used as they stand. Tests against zero are exact. A failure returns 0
// and leaves one bare trace of level 1 under the name qmReconsFitCorresToTensor, and the outputs hold what the steps
// before it stored. A camera outside 0 to 2 fails so, with nothing written.
#pragma once

#include "quelcore/QuelCoreApi.h"
#include "quelcore/records/qmRTCorres.h"
#include "quelcore/records/qmReconsTensorData.h"

/// Three cameras, the reference position taken as exact: the l that minimises the squared image distance
///
///   J(l) = |p_b(l) - q_b|^2 + |p_c(l) - q_c|^2,     p_k(l) the position in camera k, q_k the measured one
///
/// among the stationary points of J, the real roots of a quartic (`planarTransfer`, `planarDepthScale`). `outRef` is
/// the normalised reference position, `outB` and `outC` are p_b and p_c at the minimum, `error` is J times
/// imageScale[b]^2: the scale of camera b counts for both.
///
/// Fails when the quartic cannot be solved, and when p_b or p_c has a third component of exactly 0 at any root.
/// Required: where b and c have one principal plane and r stands before or behind it, both denominators vanish at one
/// parallax and the quartic has a triple root there, so rounding decides which correspondences fail: none to two in
/// three, as the numbers of the head fall. Take other targets, or the linear fit, which has no pole.
///
/// Required: without a root, or when no root costs less than the largest float, `error` is that
/// float, 3.4028234663852886e+38, the value that the caller left in `depth` serves as l, and the result is 1. Judge
/// such a result by `error`. Of two roots of equal cost the smaller wins.
QUELCORE_API std::int32_t qmRTFitCorresToTensorPlanar(const tag_qmReconsTensorData& tensor,
                                                      const tag_qmRTCorres& corres, std::int32_t refCam,
                                                      std::int32_t camB, std::int32_t camC, double outRef[2],
                                                      double outB[2], double outC[2], double& error, double& depth);

/// Three cameras, all of them noisy: the reference position moves by (dx, dy), and the four conditions "transferred
/// equals measured", cross-multiplied so that they are linear in l, dx and dy, are met in the least-squares sense
/// together with dx^2 + dy^2 (`planarTransfer`, `planarDepthScale`). `outRef` is the moved position, `outB` and `outC`
/// are where it and l lead, `error` is the squared image distance in both cameras plus dx^2 + dy^2, times
/// imageScale[b]^2. `depth` is written only.
///
/// Fails when the 3x3 system cannot be solved (nothing is written), and when p_b or p_c has a third component of
/// exactly 0 (`outRef` and the undivided l in `depth` are written).
QUELCORE_API std::int32_t qmRTFitCorresToTensorPlanarLinear(const tag_qmReconsTensorData& tensor,
                                                            const tag_qmRTCorres& corres, std::int32_t refCam,
                                                            std::int32_t camB, std::int32_t camC, double outRef[2],
                                                            double outB[2], double outC[2], double& error,
                                                            double& depth);

/// Two cameras, the reference position taken as exact: the l that slides the point along its epipolar line in camera b
/// to the place nearest to the measured one, in closed form (`singularTransfer`, `singularDepthScale`). `outB` is that
/// place, `error` its squared distance times imageScale[b]^2.
///
/// Fails when the equation for l has no solution (nothing is written), and when the position has a third component of
/// exactly 0 (`depth` holds the undivided l, `outB` the undivided first two components).
QUELCORE_API std::int32_t qmRTFitCorresToTensorSingular(const tag_qmReconsTensorData& tensor,
                                                        const tag_qmRTCorres& corres, std::int32_t refCam,
                                                        std::int32_t camB, double outB[2], double& error,
                                                        double& depth);
