// The settings of a comparison between a measured cloud and a surface, with the colour legend that goes with it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "quelcore/QuelCoreApi.h"

class QmLegendBase;

/// One interval of a legend. Of the last record only the threshold counts: n intervals have n + 1 thresholds.
struct SurfaceLegendRecord {
  float threshold;
  std::uint16_t red;  ///< Colours from 0 to 255.
  std::uint16_t green;
  std::uint16_t blue;
};

static_assert(sizeof(SurfaceLegendRecord) == 12);

/// A plain record that applications read and write, and that owns its two arrays. What runs out of memory throws
/// std::bad_alloc and leaves the record as it was.
class QUELCORE_API SurfaceEditorData {
 public:
  /// Defaults as below. The point size is that of the whole process: the parameter QmApp.XSCOPPointSize, 5 when it is
  /// absent, read when the first object is made and not again unless it is negative. One thread at a time makes
  /// objects.
  SurfaceEditorData();
  SurfaceEditorData(const SurfaceEditorData& other);
  /// As `copyAnalysisPrmOnly`, and copies legend and counters. Required: `counterCount` only changes along with the
  /// number of intervals.
  SurfaceEditorData& operator=(const SurfaceEditorData& other);
  ~SurfaceEditorData();

  /// Whether `limitsUsed`, `scaleUsed`, `option2` and `pointSize` are equal, and the limits and the scale where they
  /// are used; NaN is unequal to everything. The rest does not count.
  bool operator==(const SurfaceEditorData& other) const;

  /// Copies the fields from `option0` to `pointSize`.
  void copyAnalysisPrmOnly(const SurfaceEditorData& other);

  /// Takes intervals and colours of a discrete legend; nothing for null or a legend of another kind. Colours are cut to
  /// whole numbers, and to 0 or 65535 beyond 16 bits. With another number of intervals than before, counters are made
  /// anew; otherwise they stay.
  void attachLegend(const QmLegendBase* newLegend);

  std::uint8_t option0 = 0;
  std::uint8_t option1 = 0;
  std::uint8_t option2 = 0;
  std::uint8_t limitsUsed = 0;  ///< `lowLimit` and `highLimit` apply.
  std::uint8_t scaleUsed = 0;   ///< `scale` applies.
  std::uint64_t parameter = 0;
  float valueA = 0.0F;
  float valueB = 0.0F;
  float lowLimit = 0.0F;
  float highLimit = 0.0F;
  float scale = 1.0F;
  float pointSize;
  SurfaceLegendRecord* legend = nullptr;  ///< `legendCount` + 1, or null for a count of 0; from new[].
  std::uint32_t legendCount = 0;
  std::uint32_t counterCount = 0;
  std::uint32_t* counters = nullptr;  ///< One per interval; from new[].

 private:
  void resize(std::uint32_t count);
};

static_assert(offsetof(SurfaceEditorData, parameter) == 8);
static_assert(offsetof(SurfaceEditorData, valueA) == 16);
static_assert(offsetof(SurfaceEditorData, pointSize) == 36);
static_assert(offsetof(SurfaceEditorData, legend) == 40);
static_assert(offsetof(SurfaceEditorData, legendCount) == 48);
static_assert(offsetof(SurfaceEditorData, counterCount) == 52);
static_assert(offsetof(SurfaceEditorData, counters) == 56);
static_assert(sizeof(SurfaceEditorData) == 64);
