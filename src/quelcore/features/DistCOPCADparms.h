// A comparison between cloud and surface ready for drawing, with the running statistics of the deviations.
#pragma once

#include <cstddef>
#include <cstdint>

#include "quelcore/QuelCoreApi.h"
#include "quelcore/features/SurfaceEditorData.h"

/// A plain record that applications read and write; all zero when new, but for the defaults of `surfaceData`. What runs
/// out of memory throws std::bad_alloc. A value: copies are independent.
class QUELCORE_API DistCOPCADparms {
 public:
  static constexpr std::uint32_t kMostIntervals = 102;

  DistCOPCADparms() = default;

  /// Takes over settings and legend, empties `surfaceData.counterCount` and makes the drawing form; nothing for null.
  void setSurfaceEditorData(const SurfaceEditorData* data);

  /// Attaches a legend to `surfaceData` and makes the drawing form.
  void attachLegend(const QmLegendBase* legend);

  /// Zeroes the counts and statistics of both signs and the fifth word of `running`.
  void emptyStatistic();

  /// Standard deviation of the positive deviations, of the negative ones: sqrt(mean of squares - mean^2). NaN where
  /// rounding makes that negative.
  double pos_std() const;
  double neg_std() const;

  std::int32_t mode = 0;
  float colors[103][3] = {};      ///< Red, green, blue from 0 to 1, from the top interval down.
  float thresholds[103] = {};     ///< Upper bound of each interval of `colors`, ended by the largest finite float.
  SurfaceEditorData surfaceData;  ///< What the above was made from.
  std::uint64_t running[9] = {};
  std::int32_t posCount = 0;
  double posStats[4] = {};  ///< The third is the mean of squares, the fourth the mean.
  std::int32_t negCount = 0;
  double negStats[4] = {};

 protected:
  /// Turns a legend into the drawing form and zeroes its counters; nothing for null. Of a legend with more than 102
  /// intervals the topmost 102 are drawn.
  void setColorParameters(const SurfaceEditorData* data);
};

static_assert(offsetof(DistCOPCADparms, colors) == 4);
static_assert(offsetof(DistCOPCADparms, thresholds) == 1240);
static_assert(offsetof(DistCOPCADparms, surfaceData) == 1656);
static_assert(offsetof(DistCOPCADparms, running) == 1720);
static_assert(offsetof(DistCOPCADparms, posCount) == 1792);
static_assert(offsetof(DistCOPCADparms, posStats) == 1800);
static_assert(offsetof(DistCOPCADparms, negCount) == 1832);
static_assert(offsetof(DistCOPCADparms, negStats) == 1840);
static_assert(sizeof(DistCOPCADparms) == 1872);
