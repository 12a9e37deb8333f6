#include "quelplatform/prim_math/qmEnvUnitsConverter.h"

#include "quelplatform/qmEnv/QmEnvLocale.h"

namespace {

double factorFromBase() {
  const QmEnvLocale* locale = QmEnvLocale::GetInstance(true);
  return locale == nullptr ? 1.0 : QmEnvLocale::GetFactor(locale->GetUnits());
}

}  // namespace

qmEnvUnitsConverter::qmEnvUnitsConverter(CNVDIR direction) noexcept
    : factor(direction == CNVDIR_FROM_BASE ? factorFromBase() : 1.0 / factorFromBase()) {}
