#include "quelcore/presentation/ThicknessStrings.h"

#include <charconv>

#include "quelplatform/prim_math/qmEnvUnitsConverter.h"
#include "quelplatform/qmEnv/QmEnvLocale.h"

namespace {

constexpr float kLowerLimit = 1.2F;
constexpr float kUpperLimit = 3.0F;

// Set on first use, and again whenever the units change.
qmEnvUnits cachedUnits = QM_UNITS_MILLIMETRE;
std::vector<qmWString> cachedCaptions;

// A length with its unit.
qmWString lengthText(float length, int decimals, const qmWString& unit) {
  char digits[64];
  const auto end =
      std::to_chars(digits, digits + sizeof digits, static_cast<double>(length), std::chars_format::fixed, decimals);
  return qmWString(digits, end.ptr) + u" " + unit;
}

std::vector<qmWString> captionsOf(qmEnvUnits units, const qmWString& unit) {
  const bool isBase = units == QM_UNITS_MILLIMETRE;
  const float factor = isBase ? 1.0F : static_cast<float>(qmEnvUnitsConverter(CNVDIR_FROM_BASE).factor);
  const int decimals = isBase ? 1 : 2;
  const qmWString lower = lengthText(factor * kLowerLimit, decimals, unit);
  const qmWString upper = lengthText(factor * kUpperLimit, decimals, unit);
  return {u"< " + lower, lower + u" - " + upper, u"> " + upper};
}

}  // namespace

bool getThicknessStrings(std::vector<qmWString>& captions) {
  const QmEnvLocale* locale = QmEnvLocale::GetInstance(true);
  if (locale == nullptr) {  // Not kept: it would stand for millimetres once there is a locale.
    captions = captionsOf(QM_UNITS_MILLIMETRE, qmWString());
    return true;
  }
  const qmEnvUnits units = locale->GetUnits();
  if (units != cachedUnits || cachedCaptions.empty()) {
    cachedCaptions.clear();
    cachedCaptions = captionsOf(units, QmEnvLocale::GetMetricString(units));
    cachedUnits = units;
  }
  captions = cachedCaptions;
  return true;
}
