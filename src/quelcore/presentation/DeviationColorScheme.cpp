#include "quelcore/presentation/DeviationColorScheme.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <new>
#include <vector>

#include "quelcore/base/outOfMemory.h"
#include "quelcore/base/problems.h"
#include "quelplatform/QuelViz/QmPercentageLegend.h"
#include "quelplatform/qmEnv/QmStrFormatW.h"

using quelcore::unlessOutOfMemory;

namespace {

constexpr std::uint32_t kWithinTolerance = 0xC41D0006;
constexpr std::uint32_t kOutOfTolerance = 0xC41D0007;
constexpr std::uint32_t kLightGreen = 0x66FF9C;
constexpr std::uint32_t kLightRed = 0x5050FF;
constexpr double kLeastTolerance = 1e-06;
constexpr double kNoTolerancePercent = 1000.0;

// The byte of a colour that begins at bit `shift`, from 0 to 1.
float channel(std::uint32_t color, int shift) { return static_cast<float>((color >> shift) & 0xFF) / 255.0F; }

// The low 16 bits of the whole part of `value`.
std::uint16_t wrapped(double value) {
  constexpr double kBeyond64Bits = 9223372036854775808.0;
  return std::abs(value) < kBeyond64Bits ? static_cast<std::uint16_t>(static_cast<std::int64_t>(value)) : 0;
}

}  // namespace

DeviationColorScheme* DeviationColorScheme::colorScheme_ = nullptr;

DeviationColorScheme::DeviationColorScheme() noexcept = default;
DeviationColorScheme::DeviationColorScheme(const DeviationColorScheme&) = default;
DeviationColorScheme& DeviationColorScheme::operator=(const DeviationColorScheme&) = default;
DeviationColorScheme::~DeviationColorScheme() = default;

DeviationColorScheme* DeviationColorScheme::GetInstance() noexcept {
  const bool isNew = colorScheme_ == nullptr;
  try {
    if (isNew) {
      colorScheme_ = new DeviationColorScheme;
      colorScheme_->init();
    } else if (colorScheme_->table_.empty()) {
      colorScheme_->initDefault();
    }
    return colorScheme_;
  } catch (const std::bad_alloc&) {
    quelcore::refuseForMemory();
    if (isNew) FreeInstance();  // Part of a table would colour wrongly: the next call makes it anew.
    return nullptr;
  }
}

void DeviationColorScheme::FreeInstance() noexcept {
  delete colorScheme_;
  colorScheme_ = nullptr;
}

bool DeviationColorScheme::init() {
  clear();
  return load() || initDefault();
}

bool DeviationColorScheme::initDefault() {
  std::map<std::uint16_t, ColorInfo> table;
  table[100] = {kLightGreen, qmWString(QmStrFormatW(kWithinTolerance))};
  table[1000] = {kLightRed, qmWString(QmStrFormatW(kOutOfTolerance))};
  table_.swap(table);
  return true;
}

bool DeviationColorScheme::add(std::uint16_t percentage, const ColorInfo& info) {
  table_.insert_or_assign(percentage, ColorInfo(info));  // Copied first: an entry never holds half of another.
  return true;
}

bool DeviationColorScheme::clear() noexcept {
  table_.clear();
  return true;
}

std::uint16_t DeviationColorScheme::getDevLevelNum() const noexcept {
  return static_cast<std::uint16_t>(table_.size());
}

std::uint32_t DeviationColorScheme::getColor(std::uint16_t percentage) const noexcept {
  if (table_.empty()) return 0;
  const auto above = table_.upper_bound(percentage);
  return above == table_.end() ? table_.rbegin()->second.color : above->second.color;
}

std::uint32_t DeviationColorScheme::getColor(double lower, double upper, double value, bool oneSided,
                                             std::uint16_t& percentage, double factor) const noexcept {
  percentage = calcPercent(lower, upper, value, oneSided, factor);
  return getColor(percentage);
}

double DeviationColorScheme::calcPercentDouble(double lower, double upper, double value, bool oneSided,
                                               double factor) const noexcept {
  if (std::abs(upper - lower) < kLeastTolerance) return kNoTolerancePercent;
  const double share = oneSided ? value / upper : (lower + upper - 2.0 * value) / (upper - lower);
  return std::abs(share) * factor * 100.0;
}

std::uint16_t DeviationColorScheme::calcPercent(double lower, double upper, double value, bool oneSided,
                                                double factor) const noexcept {
  return wrapped(calcPercentDouble(lower, upper, value, oneSided, factor));
}

std::uint16_t DeviationColorScheme::getDeviationLevel(double lower, double upper, double value, bool oneSided,
                                                      double factor) const noexcept {
  const auto above = table_.upper_bound(calcPercent(lower, upper, value, oneSided, factor));
  const std::ptrdiff_t position = std::distance(table_.begin(), above);
  return static_cast<std::uint16_t>(above == table_.end() ? position - 1 : position);
}

bool DeviationColorScheme::UpdatePercentageLegend(QmPercentageLegend* legend) const noexcept {
  if (legend == nullptr) return false;
  return unlessOutOfMemory(false, [&] {
    std::vector<float> positions;
    std::vector<float> colours;
    for (auto entry = table_.rbegin(); entry != table_.rend(); ++entry) {
      positions.push_back(static_cast<float>(entry->first));
      for (const int shift : {0, 8, 16}) colours.push_back(channel(entry->second.color, shift));
    }
    positions.push_back(0.0F);
    // The top is as far above the band below it as that is high; a single band has none below it.
    if (positions.size() > 2) positions[0] = 2.0F * positions[1] - positions[2];
    const auto count = static_cast<std::int32_t>(table_.size());
    legend->SetArrayDivision(count, count == 0 ? nullptr : positions.data(), count == 0 ? nullptr : colours.data());
    return true;
  });
}
