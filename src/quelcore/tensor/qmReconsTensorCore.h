// Projection core: from a 3D point to the pixels of the three cameras, and back to rays.
//
// Points are three doubles in world units (millimetres), pixels are (x, y) with the origin at the centre of the
// top-left pixel, cameras are 0, 1, 2, matrices are row-major. A projection is a 4x4 of which rows 0 to 2 are used; A
// is its left 3x3 block and b its fourth column. Functions return 1 for success and 0 for failure unless they say
// otherwise. A "trace" is a bare log line of level 1 under the name qmReconsTensorCore: it marks where a failure passed
// and has no text.
//
// Projections and rays only read the tensor, so threads may share one that nobody changes.
#pragma once

#include "quelcore/QuelCoreApi.h"
#include "quelcore/records/qmRT2d3dPts.h"
#include "quelcore/records/qmReconsTensorData.h"
#include "quelplatform/qmMath/qmMath.h"

// --- Projections ----------------------------------------------------------------------------------------------------

/// Derives the projections of all cameras from the metric tables of the tensor:
///
///   out[i] = D_i * inverse(pairReconstruction[i][(i + 1) mod numCameras]) * N
///
/// N normalises world coordinates, D_i turns normalised image coordinates into pixels. Only that one pair of each
/// camera is used. Returns 1 (with nothing written when `numCameras` is below 1), or 0 when
///   - `reconsFlag` is not 1 or `worldScale` is 0: numbered error 0xc43d0003, level 5;
///   - an inverse does not exist, or `numCameras` leads beyond camera 2: trace; the cameras before it are written;
///   - `tensor` or `out` is null: trace.
QUELCORE_API std::int32_t qmRTComputeProjections(const tag_qmReconsTensorData* tensor, double out[3][4][4]);

/// Projects `point` into the image of `camera`, then distorts the pixel as `mode` says:
///
///   (u, v, w) = projections[camera] (point, 1)        pixel = distort(u / w, v / w)
///
/// The depth that the distortion gets is the point's Z in the LUT frame, rounded to single precision. Returns 1, or 0
/// when
///   - `tensor` is null: silent, `pixel` untouched;
///   - `projectionsValid` is not 1, or w is exactly 0: trace, `pixel` untouched;
///   - `camera` is outside 0 to 2, or `point` or `pixel` is null: trace, `pixel` untouched;
///   - the exact distortion of modes 1 and 3 fails: silent, `pixel` keeps the pinhole position.
/// The fast distortion of modes 2 and 4 cannot fail the projection: its pixel is taken as it stands.
QUELCORE_API std::int32_t qmRTProjectPointtoImage(const tag_qmReconsTensorData* tensor, const double point[3],
                                                  std::int32_t camera, _ProjectDistortMode mode, double pixel[2]);

/// As `qmRTProjectPointtoImage`; with `testInImage` 1 it also fails, silently, when the pinhole position lies outside
/// 0 <= x < imageWidth, 0 <= y < imageHeight. `pixel` then keeps that position. Distortion plays no part in the test.
QUELCORE_API std::int32_t qmRTProjectPointtoImageEnableTestPointInImage(const tag_qmReconsTensorData* tensor,
                                                                        const double point[3], std::int32_t camera,
                                                                        _ProjectDistortMode mode,
                                                                        std::int32_t testInImage, double pixel[2]);

/// As `qmRTProjectPointtoImage` for a single-precision point, with two differences: the fast distortion counts. Mode 2
/// tries it with the depth, then without; mode 4 without; when it fails the projection fails and `pixel` keeps the
/// pinhole position. And a product that is not finite fails with a trace, `pixel` untouched.
QUELCORE_API std::int32_t qmRTProjectPointAFtoImage(const tag_qmReconsTensorData* tensor, const float point[3],
                                                    std::int32_t camera, _ProjectDistortMode mode, double pixel[2]);

/// Projects `count` points into camera 0, whatever `unused` says, and keeps those that project: `points` is compacted
/// in place, in order, and `pixels` gets one position for each kept point, its coordinates rounded to whole numbers,
/// halves away from zero. Returns the number of points kept: 0 for a null tensor or a `count` below 1, silently, and
/// for null arrays, with a trace.
QUELCORE_API std::int32_t qmRTUnifyProjectPoints2Image(const tag_qmReconsTensorData* tensor, double (*points)[3],
                                                       std::int32_t count, std::int32_t unused,
                                                       _ProjectDistortMode mode, double (*pixels)[2]);

/// Moves `point` by `transform` and projects it into one camera. Returns 0, with a trace, when either step fails.
QUELCORE_API std::int32_t qmTransAndProjPoint2Image(const qmMathTransform* transform,
                                                    const tag_qmReconsTensorData* tensor, std::int32_t camera,
                                                    _ProjectDistortMode mode, const double point[3], double pixel[2]);

/// Moves each of `points[start]` to `points[end - 1]` by `transform` and projects it into all three cameras:
/// `pixels[camera][n]` belongs to `points[n]`, so the arrays span `end`. A point that does not project leaves what the
/// projection wrote, and the result is 1 all the same. Returns 0, with a trace, only for null arguments other than the
/// tensor.
QUELCORE_API std::int32_t qmTransAndProjPoints2Images(const qmMathTransform* transform,
                                                      const tag_qmReconsTensorData* tensor, const double (*points)[3],
                                                      std::int64_t start, std::int64_t end, _ProjectDistortMode mode,
                                                      double (*const pixels[3])[2]);

/// As above on `numThreads` threads (at most 16 are used), with the same bits. Returns 0 for `end` < `start`.
QUELCORE_API std::int32_t qmTransAndProjPoints2ImagesMT(const qmMathTransform* transform,
                                                        const tag_qmReconsTensorData* tensor, const double (*points)[3],
                                                        std::int64_t start, std::int64_t end, _ProjectDistortMode mode,
                                                        std::int32_t numThreads, double (*const pixels[3])[2]);

// --- Calibration points ---------------------------------------------------------------------------------------------

/// Makes the four arrays of `points` for `count` points. Returns 1; or 0, with a trace, when memory is exhausted or
/// `count` is negative: what was made stays and goes back through `qmRT2d3dPtsFree`. A null record is logged at level
/// 5, "NULL pointer", and gives 0.
QUELCORE_API std::int32_t qmRT2d3dPtsAlloc(std::int32_t count, tag_qmRT2d3dPts* points);

/// Frees the four arrays and zeroes `count`. Returns 1. A null record is logged at level 5, "NULL pointer".
QUELCORE_API std::int32_t qmRT2d3dPtsFree(tag_qmRT2d3dPts* points);

/// Frees the arrays of each of the `count` records of `*records`, then `*records` itself, and nulls it. Nothing for a
/// null pointer or array. Returns 1.
QUELCORE_API std::int32_t qmRTcalibDataFree(std::int32_t count, tag_qmRT2d3dPts** records);

// --- Decomposition and rays -----------------------------------------------------------------------------------------

/// Decomposes a projection into intrinsics, rotation and translation, A ~ K R and b ~ K t up to scale:
///
///   K = [[ax, skew, xp], [0, ay, yp], [0, 0, 1]],   ax, ay >= 0,   det R > 0
///
/// An RQ factorisation written out through the entries of A At. Returns 1; or 0, with a trace, when the third row of A
/// is zero or a square comes out negative, with the outputs untouched, and when K has no inverse, with K written.
QUELCORE_API std::int32_t qmRTdecomposeProj(const double projection[4][4], double K[3][3], double Kinv[3][3],
                                            double R[3][3], double t[3]);

/// inverse = A^-1 of a projection. Returns 0, and sets `*status` to 2 unless `status` is null, when there is none.
QUELCORE_API std::int32_t qmRTGetInverseProjForCameraByProj(const double projection[4][4], double inverse[3][3],
                                                            std::int32_t* status);

/// As above for `projections[camera]` of a tensor. Also 0, with a trace, for a null tensor or a camera outside 0 to 2.
QUELCORE_API std::int32_t qmRTGetInverseProjForCamera(const tag_qmReconsTensorData* tensor, std::int32_t camera,
                                                      double inverse[3][3], std::int32_t* status);

/// The rays on which the `count` undistorted `pixels` of `camera` lie: `origin` is the camera's centre, common to all,
/// and `rays[n]` the unit vector of A^-1 (x, y, 1). Rays are not flipped to point into the scene. Returns 0, with a
/// trace, when
///   - the projections are not valid, `camera` is outside 0 to 2, or a pointer that is needed is null: nothing is
///     written;
///   - A has no inverse: `origin` is written;
///   - a ray has length 0: the rays before it are written.
QUELCORE_API std::int32_t qmRTget3dRaysFromImgPts(const tag_qmReconsTensorData* tensor, std::uint64_t count,
                                                  const double (*pixels)[2], std::int32_t camera, double origin[3],
                                                  double (*rays)[3]);

/// Moves rays in place: `origin` as a point, `rays` by the rotation alone. Returns 1; null arguments are left alone.
QUELCORE_API std::int32_t qmRTtranform3dRays(const qmMathTransform* transform, std::uint64_t count, double origin[3],
                                             double (*rays)[3]);

// --- Cameras of a head ----------------------------------------------------------------------------------------------

/// Order of the cameras in a head: the uppermost, and of the other two the left and the right one.
struct qmCameraOrder {
  std::int32_t upper;
  std::int32_t left;
  std::int32_t right;
};

/// cameraLocations[i] = A^-1 (-b) for the three projections. Returns 0 when an inverse does not exist, with `*status` 2
/// unless `status` is null; the cameras before it are written.
QUELCORE_API std::int32_t qmRTfillCameraLocations(tag_qmReconsTensorData* tensor, std::int32_t* status);

/// Fills `cameraLocations` and `calibDistance`, and tests the camera order. `calibDistance` is the magnitude of the
/// mean Z of the left and right cameras; with the parameter "qmRTnewCalibProjCalib" it is the distance of camera 0 from
/// the origin. Returns 0 when
///   - a location cannot be had: as `qmRTfillCameraLocations`;
///   - camera 0 is not the uppermost, unless the parameter "qmRTnewCalibCheckCamOrder" is false: logged at level 0,
///     `*status` is 8 unless `status` is null, and everything is written.
QUELCORE_API std::int32_t qmRTfillLocsAndCalibDist(tag_qmReconsTensorData* tensor, std::int32_t* status);

/// Order of cameras at `locations`: the greatest Y is the upper one (of equals the first), the smaller X of the other
/// two the left one (equal X: in cyclic order after the upper one). Returns 1.
QUELCORE_API std::int32_t qmGetCameraIndicesByLocations(const double locations[3][3], qmCameraOrder* order);

/// ratio = ((W - 2f - sqrt(W^2 - 4 W f)) / 2f) / p: the magnification of a thin lens of focal length f whose object and
/// image together span the working distance W, divided by the pixel size p. All in world units. Not a number below
/// W = 4f. A null `ratio` is left alone.
QUELCORE_API void calcPixel2WorldRatio(double workingDistance, double focalLength, double ccdPixelSize, double* ratio);

/// The same with the tensor's working distance and pixel size. The tensor's lens plays no part.
QUELCORE_API void qmReconsGetLensPixel2WorldRatio(const tag_qmReconsTensorData* tensor, double focalLength,
                                                  double* ratio);
