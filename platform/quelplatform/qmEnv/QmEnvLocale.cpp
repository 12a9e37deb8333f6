#include "quelplatform/qmEnv/QmEnvLocale.h"

#include <cmath>
#include <iterator>
#include <map>
#include <mutex>

#include "quelplatform/ground/files/Lasting.h"
#include "quelplatform/qmEnv/QmEnvLocaleEmbedded.h"
#include "quelplatform/qmEnv/qmParam.h"

namespace {

struct Unit {
  qmWString name;
  double factor;
};

struct BuiltInUnit {
  const qmWChar* name;
  double factor;
};

// By number.
constexpr BuiltInUnit kBuiltIn[] = {{u"mm", 1.0},        {u"cm", 1.0 / 10.0},  {u"m", 1.0 / 1000.0},
                                    {u"in", 1.0 / 25.4}, {u"\u00B5m", 1000.0}, {u"ft", 1.0 / 304.8}};

struct State {
  std::mutex mutex;
  std::optional<qmEnvUnits> chosen;
  std::map<qmEnvUnits, Unit> defined;
  bool available = true;
  bool created = false;
};

State& state() noexcept {
  static quelplatform::Lasting<State> kept;
  return kept.get();
}

const BuiltInUnit* builtIn(qmEnvUnits units) {
  return units >= 0 && units < std::int32_t{std::size(kBuiltIn)} ? &kBuiltIn[units] : nullptr;
}

bool isUnit(qmEnvUnits units) { return builtIn(units) != nullptr || state().defined.count(units) != 0; }

}  // namespace

QmEnvLocale* QmEnvLocale::GetInstance(bool create) noexcept {
  static QmEnvLocale instance;
  const std::lock_guard lock(state().mutex);
  if (!state().available) return nullptr;
  state().created = state().created || create;
  return state().created ? &instance : nullptr;
}

qmEnvUnits QmEnvLocale::GetUnits() const noexcept {
  std::int32_t configured = QM_UNITS_MILLIMETRE;
  qmEnvGetParam2int("QmEnv.Units", QM_UNITS_MILLIMETRE, &configured);
  const std::lock_guard lock(state().mutex);
  const qmEnvUnits units = state().chosen.value_or(static_cast<qmEnvUnits>(configured));
  return isUnit(units) ? units : QM_UNITS_MILLIMETRE;
}

qmWString QmEnvLocale::GetMetricString(qmEnvUnits units) {
  if (const BuiltInUnit* unit = builtIn(units)) return unit->name;
  const std::lock_guard lock(state().mutex);
  const auto found = state().defined.find(units);
  return found == state().defined.end() ? qmWString() : found->second.name;
}

double QmEnvLocale::GetFactor(qmEnvUnits units) noexcept {
  if (const BuiltInUnit* unit = builtIn(units)) return unit->factor;
  const std::lock_guard lock(state().mutex);
  const auto found = state().defined.find(units);
  return found == state().defined.end() ? 1.0 : found->second.factor;
}

void quelplatform::setUnits(std::optional<qmEnvUnits> units) {
  const std::lock_guard lock(state().mutex);
  state().chosen = units;
}

bool quelplatform::defineUnit(qmEnvUnits units, const qmWString& name, double factor) {
  if (units < 0 || builtIn(units) != nullptr || !std::isfinite(factor) || factor <= 0.0) return false;
  const std::lock_guard lock(state().mutex);
  state().defined[units] = {name, factor};
  return true;
}

void quelplatform::setLocaleAvailable(bool available) {
  const std::lock_guard lock(state().mutex);
  state().available = available;
}
