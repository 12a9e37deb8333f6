#include "quelplatform/QuelViz/QmPercentageLegend.h"

#include <new>

bool QmPercentageLegend::IsPercentageLegendType(const QmLegendBase* legend) noexcept {
  return dynamic_cast<const QmPercentageLegend*>(legend) != nullptr;
}

bool QmPercentageLegend::SetArrayDivision(std::int32_t count, const float* positions, const float* colours) noexcept
    try {
  if (count < 0 || (count > 0 && (positions == nullptr || colours == nullptr))) return false;
  std::vector<float> newPositions;
  std::vector<float> newColors;
  if (count > 0) {
    newPositions.assign(positions, positions + count + std::ptrdiff_t{1});
    newColors.assign(colours, colours + 3 * std::ptrdiff_t{count});
  }
  positions_.swap(newPositions);
  colors_.swap(newColors);
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

std::int32_t QmPercentageLegend::GetNumOfColor() const noexcept {
  return static_cast<std::int32_t>(colors_.size() / 3);
}

const float* QmPercentageLegend::GetPositions() const noexcept {
  return positions_.empty() ? nullptr : positions_.data();
}

const float* QmPercentageLegend::GetColors() const noexcept { return colors_.empty() ? nullptr : colors_.data(); }
