#include "quelplatform/QuelViz/QmDiscreteLegend.h"

#include <new>
#include <stdexcept>
#include <utility>

bool QmDiscreteLegend::IsDiscreteLegendType(const QmLegendBase* legend) noexcept {
  return dynamic_cast<const QmDiscreteLegend*>(legend) != nullptr;
}

bool QmDiscreteLegend::SetIntervals(std::uint32_t count, const float* thresholds, const float (*colors)[3]) noexcept {
  if (count > 0 && (thresholds == nullptr || colors == nullptr)) return false;
  try {
    std::vector<float> newThresholds;
    std::vector<float> newColors;
    if (count > 0) {
      newThresholds.assign(thresholds, thresholds + count + std::size_t{1});
      const float* first = colors[0];
      newColors.assign(first, first + std::size_t{3} * count);
    }
    thresholds_ = std::move(newThresholds);
    colors_ = std::move(newColors);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  } catch (const std::length_error&) {
    return false;
  }
}

std::uint32_t QmDiscreteLegend::GetNumOfColor() const noexcept {
  return static_cast<std::uint32_t>(colors_.size() / 3);
}

const float (*QmDiscreteLegend::GetColors() const noexcept)[3] {
  return colors_.empty() ? nullptr : reinterpret_cast<const float(*)[3]>(colors_.data());
}

const float* QmDiscreteLegend::GetThresholds() const noexcept {
  return thresholds_.empty() ? nullptr : thresholds_.data();
}
