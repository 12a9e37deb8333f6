#include "quelplatform/windows/wideText.h"

#include <string_view>

#include "quelplatform/ground/text/wideCase.h"
#include "quelplatform/ground/text/wideNumber.h"

std::int32_t _wtoi(const qmWChar* text) noexcept { return text == nullptr ? 0 : quelplatform::clampedInteger(text); }

double _wtof(const qmWChar* text) { return text == nullptr ? 0.0 : quelplatform::decimalNumber(text); }

qmWChar qmWideLower(qmWChar unit) noexcept { return quelplatform::lowerUnit(unit); }

std::int32_t _wcsicmp(const qmWChar* a, const qmWChar* b) noexcept {
  if (a == nullptr || b == nullptr) return (a != nullptr ? 1 : 0) - (b != nullptr ? 1 : 0);
  return quelplatform::compareNoCase(a, b);
}
