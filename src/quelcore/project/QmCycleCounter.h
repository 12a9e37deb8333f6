// The count of measurement cycles of this machine and the time of its last measurement, which outlive the process.
//
// They are kept in the ini file of persistent values (`QmWorkPlace::getQmIniFilePath`; the names are in
// docs/formats.md), which every call opens afresh. A value that cannot be read counts as absent, but nothing is written
// over it; one that cannot be written is dropped. Single values are written whole, but between a reading and a writing
// other processes may write: two that count at once may count once.
#pragma once

#include <cstdint>

#include "quelcore/QuelCoreApi.h"

class QUELCORE_API QmCycleCounter {
 public:
  /// The count; 0 when there is none.
  static std::uint32_t getCurrentValue();
  /// Counts one cycle and returns the new count, which is not kept when the store cannot be read or written. After 2^32
  /// - 1 comes 0.
  static std::uint32_t incCurrentValue();

  /// The count at the last marking; 0 when there is none.
  static std::uint32_t getLastOHCValue();
  /// Marks the current count, if that can be read.
  static void setLastOHCValue();

  /// The time of the last measurement in seconds since 1970; false, with `time` as it was, when there is none.
  static bool getLastMeasure(std::int32_t& time);
  /// Makes the present time that of the last measurement.
  static void setLastMeasure();
};
