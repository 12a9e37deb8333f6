#include "models/SiteUnit.h"

#include "quelplatform/prim_math/qmEnvUnitsConverter.h"
#include "quelplatform/qmEnv/QmEnvLocale.h"
#include "quelplatform/qmEnv/qmText.h"

namespace queltool {

SiteUnit siteUnit() {
  const QmEnvLocale* locale = QmEnvLocale::GetInstance(true);
  const qmEnvUnits units = locale == nullptr ? QM_UNITS_MILLIMETRE : locale->GetUnits();
  return {qmEnvUnitsConverter(CNVDIR_FROM_BASE).factor, toNarrow(QmEnvLocale::GetMetricString(units))};
}

}  // namespace queltool
