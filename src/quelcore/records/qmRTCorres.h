// One correspondence: where the three cameras see one physical point.
#pragma once

/// Measured position in one image.
struct qmRTCorresPoint {
  double x;  ///< Undistorted pixels.
  double y;
  double value;  ///< Read by nothing here.
};

/// A measured correspondence, indexed by camera.
struct tag_qmRTCorres {
  qmRTCorresPoint points[3];
};
